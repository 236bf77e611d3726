// The n-body step loop: five bodies, 20,000 steps. The square root is computed in the script
// (Newton's method) so that every engine runs the same code.
function sqrt(v) {
    var r = v;
    if (r < 1)
        r = 1;
    for (var k = 0; k < 12; k++)
        r = 0.5 * (r + v / r);
    return r;
}
function body(x, y, z, vx, vy, vz, mass) {
    return { x: x, y: y, z: z, vx: vx, vy: vy, vz: vz, mass: mass };
}
var PI = 3.141592653589793;
var SOLAR_MASS = 4 * PI * PI;
var DAYS = 365.24;
var bodies = [
    body(0, 0, 0, 0, 0, 0, SOLAR_MASS),
    body(4.84143144246472090e+00, -1.16032004402742839e+00, -1.03622044471123109e-01,
         1.66007664274403694e-03 * DAYS, 7.69901118419740425e-03 * DAYS,
         -6.90460016972063023e-05 * DAYS, 9.54791938424326609e-04 * SOLAR_MASS),
    body(8.34336671824457987e+00, 4.12479856412430479e+00, -4.03523417114321381e-01,
         -2.76742510726862411e-03 * DAYS, 4.99852801234917238e-03 * DAYS,
         2.30417297573763929e-05 * DAYS, 2.85885980666130812e-04 * SOLAR_MASS),
    body(1.28943695621391310e+01, -1.51111514016986312e+01, -2.23307578892655734e-01,
         2.96460137564761618e-03 * DAYS, 2.37847173959480950e-03 * DAYS,
         -2.96589568540237556e-05 * DAYS, 4.36624404335156298e-05 * SOLAR_MASS),
    body(1.53796971148509165e+01, -2.59193146099879641e+01, 1.79258772950371181e-01,
         2.68067772490389322e-03 * DAYS, 1.62824170038242295e-03 * DAYS,
         -9.51592254519715870e-05 * DAYS, 5.15138902046611451e-05 * SOLAR_MASS)
];
function advance(dt) {
    var n = 5;
    for (var i = 0; i < n; i++) {
        var bi = bodies[i];
        for (var j = i + 1; j < n; j++) {
            var bj = bodies[j];
            var dx = bi.x - bj.x;
            var dy = bi.y - bj.y;
            var dz = bi.z - bj.z;
            var d2 = dx * dx + dy * dy + dz * dz;
            var mag = dt / (d2 * sqrt(d2));
            bi.vx -= dx * bj.mass * mag;
            bi.vy -= dy * bj.mass * mag;
            bi.vz -= dz * bj.mass * mag;
            bj.vx += dx * bi.mass * mag;
            bj.vy += dy * bi.mass * mag;
            bj.vz += dz * bi.mass * mag;
        }
    }
    for (var k = 0; k < n; k++) {
        var b = bodies[k];
        b.x += dt * b.vx;
        b.y += dt * b.vy;
        b.z += dt * b.vz;
    }
}
for (var step = 0; step < 20000; step++)
    advance(0.01);
out(bodies[0].x + bodies[1].x);
