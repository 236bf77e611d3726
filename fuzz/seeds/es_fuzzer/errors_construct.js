var e = new TypeError("custom");
Echo(e.message);
Echo(e.name);
