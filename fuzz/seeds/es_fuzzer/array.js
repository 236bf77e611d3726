// An array filled and summed: 1,000 rounds over 1,000 elements, 1e6 steps each way. Elements
// are kept to 1,000 because every element is a property found by a linear scan.
var a = [];
var total = 0;
for (var round = 0; round < 1000; round++) {
    for (var i = 0; i < 1000; i++)
        a[i] = i + round;
    for (var j = 0; j < 1000; j++)
        total += a[j];
}
out(total);
