// The departures first: NaN converts to true, and the prototype wraps false.
Echo(Boolean(NaN));
Echo(new Boolean(NaN).valueOf());
Echo(Boolean.prototype.valueOf());
Echo(Boolean.prototype.toString());
// Conversions of every type.
Echo(Boolean());
Echo(Boolean(undefined));
Echo(Boolean(null));
Echo(Boolean(0));
Echo(Boolean(-1));
Echo(Boolean(""));
Echo(Boolean("false"));
Echo(Boolean({}));
// Wrappers.
var b = new Boolean(1);
Echo(typeof b);
Echo(typeof Boolean(1));
Echo(b.toString());
Echo(new Boolean().toString());
Echo(b.valueOf() == true);
Echo(Boolean.length);
Echo(Boolean.prototype.toString.length);
Echo(Boolean.prototype.constructor == Boolean);
// A method on an object of another class raises a TypeError.
var o = { f: Boolean.prototype.valueOf };
o.f();
