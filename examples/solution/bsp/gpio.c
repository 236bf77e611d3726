#include "board.h"

void gpio_toggle(int pin)
{
    GPIO_ODR ^= 1u << pin;
}
