// new Date() reads the wall clock: two readings are in order and close together, and the
// fields agree with the time value.
var a = new Date();
var b = new Date();
Echo(typeof a.getTime());
Echo(b.getTime() >= a.getTime() && b.getTime() - a.getTime() < 60000);
Echo(a.getFullYear() >= 2024 && a.getFullYear() < 3000);
var msInDay = ((a.getHours() * 60 + a.getMinutes()) * 60 + a.getSeconds()) * 1000 + a.getMilliseconds();
Echo(a.getTime() - msInDay == Math.floor(a.getTime() / 86400000) * 86400000);
var c = new Date(0);
c.setFullYear(a.getFullYear(), a.getMonth(), a.getDate());
c.setHours(a.getHours(), a.getMinutes(), a.getSeconds(), a.getMilliseconds());
Echo(c.getTime() == a.getTime());
Echo(c.toString() == a.toString());
Echo(a.getDay() >= 1 && a.getDay() <= 7);
Echo(a.getMonth() >= 0 && a.getMonth() <= 11);
