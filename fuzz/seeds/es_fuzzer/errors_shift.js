var a = { b: 1 }; a.b <<= 1;
