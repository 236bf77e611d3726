#ifndef ACME_X1_H
#define ACME_X1_H
#define ACME_X1_LED_PIN 13
void acme_x1_init(void);
void acme_x1_led(int on);
#endif
