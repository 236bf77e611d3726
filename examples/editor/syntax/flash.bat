@echo off
rem Writes the image to the board
set IMAGE=build\app.hex
if not exist "%IMAGE%" goto missing
call flashtool -p COM3 %IMAGE%
goto :eof
:missing
echo "no image"
