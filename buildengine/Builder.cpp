#include "buildengine/Builder.h"

ToolContext::~ToolContext() = default;
Builder::~Builder() = default;
Idler::~Idler() = default;
