// Recursive calls: fib(30).
function fib(n) {
    if (n < 2)
        return n;
    return fib(n - 1) + fib(n - 2);
}
out(fib(30));
