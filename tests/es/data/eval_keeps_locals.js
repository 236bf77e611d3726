// A function that mentions eval keeps its locals on the stack: only the incoming value is kept
// in `arguments` (the callee, which is the incoming value), and in-place increments work.
function counted() {
    var i = 0;
    eval("1");
    i++;
    i++;
    --i;
    return i;
}
Echo(counted());
function looped(n) {
    var total = 0;
    for (var i = 0; i < n; i++)
        total += i;
    var e = eval;
    return total;
}
Echo(looped(5));
function outer() {
    var k = 10;
    function inner() { return eval("2"); }
    k++;
    return k + inner();
}
Echo(outer());
function withArguments(a) {
    var j = 1;
    eval("3");
    return arguments;
}
Echo(typeof withArguments(4));
