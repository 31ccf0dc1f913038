// Exceptions of Linux's unwinder, for 32-bit ARM (its "Exception Handling ABI"), that pass through
// frames of an image. Such a frame has no tables that say where it keeps registers. It need not:
// all that Linux's code counts on is kept by what entered the image (message_send_arm.S), and a
// function that cleans up keeps the rest itself. What is left is the way out, by the frame pointers
// that Darwin's code always has in r7.

#include "setjmp_frames_arm.hpp"

#ifdef __arm__

#include "VeltroLoader/VeltroLoader.h"
#include "bytes.hpp"
#include "crossings_arm.hpp"

#include <cerrno>
#include <cstdlib>
#include <dlfcn.h>
#include <mutex>
#include <shared_mutex>
#include <sys/mman.h>
#include <unwind.h>
#include <vector>

namespace veltro::loader {
namespace {

enum Register : uint32_t { kFramePointer = 7, kStackPointer = 13, kProgramCounter = 15 };

uint32_t get(_Unwind_Context *context, Register number) {
  uint32_t value = 0;
  _Unwind_VRS_Get(context, _UVRSC_CORE, number, _UVRSD_UINT32, &value);
  return value;
}

void set(_Unwind_Context *context, Register number, uint32_t value) {
  _Unwind_VRS_Set(context, _UVRSC_CORE, number, _UVRSD_UINT32, &value);
}

thread_local VeltroLoaderFrame *innermost = nullptr;

/// To the frame's caller: a frame pointer points to that of the caller, behind which it returns to.
void leave_frame(_Unwind_Context *context) {
  const uint32_t at = get(context, kFramePointer);
  const auto *const kept = reinterpret_cast<const uint32_t *>(uintptr_t(at));
  set(context, kStackPointer, at + 8);
  set(context, kProgramCounter, kept[1]);
  set(context, kFramePointer, kept[0]);
}

/// Where the function continues to clean up for the call it is making, counted from 0 on; -1 if it
/// need not.
int32_t landing_pad(const VeltroLoaderFrame &frame) {
  if (frame.call_site <= 0)
    return -1;
  // The table is the compiler's, as the code is, and ends before that.
  Cursor at(Bytes({frame.language_data, size_t(1) << 20}, "an exception table"));
  constexpr uint8_t kNone = 0xff;
  if (at.byte() != kNone)
    std::abort(); // landing pads are counted from 0 here
  if (at.byte() != kNone)
    (void)at.uleb(); // the types that handlers catch
  (void)at.byte();
  (void)at.uleb();
  for (int32_t left = frame.call_site;; --left) {
    const auto pad = int32_t(at.uleb());
    (void)at.uleb(); // what handlers are asked
    if (left == 1)
      return pad;
  }
}

/// What the unwinder asks of each frame of an image.
_Unwind_Reason_Code pass(_Unwind_State state, _Unwind_Control_Block *exception,
                         _Unwind_Context *context) {
  switch (state & _US_ACTION_MASK) {
  case _US_VIRTUAL_UNWIND_FRAME: // looks for a handler, of which images have none
    leave_frame(context);
    return _URC_CONTINUE_UNWIND;
  case _US_UNWIND_FRAME_RESUME: // where the innermost one has cleaned up
    set(context, kFramePointer, innermost->frame_pointer);
    innermost = innermost->outer;
    leave_frame(context);
    return _URC_CONTINUE_UNWIND;
  default:
    break;
  }
  VeltroLoaderFrame *const frame = innermost;
  if (frame && frame->frame_pointer == get(context, kFramePointer)) {
    if (const int32_t pad = landing_pad(*frame); pad >= 0) {
      frame->call_site = pad;
      frame->data[0] = uint32_t(reinterpret_cast<uintptr_t>(exception));
      frame->data[1] = 0;
      set(context, kFramePointer, frame->frame_pointer);
      set(context, kStackPointer, frame->stack_pointer);
      set(context, kProgramCounter, frame->resume);
      return _URC_INSTALL_CONTEXT;
    }
    innermost = frame->outer;
  }
  leave_frame(context);
  return _URC_CONTINUE_UNWIND;
}

/// One entry of the table that the unwinder looks up a return address in: all code from `start` on
/// is `pass`'s. Offsets are from where they stand, in 31 bits.
struct Table {
  uint32_t start, details;
  uint32_t personality;
};

struct Known {
  const void *start, *end;
  const Table *table;
};

struct AllKnown {
  std::shared_mutex mutex;
  std::vector<Known> images;
};

AllKnown &all_known() {
  static auto *const all = new AllKnown;
  return *all;
}

uint32_t offset_to(const void *to, const uint32_t *from) {
  return uint32_t(reinterpret_cast<uintptr_t>(to) - reinterpret_cast<uintptr_t>(from)) & 0x7fffffff;
}

} // namespace

bool is_image_code(const void *address) {
  const std::shared_lock lock(all_known().mutex);
  for (const Known &image : all_known().images)
    if (address >= image.start && address < image.end)
      return true;
  return false;
}

void add_image_code(const void *start, const void *end) {
  // Among the shared objects and images, so that the offsets reach.
  void *const mapped =
      mmap(nullptr, sizeof(Table), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapped == MAP_FAILED)
    throw Unloadable(std::string("cannot be unwound: ") + std::strerror(errno));
  auto *const table = static_cast<Table *>(mapped);
  table->start = offset_to(start, &table->start);
  table->details = offset_to(&table->personality, &table->details);
  table->personality = offset_to(reinterpret_cast<const void *>(&pass), &table->personality);
  const std::unique_lock lock(all_known().mutex);
  all_known().images.push_back({start, end, table});
}

} // namespace veltro::loader

void veltro_loader_register_frame(VeltroLoaderFrame *frame) {
  frame->outer = veltro::loader::innermost;
  veltro::loader::innermost = frame;
}

void veltro_loader_unregister_frame(VeltroLoaderFrame *frame) {
  veltro::loader::innermost = frame->outer;
}

void veltro_loader_resume_unwinding(void *exception) {
  _Unwind_Resume(static_cast<_Unwind_Exception *>(exception));
  std::abort(); // it does not return
}

const void *VLImageFindUnwindTable(const void *address, int *count) {
  using namespace veltro::loader;
  {
    const std::shared_lock lock(all_known().mutex);
    for (const Known &image : all_known().images)
      if (address >= image.start && address < image.end) {
        *count = 1;
        return image.table;
      }
  }
  using Find = const void *(const void *, int *);
  static auto *const others = reinterpret_cast<Find *>(
      dlsym(dlopen("libc.so.6", RTLD_LAZY | RTLD_NOLOAD), "__gnu_Unwind_Find_exidx"));
  return others(address, count);
}

/// In place of the C library's, for programs that have this library before it.
extern "C" const void *__gnu_Unwind_Find_exidx(const void *address, int *count) {
  return VLImageFindUnwindTable(address, count);
}

#endif
