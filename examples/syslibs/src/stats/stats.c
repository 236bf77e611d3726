#include "stats.h"
#include <math.h>

double stats_rms(const double *samples, int n)
{
    double sum = 0.0;
    for (int i = 0; i < n; ++i)
        sum += samples[i] * samples[i];
    return n > 0 ? sqrt(sum / n) : 0.0;
}
