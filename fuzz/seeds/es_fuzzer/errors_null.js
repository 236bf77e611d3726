var n = null;
n.x = 1;
