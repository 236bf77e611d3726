10 REM Blinks the LED on pin 13
20 LET period = 500
30 FOR i = 1 TO 10
40   PIN 13, HIGH: DELAY period: PIN 13, LOW ' off
50 NEXT i
60 PRINT "done after ""10"" blinks"
70 END
