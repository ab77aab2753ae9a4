# MIPS, 32 bits, big-endian.
    .set    noreorder
    .text
    .globl _start
_start:
    b       begin
    nop
    .balign 16
    .ascii  "DEMO FIRMWARE   "
live:
    .word   0                   # loops
    .word   0                   # the same, upper half word
    .word   0                   # inverted
    .word   0
    .ascii  "MIPS LIVE       "
begin:
    lui     $9, %hi(live)
    addiu   $9, $9, %lo(live)
    move    $8, $0
count:
    addiu   $8, $8, 1
    sw      $8, 0($9)
    srl     $10, $8, 16
    sw      $10, 4($9)
    nor     $10, $8, $0
    b       count
    sw      $10, 8($9)
