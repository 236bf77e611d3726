#include <stdio.h>
#define MAX(a, b) \
    ((a) > (b) ? (a) : (b))
/* TODO: fix this
   still comment */
/*! \title The main program
    \code int x; \endcode <b>bold</b> */
int main(int argc, char **argv) { // NOTE check
    const char *s = "tab\t and \"quote\"";
    auto r = R"xy(raw )" still)xy";
    auto u = u8R"(text
more)";
    double d = 0x1p+3 + 1e-5 + 1+2 + .5;
    if (foo (1) && bar(2)) { return '\''; }
    x = a / b; y = \alpha;
    char *cont = "abc\
def";
}
}
x = R"ab(one )a" )b" two)abc" still
)ab" + L"wide" + UR"(u)" + uR"z(q)z" + LR"(p)";
s = "no backslash, no spill
t = 'c' + 'unterminated
#if defined(X) // FIXME tag
#endif
/* XXX */ /**/ // lint: off
int a = {1, 2}; }}} int b;
{ /* } */ "}" '{' }
bar	(tab) £ × é_ident ü
