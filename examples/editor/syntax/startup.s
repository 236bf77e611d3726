; Reset handler of the board
        .section .text
        .global reset
reset:  ldr r0, =_stack_top   @ stack
        mov sp, r0
        mov r1, $1F           ; mask
/* copy the data section */
copy:   ldr r2, [r1]
        b.ne copy
        .ascii "boot\n"
