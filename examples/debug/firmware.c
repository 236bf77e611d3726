/* A small firmware image: a sensor table, a configuration block with bit-fields, a ring buffer
 * of log records and a state machine. Built for the host so that the demo needs no cross
 * compiler; the debugger reads it without running it. */
#include <stdint.h>

typedef uint8_t u8;
typedef uint16_t u16;
typedef uint32_t u32;

enum mode { MODE_IDLE, MODE_MEASURE, MODE_REPORT = 5, MODE_FAULT = -1 };

struct point {
    int x;
    int y;
};

struct sensor {
    char name[8];
    int16_t celsius;
    u8 channel;
    enum mode mode;
    struct point position;
};

struct control {
    unsigned enabled : 1;
    unsigned prescaler : 3;
    signed trim : 4;
    unsigned divider : 8;
    u16 reserved;
};

struct log_record {
    u32 stamp;
    const char *text;
    struct log_record *next;
};

struct sensor sensors[3] = {
    {"inlet", 21, 0, MODE_MEASURE, {10, -4}},
    {"outlet", -7, 1, MODE_IDLE, {12, 3}},
    {"board", 45, 7, MODE_FAULT, {0, 0}},
};

struct control control = {1, 5, -3, 200, 0xBEEF};
volatile u32 tick_count = 123456;
double supply_volts = 3.3;
float gain = 1.5f;
const char banner[] = "Tess firmware v1.2";
const char *version_text = banner;
_Bool armed = 1;
u8 ram_buffer[64];
static int fault_count = 2;
int16_t calibration[4][2] = {{1, -1}, {2, -2}, {3, -3}, {4, -4}};

struct log_record log_ring[3] = {
    {100, "boot", &log_ring[1]},
    {250, "sensor up", &log_ring[2]},
    {900, "report", &log_ring[0]},
};
struct log_record *log_head = &log_ring[0];

int read_sensor(int channel)
{
    static int reads;
    ++reads;
    return sensors[channel].celsius;
}

int main(void)
{
    tick_count += (u32)read_sensor(0);
    return fault_count + ram_buffer[0];
}
