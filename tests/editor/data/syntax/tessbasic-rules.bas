10 REM all of this is comment
20 PRINT "Hello ""quoted"" world"; A$
30 LET x = 0x1F + 2.5 ' trailing comment
40 IF x > 10 THEN GOTO 100 ELSE GOSUB 200
50 for i = 1 to 10 step 2: next i
60 rem lower case comment
70 remark = 1
80 WHILE NOT done AND ok OR x: WEND
90 DIM arr(10): INPUT "unterminated
100 END
