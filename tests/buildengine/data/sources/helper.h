#include "inner.h"
static int g(void) { return 1; }
