: t 10 0 DO I . LOOP ; t
