CREATE a 3 ALLOT 1 a 2 + ! a 2 + @ . HERE a - .
