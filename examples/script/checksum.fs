\ A checksum over a table of 1,000 cells, a million steps of loops and calls.
CREATE TABLE 1000 ALLOT
: FILL-TABLE 1000 0 DO I 31 * 255 AND TABLE I + ! LOOP ;
VARIABLE SUM
: MIX ( n -- n ) 3 * 7 XOR ;
: CHECKSUM 0 SUM ! 1000 0 DO 1000 0 DO TABLE I + @ J + MIX SUM @ + SUM ! LOOP LOOP ;
FILL-TABLE CHECKSUM ." checksum: " SUM @ . CR
