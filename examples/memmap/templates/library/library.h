/* A moving average over the last eight samples. */
#ifndef FILTER_LIBRARY_H
#define FILTER_LIBRARY_H

#include <stdint.h>

int32_t filter_add(int32_t sample);   /* adds a sample, gives the average */
void filter_reset(void);

#endif
