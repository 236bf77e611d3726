new 5;
