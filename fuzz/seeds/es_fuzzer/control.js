var s = 0;
for (var i = 0; i < 10; i++) s += i;
Echo(s);
var n = 0;
for (;;) { n++; if (n == 5) break; }
Echo(n);
var w = 0;
while (w < 3) w++;
Echo(w);
var d = 10;
do { d--; } while (d > 7)
Echo(d);
outer: for (var a = 0; a < 3; a++) {
    for (var b = 0; b < 3; b++) {
        if (b == 1) continue outer;
        if (a == 2) break outer;
        Echo(a + ":" + b);
    }
}
switch (2) {
case 1: Echo("one");
case 2: Echo("two");
case 3: Echo("three"); break;
default: Echo("default");
}
switch ("1") { case 1: Echo("loose"); break; default: Echo("strict"); }
switch (9) { default: Echo("first default"); case 1: Echo("falls into one"); }
var odd = 0;
for (var k = 0; k < 10; k++) { if (k % 2 == 0) continue; odd++; }
Echo(odd);
if (0) Echo("no"); else if (1) Echo("else if"); else Echo("no");
// throw checks its expression and raises nothing
throw 1; Echo("after throw");
// try runs its block, never catches, then runs finally
try { Echo("try block"); } catch (e) { Echo("catch block"); } finally { Echo("finally block"); }
try { Echo("try only"); } finally { }
var c = 0;
for (var q = 10; q > 0; q--) c++;
Echo(c);
