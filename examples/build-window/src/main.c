void led_toggle(void);
unsigned timer_ticks(unsigned milliseconds);

int main(void)
{
    for (unsigned i = 0; i < timer_ticks(500); ++i)
        led_toggle();
    return blink_count;
}
