// The departures first: arguments of the constructor are ignored and leave time 0, and no
// time zone applies anywhere.
Echo(new Date(1000).getTime());
Echo(new Date(2020, 1, 1).getFullYear());
Echo(new Date("2020-01-01").valueOf());
var d = new Date(0);
Echo(d.getTimezoneOffset());
Echo(d.toString());
Echo(d.toUTCString());
Echo(d.getHours() == d.getUTCHours());
// getDay counts from 1 for Monday to 7 for Sunday: 1970-01-01 was a Thursday.
Echo(d.getDay());
Echo(d.getUTCDay());
d.setDate(4);
Echo(d.getDay());
d.setDate(5);
Echo(d.getDay());
// The setters' lengths, with setMinutes 2 and setUTCMinutes 3.
var p = Date.prototype;
Echo([p.setMilliseconds.length, p.setUTCMilliseconds.length, p.setSeconds.length,
      p.setUTCSeconds.length, p.setMinutes.length, p.setUTCMinutes.length, p.setHours.length,
      p.setUTCHours.length, p.setDate.length, p.setUTCDate.length, p.setMonth.length,
      p.setUTCMonth.length, p.setFullYear.length, p.setUTCFullYear.length, p.setTime.length].join());
Echo(Date.length);
// Fields of a known time: 2024-02-29 13:45:30.250, a Thursday.
d.setTime(1709214330250);
Echo([d.getFullYear(), d.getMonth(), d.getDate(), d.getDay(), d.getHours(), d.getMinutes(),
      d.getSeconds(), d.getMilliseconds()].join());
Echo([d.getUTCFullYear(), d.getUTCMonth(), d.getUTCDate(), d.getUTCDay(), d.getUTCHours(),
      d.getUTCMinutes(), d.getUTCSeconds(), d.getUTCMilliseconds()].join());
Echo(d.toString());
Echo(d.toDateString());
Echo(d.toTimeString());
Echo(d.toLocaleString());
Echo(d.toLocaleDateString());
Echo(d.toLocaleTimeString());
Echo(d.valueOf() == d.getTime());
Echo(d - 250);
Echo("" + d == d.toString());
// Setters rebuild the time from the present fields and return it.
var s = new Date(0);
Echo(s.setFullYear(2000, 0, 31));
Echo(s.setMonth(1));
Echo(s.toDateString());
s.setMonth(13, 1);
Echo(s.toDateString());
s.setDate(0);
Echo(s.toDateString());
s.setHours(25, 61, 61, 1001);
Echo(s.toString() + " " + s.getMilliseconds());
s.setMinutes(5, 6, 7);
Echo(s.toTimeString() + " " + s.getMilliseconds());
s.setUTCMinutes(-1);
Echo(s.toString());
s.setSeconds(90);
s.setMilliseconds(-1);
Echo(s.toString() + " " + s.getMilliseconds());
// An undefined argument keeps its field.
s.setHours(undefined, 30);
Echo(s.toTimeString());
s.setUTCFullYear(1999);
s.setUTCMonth(11);
s.setUTCDate(31);
s.setUTCHours(23);
s.setUTCSeconds(59);
s.setUTCMilliseconds(999);
Echo(s.toString() + " " + s.getMilliseconds());
// Before the epoch, and the proleptic calendar.
s.setTime(-1);
Echo(s.toString() + " " + s.getMilliseconds());
s.setTime(-62135596800000);
Echo(s.toString());
s.setFullYear(1900, 1, 29);
Echo(s.toDateString());
s.setFullYear(2100, 1, 29);
Echo(s.toDateString());
s.setFullYear(2000, 1, 29);
Echo(s.toDateString());
// The edges of the valid range; beyond them the time is NaN.
s.setTime(8.64e15);
Echo(s.toString());
s.setTime(-8.64e15);
Echo(s.toString());
Echo(s.setTime(8.64e15 + 1));
Echo(s.getFullYear());
Echo(s.getDay());
Echo(s.toString());
Echo(s.setMonth(1));
Echo(s.setFullYear(2001));
Echo(s.toDateString());
Echo(s.setTime(1.9));
Echo(s.setTime(-0));
Echo(s.setTime("12"));
Echo(s.setTime(NaN));
Echo(s.setTime());
Echo(s.setTime(1e300));
s.setTime(0);
Echo(s.setDate(1e300));
s.setTime(0);
Echo(s.setFullYear(1e300, -1e300 * 12));
s.setTime(0);
Echo(s.setMonth(1e30));
s.setTime(0);
Echo(s.setHours(0, 0, 0, 1/0));
s.setTime(0);
Echo(s.setFullYear(275760, 8, 13));
Echo(s.setMilliseconds(1));
// Date.prototype is a Date of time 0; Date() as a function gives text.
Echo(Date.prototype.getTime());
Echo(typeof Date());
Echo(typeof new Date());
// A method on an object of another class raises a TypeError.
var o = { f: Date.prototype.getTime };
o.f();
