// load() of a file that is not there answers false and changes nothing.
var before = typeof loaded;
Echo(load("definitely/missing/script.js"));
Echo(before + " " + typeof loaded);
