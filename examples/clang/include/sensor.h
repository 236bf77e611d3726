#ifndef SENSOR_H
#define SENSOR_H

#include <stdint.h>

#define SENSOR_CHANNELS 4
#define SENSOR_SCALE(raw) ((raw) * 25 / 16)

struct sensor_reading {
    uint8_t channel;
    int16_t celsius;
    uint32_t timestamp;
};

struct sensor {
    struct sensor_reading last[SENSOR_CHANNELS];
    uint32_t samples;
    uint8_t faults;
};

void sensor_init(struct sensor *sensor);
int sensor_sample(struct sensor *sensor, uint8_t channel, int16_t raw, uint32_t now);
int sensor_average(const struct sensor *sensor);

#endif
