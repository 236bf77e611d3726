#include "helper.h"
int f(int x)
{
    int unused;
    char *p = x;
    return y + 1
}
