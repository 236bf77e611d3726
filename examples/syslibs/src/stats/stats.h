#pragma once

/* Root mean square of n samples. */
double stats_rms(const double *samples, int n);
