#include <xs1.h>
void producer(chanend c) { for (int i = 0; i < 10; i++) c <: i; }
int main(void) { chan c; par { producer(c); consumer(c); } return 0; }
