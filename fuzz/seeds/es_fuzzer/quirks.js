// a.b++ changes the variable named b, not the member
var b = 1;
var a = { b: 10 };
a.b++;
Echo(a.b);
Echo(b);
// the identity comparison exists only inside switch
switch (1) { case "1": Echo("wrong"); break; case 1: Echo("identity"); }
// a closure-visible local cannot be incremented in place
function visible() { var i = 0; function peek() { return i; } i++; return peek(); }
visible();
