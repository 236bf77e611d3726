// A string built from 20,000 pieces.
var s = "";
for (var i = 0; i < 20000; i++)
    s = s + "piece";
out(s.length);
