/* mixed.c: written on two systems, so some lines end in CR LF and some in LF. */
int add(int a, int b)
{
    return a + b;
}
