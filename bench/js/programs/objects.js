// 200,000 small object literals kept in an array, then a sum over one of their fields.
var list = [];
for (var i = 0; i < 200000; i++)
    list[i] = { id: i, name: "item", weight: i % 10, next: null };
var total = 0;
for (var j = 0; j < 200000; j++)
    total += list[j].weight;
out(total);
