class A { public static void main(String[] a) { int x = 0x1F; /* BUG */ } }
String s = "a\tb"; // done
null true false instanceof
