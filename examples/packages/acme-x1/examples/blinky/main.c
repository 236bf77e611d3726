#include "acme_x1.h"

int main(void)
{
    acme_x1_init();
    for (;;) {
        acme_x1_led(1);
        acme_x1_led(0);
    }
}
