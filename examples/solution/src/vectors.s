    .section .vectors
    .word 0x20004000
    .word reset_handler
