/* Globals of every C type kind for the debugger's tests; compiled at test time in several
 * DWARF versions and byte orders. Nothing here runs. */
#include <stdbool.h>
#include <stdint.h>

typedef unsigned char byte_t;
typedef byte_t octet_t;
#if __SIZEOF_POINTER__ == 8
typedef char huge_t[1ULL << 40];
#else
typedef char huge_t[1UL << 30];
#endif

enum colour { RED, GREEN = 5, BLUE = -2 };

struct point {
    int x;
    int y;
};

struct flags {
    unsigned low : 3;
    signed mid : 5;
    unsigned wide : 20;
    bool on : 1;
    enum colour tint : 4;
    uint8_t tail;
};

struct packet {
    uint8_t kind;
    union {
        uint32_t word;
        uint8_t bytes[4];
    };
    struct {
        int16_t a;
        int16_t b;
    } pair;
};

struct node {
    int value;
    struct node *next;
};

int counter = 42;
unsigned int big = 4000000000u;
short negative_short = -300;
long long_value = -5;
unsigned long long huge_value = 18446744073709551615ull;
char letter = 'A';
signed char small = -56;
unsigned char high_byte = 200;
byte_t typed_byte = 7;
octet_t chained = 9;
bool truth = true;
float ratio = 0.25f;
double precise = 2.5;
enum colour shade = BLUE;
enum colour odd_shade = (enum colour)3;
struct point origin = {3, -4};
struct point path[3] = {{1, 2}, {3, 4}, {5, 6}};
int grid[2][3] = {{1, 2, 3}, {4, 5, 6}};
struct flags flag_set = {5, -7, 0xABCDE, true, GREEN, 0x5A};
struct packet message = {1, {0x11223344}, {-1, 2}};
struct node ring[3] = {{10, &ring[1]}, {20, &ring[2]}, {30, &ring[0]}};
struct node *ring_head = &ring[0];
const char greeting[] = "hi\tthere\n";
const char *greeting_ptr = greeting;
int *null_pointer = 0;
huge_t *huge_pointer = 0;
int numbers[150];
static int file_static = 17;

int twice(int value)
{
    static int calls = 3;
    return value * 2 + calls + file_static;
}

int main(void)
{
    return twice(counter) + numbers[0];
}
