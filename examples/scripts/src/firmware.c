#include <stdio.h>

/* The version the release script checks against its own before stamping the image. */
const unsigned int firmware_version = 0x00010203;
unsigned int boot_count;

int main(void)
{
    ++boot_count;
    printf("firmware %u.%u.%u\n", (firmware_version >> 16) & 0xff, (firmware_version >> 8) & 0xff,
           firmware_version & 0xff);
    return 0;
}
