// Texts built at run time behave as strings made any other way: in comparisons, as keys, in
// switch, typeof, conversions and every library function. Appending to one string never
// changes another that shares its beginning.
var built = "ab" + "c";
Echo(typeof built);
Echo(built == "abc");
Echo(built != "abd");
Echo("abc" == built);
Echo(built < "abd");
Echo("abb" < built);
Echo(built.length);
Echo(built.charAt(1) + built.charCodeAt(2));
Echo(built.toUpperCase() + built.indexOf("c") + built.substring(1, 2));
switch (built) {
case "abc":
    Echo("switch matches a literal");
    break;
default:
    Echo("switch misses");
}
var o = {};
o[built] = 1;
o["x" + 1] = 2;
Echo(o.abc + o.x1);
var count = 0;
for (var key in o)
    if (key == "abc" || key == "x1")
        count++;
Echo(count);
Echo(Number("1" + "2") + 1);
Echo(("1" + "2") * 2);
Echo(!!("" + ""));
Echo(!!("a" + ""));
Echo(String(built) == built);
Echo(new String(built).length);
Echo(typeof new String(built));
var wrapped = new String("x" + "y");
Echo(wrapped + "z");
// Sharing a buffer: s + "1" writes in place, s + "2" must not see it, nor s itself.
var s = "base" + "";
s = s + "-";
var t = s + "1";
var u = s + "2";
Echo(s + " " + t + " " + u);
var v = t + "x";
var w = t + "y";
Echo(t + " " + v + " " + w);
var doubled = s + s;
doubled = doubled + doubled;
Echo(doubled);
// A text built piece by piece, then split and joined.
var text = "";
for (var i = 0; i < 200; i++)
    text = text + i + ",";
Echo(text.length);
var parts = text.split(",");
Echo(parts.length + " " + parts[199] + " " + parts.join("").length);
Echo(text.replace("199,", "end").slice(-6));
Echo([built, 1, t].join("+"));
Echo(built.concat("d", "e"));
Echo((12).toString(2) + "" == "1100");
Echo(isNaN("x" + 1));
Echo(parseInt("4" + "2"));
Echo(eval("'e' + 'v'") + eval("1 + " + "2"));
var array = [];
array["1" + ""] = "one";
Echo(array.length + array[1]);
Echo(typeof ("" + null) + ("" + null) + (undefined + ""));
