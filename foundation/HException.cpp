#include "foundation/HException.h"

HException::~HException() = default;
