#include <stdio.h>

int main(void)
{
    printf("hello from the externally built greeter\n");
    return 0;
}
