#include "mathlib.h"

int square(int value)
{
    return value * value;
}
