// Word counting over a short text: split, sort by text and by count, join.
var text = "the cat and the dog and the  bird";
var words = text.split(" ");
Echo(words.length);
var counts = {};
var seen = [];
for (var i = 0; i < words.length; i++) {
    var w = words[i];
    if (w == "")
        continue;
    if (counts.hasOwnProperty(w)) {
        counts[w] = counts[w] + 1;
    } else {
        counts[w] = 1;
        seen.push(w);
    }
}
seen.sort();
Echo(seen.join(" "));
seen.sort(function (a, b) { return counts[b] - counts[a]; });
Echo(seen[0] + "=" + counts[seen[0]] + " " + seen[1] + "=" + counts[seen[1]]);
Echo(text.trim().replace(" ", "_"));
Echo(seen.slice(-2).length + " " + seen.concat(["x"]).length);
