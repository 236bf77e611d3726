// An output text collected line by line, as build scripts do: 20,000 appends of a short piece
// with a number in it.
var s = "";
for (var i = 0; i < 20000; i++)
    s = s + "item" + i + ";";
out(s.length);
