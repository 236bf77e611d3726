; full line comment
start:  mov r0, R1   ; trailing comment
        ldr pc, [sp, #4]
        add r2, r2, 0x1F @ arm style
        .section .text
        .word $1F, 42, 0b101
        b.ne start
label2: # hash comment after a blank
        mov r0,#1
/* block
   comment */ nop
        .ascii "str\"ing"
        { } { 
        foo: bar
