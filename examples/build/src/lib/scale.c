#include "mathlib.h"

int scale(int value, int factor)
{
    return value * factor;
}
