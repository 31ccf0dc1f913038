/* As message_send_x86_64.S, for 32-bit ARM, where Darwin's code and Linux's agree on less: Darwin's aligns its stack
   to four bytes only, may change r9, and packs its arguments. Every call from one to the other goes by way of this file,
   which keeps r9, aligns the stack and arranges the arguments' words anew (argument_words.hpp).

   The unwinder has to find what is kept here without the help of the image's frames, which restore nothing but the
   stack pointer (setjmp_frames_arm.cpp): into an image, all is kept that a caller may count on, at places known from the
   stack pointer only. Out of it, the frame pointer tells them. */

#if defined(__arm__)
        .syntax unified
        .arm
        .text

        .macro FUNCTION name
        .globl \name
        .hidden \name
        .type \name, %function
        .p2align 2
\name:
        .fnstart
        .endm

        .macro END name
        .fnend
        .size \name, . - \name
        .endm

        /* Above what is pushed below: the words of the arguments, one behind the other. */
        .set KEPT, 9 * 4 + 8 * 8
        .set AREA, 4 * 128 /* for the words as they are called with; kMostWords and kUnknownWords */

        .macro KEEP
        push {r0-r3}
        .pad #16
        push {r4, r5, r6, r7, r8, r9, r10, fp, lr}
        .save {r4, r5, r6, r7, r8, r9, r10, fp, lr}
        vpush {d8-d15}
        .vsave {d8-d15}
        .endm

        .macro RESTORE
        vpop {d8-d15}
        pop {r4, r5, r6, r7, r8, r9, r10, fp, lr}
        add sp, sp, #16
        bx lr
        .endm

        /* Calls r4 with the words at r2, as the list at r5 says: their number, then for each a byte, which word it is. */
        .macro CALL
        ldr r3, [r5], #4
1:      subs r3, r3, #1
        ldrbpl r1, [r5, r3]
        ldrpl r0, [r2, r1, lsl #2]
        strpl r0, [sp, r3, lsl #2]
        bpl 1b
        pop {r0-r3}
        blx r4
        .endm

        .macro ENTER
        KEEP
        sub sp, sp, #AREA + 4
        .pad #AREA + 4 - 16 /* while the code runs, which the last four words are popped for */
        .endm

        .macro ENTERED
        add r2, sp, #AREA + 4 + KEPT
        CALL
        add sp, sp, #AREA + 4 - 16
        RESTORE
        .endm

/* Into an image: r12 points to the code and its list. */
FUNCTION veltro_loader_enter
        ENTER
        ldrd r4, r5, [r12]
        ENTERED
END veltro_loader_enter

/* Into a block of an image, which keeps its code in its third word, of no use otherwise. */
FUNCTION veltro_loader_enter_block
        ENTER
        ldr r4, [r0, #8]
        bl veltro_loader_block_words
        mov r5, r0
        ENTERED
END veltro_loader_enter_block

/* The same, where r0 says where a structure is returned. */
FUNCTION veltro_loader_enter_block_structure
        ENTER
        ldr r4, [r1, #8]
        mov r0, r1
        bl veltro_loader_block_words
        mov r5, r0
        ENTERED
END veltro_loader_enter_block_structure

        .macro LEAVE
        KEEP
        mov fp, sp
        .setfp fp, sp
        sub sp, sp, #AREA
        bic sp, sp, #7
        .endm

        .macro LEFT
        add r2, fp, #KEPT
        CALL
        mov sp, fp
        RESTORE
        .endm

/* Out of an image, into a function: r12 as above. */
FUNCTION veltro_loader_leave
        LEAVE
        ldrd r4, r5, [r12]
        add r0, fp, #KEPT
        bl veltro_loader_take_blocks
        LEFT
END veltro_loader_leave

        /* Sends the message whose receiver's word is the first or second one. */
        .macro SEND first, lookup
        LEAVE
        add r0, fp, #KEPT
        mov r1, #\first
        mov r2, sp
        bl \lookup
        ldrd r4, r5, [sp]
        LEFT
        .endm

/* (id self, SEL selector, ...) */
FUNCTION veltro_loader_send
        cmp r0, #0
        moveq r1, #0
        bxeq lr
        SEND 0, veltro_loader_find_method
END veltro_loader_send

/* (result, id self, SEL selector, ...) */
FUNCTION veltro_loader_send_structure
        cmp r1, #0
        bxeq lr
        SEND 1, veltro_loader_find_method
END veltro_loader_send_structure

/* (struct { id receiver; Class sender; } *super, SEL selector, ...) */
FUNCTION veltro_loader_send_super
        SEND 0, veltro_loader_find_super_method
END veltro_loader_send_super

FUNCTION veltro_loader_send_super_structure
        SEND 1, veltro_loader_find_super_method
END veltro_loader_send_super_structure
#endif

        .section .note.GNU-stack,"",%progbits
