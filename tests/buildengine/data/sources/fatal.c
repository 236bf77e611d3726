#include "missing.h"
int main(){}
