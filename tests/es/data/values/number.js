// The departures first: toString keeps six significant digits whatever the radix, a
// negative number in another radix is its 64-bit two's complement, toFixed pads through the
// C library, Number() is 0 while Number(undefined) is NaN.
Echo((1.23456789).toString());
Echo((2.5).toString(16));
Echo((-1).toString(16));
Echo((-255).toString(2).length);
Echo(Number());
Echo(Number(undefined));
Echo(new Number().valueOf());
Echo(Number(""));
// Radix: 0, absent and NaN mean 10.
Echo((255).toString());
Echo((255).toString(0));
Echo((255).toString(NaN));
Echo((255).toString(16));
Echo((255).toString(2));
Echo((35).toString(36));
Echo((255).toString("8"));
Echo((0).toString(2));
Echo((1/0).toString(16));
Echo((0/0).toString(2));
// toFixed
Echo((3.14159).toFixed(2));
Echo((2.5).toFixed(0));
Echo((-1.005).toFixed(1));
Echo((1234.5678).toFixed());
Echo((0.1).toFixed(20));
Echo((1e21).toFixed(2));
Echo((-1e300).toFixed(0).length);
Echo((1/0).toFixed(3));
Echo((-1/0).toFixed(3));
Echo((7).toFixed(20));
Echo((7).toFixed("3"));
Echo((7).toFixed(NaN));
// Constants on the constructor.
Echo(Number.MIN_VALUE);
Echo(Number.MIN_VALUE > 0);
Echo(Number.MIN_VALUE / 2);
Echo(Number.MAX_VALUE == 1.7976931348623157e308);
Echo(Number.MAX_VALUE * 2);
Echo(Number.NaN);
Echo(Number.NEGATIVE_INFINITY);
Echo(Number.POSITIVE_INFINITY);
// Constants can be overwritten: no property is read-only at run time.
Number.NaN = 5;
Echo(Number.NaN);
// Wrappers and the prototype, which wraps 0.
var n = new Number(42);
Echo(typeof n);
Echo(n.valueOf() + 1);
Echo(n + 1);
Echo(Number.prototype.valueOf());
Echo(Number("0x1f"));
Echo(Number(true));
Echo(Number(null));
Echo(Number.length);
Echo(Number.prototype.toString.length);
Echo(Number.prototype.toFixed.length);
Echo(Number.prototype.valueOf.length);
Echo(Number.prototype.constructor == Number);
// A method on an object of another class raises a TypeError.
var o = { f: Number.prototype.valueOf };
o.f();
