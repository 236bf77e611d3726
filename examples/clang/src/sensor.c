#include "sensor.h"

static const int threshold = SENSOR_SCALE(80);

void sensor_init(struct sensor *sensor)
{
    sensor->samples = 0;
    sensor->faults = 0;
}

int sensor_sample(struct sensor *sensor, uint8_t channel, int16_t raw, uint32_t now)
{
    struct sensor_reading *reading;
    if (channel >= SENSOR_CHANNELS) {
        sensor->faults++;
        return -1;
    }
    reading = &sensor->last[channel];
    reading->channel = channel;
    reading->celsius = (int16_t)SENSOR_SCALE(raw);
    reading->timestamp = now;
    sensor->samples++;
#ifdef SENSOR_TRACE
    if (reading->celsius > threshold)
        sensor->faults++;
#else
    (void)threshold;
#endif
    return reading->celsius;
}

int sensor_average(const struct sensor *sensor)
{
    int total = 0;
    for (int i = 0; i < SENSOR_CHANNELS; ++i)
        total += sensor->last[i].celsius;
    return total / SENSOR_CHANNELS;
}
