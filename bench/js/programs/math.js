// Math functions in a loop: 1,500,000 rounds of sqrt, sin, floor, pow, abs, max and round.
// The printed sum is a whole number, so every engine prints the same text.
var sum = 0;
for (var i = 0; i < 1500000; i++) {
    var x = i * 0.001;
    sum += Math.sqrt(x) + Math.sin(x) + Math.floor(x) + Math.pow(x, 0.5) + Math.abs(-x) +
           Math.max(x, 1, 2) + Math.round(x);
}
out(Math.floor(sum));
