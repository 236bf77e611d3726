Echo(early());
function early() { return "hoisted"; }
function fib(n) { if (n < 2) return n; return fib(n - 1) + fib(n - 2); }
Echo(fib(15));
function args(a, b, c) { return typeof c; }
Echo(args(1));
Echo(args(1, 2, 3, 4));
function counter() { var count = 0; return function() { count = count + 1; return count; }; }
var next = counter();
next(); next();
Echo(next());
var other = counter();
Echo(other());
var named = function square(v) { return v * v; };
Echo(named(4));
Echo(square(5));
function Point(x, y) { this.x = x; this.y = y; }
Point.prototype.sum = function() { return this.x + this.y; };
var p = new Point(3, 4);
Echo(p.sum());
Echo(p.constructor == Point);
function Maker() { return { made: true }; }
Echo(new Maker().made);
Echo(fib.length);
function noReturn() { }
Echo(noReturn());
var add = new Function("a", "b", "return a + b");
Echo(add(2, 3));
Echo(Function.prototype());
Echo(eval("1 + 2"));
Echo(eval(7));
function block() {
    inner();
    function inner() { Echo("inner before declaration"); }
}
block();
function nest(v) { function twice() { return v * 2; } return twice(); }
Echo(nest(21));
