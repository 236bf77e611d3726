\ a line comment
: SQUARE ( n -- n*n ) DUP * ;
: greet ." Hello, world" CR ;
{ a stack
comment } 10 0 DO I . LOOP
( open comment
still ) $FF #10 %101 -5 0x1F 3. abc S" text" c" more"
variable x if then else begin until
ABORT" bad input" 1+ 2swap
