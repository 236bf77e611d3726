: t LOCALS| a b | a b - ; 1 2 t . ' t CATCH . : u CASE 1 OF 2 ENDOF ENDCASE ; 1 u .
