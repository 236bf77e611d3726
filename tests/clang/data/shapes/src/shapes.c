#include "shapes.h"

static const int limit = MAX_POINTS * 2;
const double ratio = 1.5;
static const char *const greeting = "hello";
enum colour favourite = GREEN;

int polygon_add(polygon_t *polygon, struct point point)
{
    if (polygon->count >= MAX_POINTS)
        return -1;
    polygon->points[polygon->count++] = point;
    return polygon->count;
}

double polygon_area(const polygon_t *polygon)
{
    double twice = 0;
    for (int i = 0; i < polygon->count; ++i) {
        const struct point a = polygon->points[i];
        const struct point b = polygon->points[(i + 1) % polygon->count];
        twice += a.x * b.y - b.x * a.y;
    }
    return twice / 2;
}

#if 0
int unused(void)
{
    return 0;
}
#endif

#ifdef DEBUG_SHAPES
static void dump(const polygon_t *polygon)
{
    (void)polygon;
}
#else
#define dump(polygon) ((void)0)
#endif

int main(void)
{
    polygon_t square = {.count = 0, .name = "square"};
    polygon_add(&square, (struct point){0, 0});
    dump(&square);
    polygon_clear(&square);
    return (int)polygon_area(&square) + SQUARE(limit) + favourite + greeting[0];
}
