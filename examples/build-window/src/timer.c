#warning the prescaler is a guess: measure it on the board
unsigned timer_ticks(unsigned milliseconds)
{
    return milliseconds * 32;
}
