\ Words a key binding or a macro could run in the shell: move the caret a word left and
\ select to the end of its line. In `tess forth` the editor words are not there.
: select-rest-of-line  EDIT-WORD-LEFT EDIT-LINE-END-EXTEND ;
: squares  6 1 DO I I * . LOOP ;
squares CR
S" the Forth console greets you" TYPE CR
DEBUGGING? .
