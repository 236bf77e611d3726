/* Samples a sine wave in four threads and prints its root mean square: the program needs the
   math library (sin, sqrt in the stats library) and the threads library. */
#include "stats.h"
#include <math.h>
#include <pthread.h>
#include <stdio.h>

enum { threadCount = 4, perThread = 25000 };

static double samples[threadCount * perThread];

static void *sample(void *argument)
{
    const int part = *(const int *)argument;
    const double pi = acos(-1.0);
    for (int i = part * perThread; i < (part + 1) * perThread; ++i)
        samples[i] = sin(2.0 * pi * i / (threadCount * perThread));
    return NULL;
}

int main(void)
{
    pthread_t threads[threadCount];
    int parts[threadCount];
    for (int t = 0; t < threadCount; ++t) {
        parts[t] = t;
        if (pthread_create(&threads[t], NULL, sample, &parts[t]) != 0)
            return 1;
    }
    for (int t = 0; t < threadCount; ++t)
        pthread_join(threads[t], NULL);
    printf("rms of one sine period, %d samples in %d threads: %.6f (1/sqrt(2) = %.6f)\n",
           threadCount * perThread, threadCount, stats_rms(samples, threadCount * perThread),
           1.0 / sqrt(2.0));
    return 0;
}
