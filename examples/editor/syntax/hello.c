#include <stdio.h>
#define GREETING "Hello, board"

/* TODO: read the greeting from flash */
int main(void)
{
    const char *lines[] = { GREETING, R"raw(C:\path\(1))raw" };
    for (int i = 0; i < 2; ++i)   // NOTE: two lines only
        printf("%s\n", lines[i]);
    return 0x1p+3 > 1e-5;
}
