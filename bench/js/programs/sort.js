// 100,000 pseudo-random numbers sorted with a compare function, then checked in order.
var count = 100000;
var a = [];
var seed = 42;
for (var i = 0; i < count; i++) {
    seed = (seed * 16807) % 2147483647;
    a[i] = seed % 1000000;
}
a.sort(function (x, y) { return x - y; });
var ordered = 0;
for (var j = 1; j < count; j++) {
    if (a[j - 1] <= a[j])
        ordered++;
}
out(ordered + " " + a[0] + " " + a[count / 2] + " " + a[count - 1]);
