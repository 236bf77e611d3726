// Split, join and replace over a text of about 1 MB, three rounds. The text is one paragraph
// of 91 words doubled up, so the rounds rather than the building dominate.
var words = ["alpha", "beta", "gamma", "delta", "epsilon", "zeta", "eta", "theta", "iota",
             "kappa", "lambda", "mu", "omicron"];
var text = "start";
for (var i = 0; i < 91; i++)
    text = text + " " + words[i % 13] + (i % 7);
for (var d = 0; d < 11; d++)
    text = text + " " + text;
text = text + " unique";
var total = 0;
for (var round = 0; round < 3; round++) {
    var lines = text.split(" ").join("\n");
    var swapped = lines.split("alpha").join("ALPHA");
    var marked = swapped.replace("unique", "UNIQUE");
    total += marked.split("\n").length + marked.length + marked.indexOf("UNIQUE");
}
out(text.length + " " + total);
