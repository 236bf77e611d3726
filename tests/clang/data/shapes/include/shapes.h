#ifndef SHAPES_H
#define SHAPES_H

#define MAX_POINTS 16
#define SQUARE(x) ((x) * (x))

struct point {
    int x;
    int y;
};

typedef struct polygon {
    struct point points[MAX_POINTS];
    int count;
    const char *name;
} polygon_t;

enum colour { RED, GREEN = 4, BLUE };

int polygon_add(polygon_t *polygon, struct point point);
double polygon_area(const polygon_t *polygon);
void polygon_clear(polygon_t *polygon);

#endif
