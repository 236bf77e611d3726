#include "mathlib.h"

int cube(int value)
{
    return square(value) * value;
}
