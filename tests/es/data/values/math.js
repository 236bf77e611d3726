// The departures first: round is the floor of x + 0.5, so half-way cases go up also below
// zero; max and min start at the infinities, and one NaN argument makes NaN.
Echo(Math.round(2.5));
Echo(Math.round(-2.5));
Echo(Math.round(-2.6));
Echo(Math.round(0.49999999999999994));
Echo(Math.round(NaN));
Echo(Math.round(1/0));
Echo(Math.round(-1/0));
Echo(Math.max());
Echo(Math.min());
Echo(Math.max(1, NaN, 3));
Echo(Math.min(NaN));
Echo(Math.max(1, "7", 3));
Echo(Math.min(4, -2, 9));
Echo(Math.max.length);
Echo(Math.min.length);
// Math is no constructor and no function.
Echo(typeof Math);
Echo(Math.prototype);
// Constants.
Echo(Math.E);
Echo(Math.LN10);
Echo(Math.LN2);
Echo(Math.LOG2E);
Echo(Math.LOG10E);
Echo(Math.PI);
Echo(Math.SQRT1_2);
Echo(Math.SQRT2);
Echo(Math.PI == 3.141592653589793);
Echo(Math.SQRT1_2 * Math.SQRT2 > 0.9999999);
// Functions of one number, with their conversions.
Echo(Math.abs(-3));
Echo(Math.abs("-4"));
Echo(Math.abs());
Echo(Math.acos(1));
Echo(Math.acos(2));
Echo(Math.asin(1));
Echo(Math.atan(1) * 4 == Math.PI);
Echo(Math.atan2(1, 1) * 4 == Math.PI);
Echo(Math.atan2(1));
Echo(Math.ceil(1.2));
Echo(Math.ceil(-1.2));
Echo(Math.cos(0));
Echo(Math.exp(1) == Math.E);
Echo(Math.floor(-1.5));
Echo(Math.floor("2.7"));
Echo(Math.log(Math.E));
Echo(Math.log(0));
Echo(Math.log(-1));
Echo(Math.pow(2, 10));
Echo(Math.pow(2, 0.5) == Math.SQRT2);
Echo(Math.pow(2));
Echo(Math.sin(0));
Echo(Math.sqrt(16));
Echo(Math.sqrt(-1));
Echo(Math.tan(0));
Echo(Math.floor(null));
Echo(Math.floor(undefined));
Echo(Math.floor({ valueOf: function () { return 8.5; } }));
// Lengths.
Echo(Math.abs.length + Math.atan2.length + Math.pow.length + Math.random.length);
// Math.random: numbers from 0 up to, not including, 1, and not all the same.
var low = 1, high = 0, sum = 0;
for (var i = 0; i < 1000; i++) {
    var r = Math.random();
    if (typeof r != "number")
        Echo("not a number");
    if (r < low)
        low = r;
    if (r > high)
        high = r;
    sum += r;
}
Echo(low >= 0 && high < 1 && low < high);
Echo(sum > 400 && sum < 600);
// Calling Math fails: it is a plain object.
Math();
