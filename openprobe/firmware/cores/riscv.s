# RISC-V, 32 or 64 bits: the hart with number 0 counts, any other one sleeps.
    .option norelax
    .text
    .globl _start
_start:
    j       begin
    .balign 16
    .ascii  "DEMO FIRMWARE   "
live:
    .word   0                   # loops
    .word   0                   # the same, upper half word
    .word   0                   # inverted
    .word   0
    .ascii  "RISC-V LIVE     "
begin:
    csrr    t0, mhartid
    bnez    t0, sleep
    la      t1, live
count:
    addi    t0, t0, 1
    sw      t0, 0(t1)
    srli    t2, t0, 16
    sh      t2, 4(t1)
    not     t2, t0
    sw      t2, 8(t1)
    j       count
sleep:
    wfi
    j       sleep
