// Order of evaluation in stores: in `o.p = v` the object comes before the value; `o[k] = v`
// evaluates the value, then the object, then the key; a compound member assignment evaluates
// the value first.
var log = "";
var target = {};
function object(name) { log = log + name; return target; }
function value(name) { log = log + name; return name; }
object("f").p = value("g");
Echo(log + " " + target.p);
log = "";
object("o")[value("k")] = value("v");
Echo(log + " " + target.k);
log = "";
target.n = 1;
object("o").n += value(2);
Echo(log + " " + target.n);
log = "";
var chained = object("a").x = object("b").y = value("v");
Echo(log + " " + chained + " " + target.x + target.y);
function inFunction() {
    var local = {};
    var result = (local.q = value("q"));
    return result + local.q;
}
log = "";
Echo(inFunction() + " " + log);
var names = [];
var holder = { key: "" };
for (holder.key in { a: 1, b: 2 })
    names[names.length] = holder.key;
Echo(names[0] + "," + names[1]);
