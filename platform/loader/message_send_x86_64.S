/* Messages of Mach-O code, sent over GCC's runtime, for x86-64. The method is looked up with every
   register that may carry an argument kept: %al counts a variadic method's vectors. A message to
   nil returns zero in every register that carries a result, and leaves a structure in memory as it was. */

#if defined(__x86_64__)
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
        pushq %rbp
        .cfi_def_cfa_offset 16
        .cfi_offset %rbp, -16
        movq %rsp, %rbp
        .cfi_def_cfa_register %rbp
        subq $192, %rsp
        movaps %xmm0, 0(%rsp)
        movaps %xmm1, 16(%rsp)
        movaps %xmm2, 32(%rsp)
        movaps %xmm3, 48(%rsp)
        movaps %xmm4, 64(%rsp)
        movaps %xmm5, 80(%rsp)
        movaps %xmm6, 96(%rsp)
        movaps %xmm7, 112(%rsp)
        movq %rdi, 128(%rsp)
        movq %rsi, 136(%rsp)
        movq %rdx, 144(%rsp)
        movq %rcx, 152(%rsp)
        movq %r8, 160(%rsp)
        movq %r9, 168(%rsp)
        movq %rax, 176(%rsp)
        .endm

        .macro RESTORE_AND_JUMP
        movq %rax, %r11
        movaps 0(%rsp), %xmm0
        movaps 16(%rsp), %xmm1
        movaps 32(%rsp), %xmm2
        movaps 48(%rsp), %xmm3
        movaps 64(%rsp), %xmm4
        movaps 80(%rsp), %xmm5
        movaps 96(%rsp), %xmm6
        movaps 112(%rsp), %xmm7
        movq 128(%rsp), %rdi
        movq 136(%rsp), %rsi
        movq 144(%rsp), %rdx
        movq 152(%rsp), %rcx
        movq 160(%rsp), %r8
        movq 168(%rsp), %r9
        movq 176(%rsp), %rax
        leave
        .cfi_def_cfa %rsp, 8
        .cfi_restore %rbp
        jmp *%r11
        .endm

/* (id self, SEL selector, ...) */
FUNCTION veltro_loader_send
        testq %rdi, %rdi
        je 1f
        .cfi_remember_state
        SAVE
        call objc_msg_lookup@PLT
        RESTORE_AND_JUMP
1:      .cfi_restore_state
        xorl %eax, %eax
        xorl %edx, %edx
        xorps %xmm0, %xmm0
        xorps %xmm1, %xmm1
        ret
END veltro_loader_send

/* (id self, SEL selector, ...), with a long double for a result */
FUNCTION veltro_loader_send_long_double
        testq %rdi, %rdi
        je 1f
        .cfi_remember_state
        SAVE
        call objc_msg_lookup@PLT
        RESTORE_AND_JUMP
1:      .cfi_restore_state
        fldz
        ret
END veltro_loader_send_long_double

/* (void *result, id self, SEL selector, ...) */
FUNCTION veltro_loader_send_structure
        testq %rsi, %rsi
        je 1f
        .cfi_remember_state
        SAVE
        movq %rsi, %rdi
        movq %rdx, %rsi
        call objc_msg_lookup@PLT
        RESTORE_AND_JUMP
1:      .cfi_restore_state
        movq %rdi, %rax
        ret
END veltro_loader_send_structure

/* (struct { id receiver; Class sender; } *super, SEL selector, ...) */
FUNCTION veltro_loader_send_super
        SAVE
        call veltro_loader_super_lookup
        movq 128(%rsp), %rcx
        movq (%rcx), %rcx
        movq %rcx, 128(%rsp)
        RESTORE_AND_JUMP
END veltro_loader_send_super

/* (void *result, struct { id receiver; Class sender; } *super, SEL selector, ...) */
FUNCTION veltro_loader_send_super_structure
        SAVE
        movq %rsi, %rdi
        movq %rdx, %rsi
        call veltro_loader_super_lookup
        movq 136(%rsp), %rcx
        movq (%rcx), %rcx
        movq %rcx, 136(%rsp)
        RESTORE_AND_JUMP
END veltro_loader_send_super_structure
#endif

        .section .note.GNU-stack,"",%progbits
