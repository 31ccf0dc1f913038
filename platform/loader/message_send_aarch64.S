/* As message_send_x86_64.S, for 64-bit ARM: x8 says where a structure is returned. */

#if defined(__aarch64__)
        .text

        .macro FUNCTION name
        .globl \name
        .hidden \name
        .type \name, %function
        .p2align 4
\name:
        .cfi_startproc
        .endm

        .macro END name
        .cfi_endproc
        .size \name, . - \name
        .endm

        .macro SAVE
        stp x29, x30, [sp, #-224]!
        .cfi_def_cfa_offset 224
        .cfi_offset x29, -224
        .cfi_offset x30, -216
        mov x29, sp
        stp x0, x1, [sp, #16]
        stp x2, x3, [sp, #32]
        stp x4, x5, [sp, #48]
        stp x6, x7, [sp, #64]
        str x8, [sp, #80]
        stp q0, q1, [sp, #96]
        stp q2, q3, [sp, #128]
        stp q4, q5, [sp, #160]
        stp q6, q7, [sp, #192]
        .endm

        .macro RESTORE_AND_JUMP
        mov x17, x0
        ldp x0, x1, [sp, #16]
        ldp x2, x3, [sp, #32]
        ldp x4, x5, [sp, #48]
        ldp x6, x7, [sp, #64]
        ldr x8, [sp, #80]
        ldp q0, q1, [sp, #96]
        ldp q2, q3, [sp, #128]
        ldp q4, q5, [sp, #160]
        ldp q6, q7, [sp, #192]
        ldp x29, x30, [sp], #224
        .cfi_def_cfa_offset 0
        .cfi_restore x29
        .cfi_restore x30
        br x17
        .endm

/* (id self, SEL selector, ...) */
FUNCTION veltro_loader_send
        cbz x0, 1f
        .cfi_remember_state
        SAVE
        bl objc_msg_lookup
        RESTORE_AND_JUMP
1:      .cfi_restore_state
        mov x1, #0
        movi d0, #0
        movi d1, #0
        movi d2, #0
        movi d3, #0
        ret
END veltro_loader_send

/* (struct { id receiver; Class sender; } *super, SEL selector, ...) */
FUNCTION veltro_loader_send_super
        SAVE
        bl veltro_loader_super_lookup
        ldr x16, [sp, #16]
        ldr x16, [x16]
        str x16, [sp, #16]
        RESTORE_AND_JUMP
END veltro_loader_send_super
#endif

        .section .note.GNU-stack,"",%progbits
