/* Variadic calls of Mach-O code for 64-bit ARM: what stands for "..." is on the stack, in slots of eight
   bytes. Each entry continues with where that is as one more argument. */

#if defined(__aarch64__)
        .text

        .macro VARIADIC name, next
        .globl \name
        .hidden \name
        .type \name, %function
        .p2align 4
\name:
        .cfi_startproc
        mov \next, sp
        b \name\()_slots
        .cfi_endproc
        .size \name, . - \name
        .endm

        VARIADIC veltro_loader_NSLog, x1
        VARIADIC veltro_loader_stringWithFormat, x3
        VARIADIC veltro_loader_initWithFormat, x3
        VARIADIC veltro_loader_stringByAppendingFormat, x3
        VARIADIC veltro_loader_appendFormat, x3
        VARIADIC veltro_loader_raise_format, x4
        VARIADIC veltro_loader_arrayWithObjects, x3
        VARIADIC veltro_loader_dictionaryWithObjectsAndKeys, x3
#endif

        .section .note.GNU-stack,"",%progbits
