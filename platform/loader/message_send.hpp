#pragma once

extern "C" {

// What Mach-O code calls to send a message, over GCC's runtime. They take the message's own
// arguments, and so have no types here. message_send_PROCESSOR.S.
void veltro_loader_send();
void veltro_loader_send_super();
#ifdef __x86_64__
void veltro_loader_send_structure();       // the result in memory
void veltro_loader_send_super_structure(); // as above
void veltro_loader_send_long_double();     // the result on the x87 stack
#endif
}
