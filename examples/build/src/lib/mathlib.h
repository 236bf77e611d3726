#ifndef MATHLIB_H
#define MATHLIB_H
int add(int a, int b);
int scale(int value, int factor);
int square(int value);
int cube(int value);
#endif
