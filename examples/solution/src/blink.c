#include "board.h"

void blink(void)
{
    gpio_toggle(LED_PIN);
    delay_ms(500);
}
