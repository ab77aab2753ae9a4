// Arm, 64 bits. Further cores stay powered off, as the machine starts them.
    .text
    .globl _start
_start:
    b       begin
    .balign 16
    .ascii  "DEMO FIRMWARE   "
live:
    .word   0                   // loops
    .word   0                   // the same, upper half word
    .word   0                   // inverted
    .word   0
    .ascii  "AARCH64 LIVE    "
begin:
    adr     x1, live
    mov     w0, wzr
count:
    add     w0, w0, #1
    str     w0, [x1]
    lsr     w2, w0, #16
    str     w2, [x1, #4]
    mvn     w2, w0
    str     w2, [x1, #8]
    b       count
