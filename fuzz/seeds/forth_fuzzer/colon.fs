: sq DUP * ; 7 sq .
