int inner(int);
int inner(long);
