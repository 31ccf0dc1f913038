#pragma once

extern "C" {

// What Mach-O code calls to send a message, over GCC's runtime. They take the message's own
// arguments, and so have no types here. message_send_PROCESSOR.S.
void veltro_loader_send();
void veltro_loader_send_super();
void veltro_loader_send_structure();       // the result in memory; not for 64-bit ARM
void veltro_loader_send_super_structure(); // as above
void veltro_loader_send_long_double();     // the result on the x87 stack

// Of 32-bit ARM, the ways from one side's code into the other's; message_send_arm.S.
void veltro_loader_enter();
void veltro_loader_enter_block();
void veltro_loader_enter_block_structure();
void veltro_loader_leave();
}
