// An array used as a stack and a queue, with lengths set by hand in between.
var a = [];
for (var i = 0; i < 5; i++)
    a.push(i * i);
Echo(a + " " + a.length);
Echo(a.pop() + " " + a.shift() + " " + a);
a.length = 5;
Echo(a.length + " [" + a + "]");
a[7] = "x";
Echo(a.length + " [" + a.join("|") + "]");
a.length = 2;
Echo(a.length + " [" + a + "] " + a[7]);
a.reverse();
Echo(a);
var b = new Array(3);
b[1] = "m";
Echo(b.length + " [" + b + "]");
