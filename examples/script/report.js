// A build script's report: one line per object file collected into one text, then a summary.
// The text grows by appending, as such scripts write it.
var report = "";
var total = 0;
for (var i = 0; i < 20000; i++) {
    var size = (i * 7919) % 4096;
    report = report + "obj/module" + i + ".o " + size + "\n";
    total += size;
}
var lines = report.split("\n");
WScript.Echo("lines: " + (lines.length - 1) + ", characters: " + report.length);
WScript.Echo("first: " + lines[0]);
WScript.Echo("last: " + lines[lines.length - 2]);
WScript.Echo("total size: " + total);
