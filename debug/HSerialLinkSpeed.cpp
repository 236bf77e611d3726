#include "debug/HSerialLinkSpeed.h"
#include <asm/termbits.h>
#include <cerrno>
#include <sys/ioctl.h>

int setCustomSerialSpeed(int descriptor, int baud)
{
    struct termios2 settings = {};
    if (ioctl(descriptor, TCGETS2, &settings) != 0)
        return errno;
    settings.c_cflag &= ~tcflag_t(CBAUD | (CBAUD << IBSHIFT));
    settings.c_cflag |= BOTHER | (BOTHER << IBSHIFT);
    settings.c_ispeed = speed_t(baud);
    settings.c_ospeed = speed_t(baud);
    if (ioctl(descriptor, TCSETS2, &settings) != 0)
        return errno;
    return 0;
}
