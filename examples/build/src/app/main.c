#include "mathlib.h"
#include <stdio.h>

int main(void)
{
    printf("add(2, 3) = %d, scale(4, 5) = %d, cube(3) = %d\n", add(2, 3), scale(4, 5), cube(3));
#ifdef DEMO_DEBUG
    printf("built in configuration Debug\n");
#endif
    return 0;
}
