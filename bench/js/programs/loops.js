// Nested loops over a 1,000-element array: 1,000 rounds of 1,000 steps, with integer
// arithmetic, a test and a compound assignment in the body.
var a = [];
for (var i = 0; i < 1000; i++)
    a[i] = (i * 7) % 1000;
var sum = 0;
for (var round = 0; round < 1000; round++) {
    for (var j = 0; j < 1000; j++) {
        var v = a[j];
        if (v > round)
            sum += v - round;
        else
            sum -= 1;
    }
}
out(sum);
