@echo off
REM this is all comment "even quotes"
   rem indented too
remark is not a comment
SET X=1
if exist "a.txt" goto END
Echo %X% & CALL sub(1)
