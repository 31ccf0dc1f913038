#pragma once

#include <cstdint>

extern "C" {

/// What Darwin's code for 32-bit ARM keeps on its stack for as long as a function runs that has to
/// clean up when an exception passes: the compiler lays it out as for setjmp and longjmp.
struct VeltroLoaderFrame {
  VeltroLoaderFrame *outer; // written here
  int32_t call_site; // which call is being made, from 1 on; or what is to be cleaned up, from 0 on
  uint32_t data[4];  // the exception, and why the function continues
  void *personality;
  const uint8_t *language_data;
  uint32_t frame_pointer; // with these three it continues
  uint32_t resume;
  uint32_t stack_pointer;
};

// What such functions call: at their begin, at their end, and after they have cleaned up.
void veltro_loader_register_frame(VeltroLoaderFrame *frame);
void veltro_loader_unregister_frame(VeltroLoaderFrame *frame);
[[noreturn]] void veltro_loader_resume_unwinding(void *exception);
}
