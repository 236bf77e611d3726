// names visible to closures and `with` live in activation objects
function outer(a) {
    var local = a * 2;
    function read() { return a + local; }
    local = local + 1;
    return read();
}
Echo(outer(5));
// a surplus argument is unnamed; a missing one is undefined, also in an activation
function count(x, y) { function see() { return typeof y; } return see(); }
Echo(count(1));
Echo(count(1, 2, 3));
// `with` makes every name inside dynamic
var target = { v: 1 };
function viaWith() { var v = 100; with (target) { v = v + 1; } return v; }
Echo(viaWith());
Echo(target.v);
// eval runs in the same context and sees the globals
var seen = 7;
Echo(eval("seen * 6"));
// break out of `with` does not restore the scope chain in a function
var box = { inBox: "from the box" };
function leak() { var inBox = "local"; while (1) { with (box) { break; } } with ({}) { return inBox; } }
Echo(leak());
// nested closures keep their own counters
function make() { var n = 0; return function() { n = n + 1; return n; }; }
var c1 = make(); var c2 = make();
c1(); c1();
Echo(c1() + ":" + c2());
