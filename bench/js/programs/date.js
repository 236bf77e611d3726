// Date arithmetic: 200,000 rounds of making a date, setting its time and fields and reading
// them back. Only the UTC fields and times set by the script are read, so the output does not
// depend on the clock or the time zone.
var total = 0;
for (var i = 0; i < 200000; i++) {
    var d = new Date();
    d.setTime(i * 3700000);
    total += d.getUTCFullYear() + d.getUTCMonth() + d.getUTCDate() + (d.getUTCDay() % 7) +
             d.getUTCHours() + d.getUTCMinutes() + d.getUTCSeconds();
    d.setUTCDate(15);
    d.setUTCHours(12, 30);
    total += (d.getTime() % 86400000) / 1000;
}
out(total);
