var o = { a: 1, "b": 2, 3: "three" };
Echo(o.a + o["b"]);
Echo(o[3] + o["3"]);
var keys = "";
var plain = { x: 1, y: 2 };
for (var k in plain) keys = keys + k + ",";
Echo(keys);
// a deleted slot stays; setting it again moves it to the end
var m = {};
m.p = 1; m.q = 2; m.r = 3;
delete m.p;
m.p = 4;
var order = "";
for (var key in m) if (m.hasOwnProperty(key)) order = order + key;
Echo(order);
Echo(m.hasOwnProperty("q"));
Echo(delete m.q);
Echo(m.q);
Echo(m.hasOwnProperty("q"));
// number keys and their texts are the same atom
var n = {};
n[5] = "five"; n[5.5] = "five and a half";
Echo(n["5"]);
Echo(n["5.5"]);
// reading an undeclared name gives undefined
Echo(notDeclaredAnywhere);
with (plain) { Echo(x + y); x = 10; }
Echo(plain.x);
var list = [1, 2, 3];
Echo(list.length);
list[10] = 1;
Echo(list.length);
list.length = 1;
Echo(list[2]);
Echo([1,].length);
Echo([,].length);
Echo([1,,3][1]);
var idx = "";
for (var i in ["a", "b"]) if (i == "0" || i == "1") idx = idx + i;
Echo(idx);
Echo({}.toString());
Echo(new Error("x").toString());
var v = { valueOf: function() { return undefined; }, toString: function() { return "from toString"; } };
Echo(v + "");
Echo(Object.prototype.isPrototypeOf(plain));
