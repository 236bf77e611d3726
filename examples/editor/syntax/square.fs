\ Squares and a greeting
: SQUARE ( n -- n*n ) DUP * ;
: GREET ." Hello from the board" CR ;
{ a stack comment }
10 0 DO I SQUARE . LOOP $FF . GREET
