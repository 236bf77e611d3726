var notAFunction = 3;

notAFunction();
