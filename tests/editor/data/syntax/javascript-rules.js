function f(a) { return typeof a === "x"; }
var re = /ab+c/; // regex stays operators
const s = `template`;
