/* hello.c: blinks the board's LED and says hello on the serial port. */
#include <stdint.h>
#include "board.h"

#define LED_PIN 5   // TODO: take this from the board description

static const char greeting[] = "Hello, \"target\"!\n";

static void delay(volatile uint32_t count)
{
    while (count--)
        ;
}

int main(void)
{
    board_init();
    for (int i = 0; i < 10; ++i) {
        uart_write(greeting, sizeof greeting - 1);
        gpio_toggle(LED_PIN);
        delay(0x1p+3 * 100000);
    }
    return 0;
}
