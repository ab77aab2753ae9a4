; AVR with 16-bit addresses of data. The text is in the flash; the counter, at the start of the RAM,
; is a word of four bytes, and its inverse stands behind it.
    .text
    .globl _start
_start:
    rjmp    begin
    .balign 16
    .ascii  "DEMO FIRMWARE   AVR LIVE        "
begin:
    clr     r16
    clr     r17
    clr     r18
    clr     r19
    ldi     r21, 1
    clr     r22
count:
    add     r16, r21
    adc     r17, r22
    adc     r18, r22
    adc     r19, r22
    sts     0x220, r16
    sts     0x221, r17
    sts     0x222, r18
    sts     0x223, r19
    mov     r20, r16
    com     r20
    sts     0x224, r20
    rjmp    count
