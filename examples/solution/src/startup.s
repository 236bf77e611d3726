    .section .text.reset
    .global reset_handler
reset_handler:
    bl main
    b .
