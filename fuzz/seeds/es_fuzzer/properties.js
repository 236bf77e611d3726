// Property reads and writes on one object, 1e6 steps.
var o = { x: 0, y: 1, z: 2, w: 3 };
for (var i = 0; i < 1000000; i++) {
    o.x = o.x + 1;
    o.y = o.x + o.z;
    o.w = o.y - o.w;
}
out(o.x + o.y + o.w);
