/* A small fixed-point filter library: a moving average over the last samples. */
#include <stdint.h>

#define WINDOW 8

static int32_t samples[WINDOW];
static int32_t sum;
static unsigned next;

int32_t filter_add(int32_t sample)
{
    sum += sample - samples[next];
    samples[next] = sample;
    next = (next + 1) % WINDOW;
    return sum / WINDOW;
}

void filter_reset(void)
{
    for (unsigned i = 0; i < WINDOW; ++i)
        samples[i] = 0;
    sum = 0;
    next = 0;
}
