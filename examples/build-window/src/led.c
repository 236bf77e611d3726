static int state;

void led_toggle(void)
{
    state = !state;
}
