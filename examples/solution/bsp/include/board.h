#pragma once
#define LED_PIN 5
#define GPIO_ODR (*(volatile unsigned *)0x48000014)
void board_init(void);
void clock_init(void);
void blink(void);
void gpio_toggle(int pin);
void delay_ms(unsigned ms);
