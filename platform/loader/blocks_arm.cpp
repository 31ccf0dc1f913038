// Blocks of an image that come as arguments of its calls: Linux's code enters them by way of
// message_send_arm.S. Their layout is that of clang's description of blocks (Block-ABI-Apple).

#include "word_lists_arm.hpp"

#ifdef __arm__

#include "crossings_arm.hpp"
#include "message_send.hpp"

#include <dlfcn.h>
#include <pthread.h>

namespace veltro::loader {
namespace {

constexpr int kHasCopyDispose = 1 << 25, kReturnsStructure = 1 << 29, kHasSignature = 1 << 30;
constexpr unsigned kArguments = 8; // words that are looked at

struct Block {
  const void *isa;
  int flags;
  void *code; // of the image, once it is entered by way of `invoke`; else not used by anyone
  void *invoke;
  const uintptr_t *descriptor;
};

uintptr_t stack_end() {
  thread_local uintptr_t end = 0;
  if (end == 0) {
    pthread_attr_t attributes;
    void *start = nullptr;
    size_t size = 0;
    if (pthread_getattr_np(pthread_self(), &attributes) != 0)
      return 0;
    (void)pthread_attr_getstack(&attributes, &start, &size);
    (void)pthread_attr_destroy(&attributes);
    end = reinterpret_cast<uintptr_t>(start) + size;
  }
  return end;
}

} // namespace

extern "C" {

/// Finds blocks by what they begin with, which only they do; they are on the stack of the caller,
/// since nobody has copied them yet.
void veltro_loader_take_blocks(const uintptr_t *words) {
  static const void *const stack_block = dlsym(RTLD_DEFAULT, "_NSConcreteStackBlock");
  const auto stack = reinterpret_cast<uintptr_t>(words);
  for (unsigned i = 0; i < kArguments; ++i) {
    const uintptr_t word = words[i];
    if (word < stack || word % sizeof word != 0 || word > stack_end() - sizeof(Block))
      continue;
    auto *const block = reinterpret_cast<Block *>(word);
    if (!stack_block || block->isa != stack_block || !is_image_code(block->invoke))
      continue;
    block->code = block->invoke;
    block->invoke = reinterpret_cast<void *>(block->flags & kReturnsStructure
                                                 ? veltro_loader_enter_block_structure
                                                 : veltro_loader_enter_block);
  }
}

/// How the arguments of a block are arranged.
[[gnu::visibility("hidden")]] const objc::WordList *veltro_loader_block_words(const Block *block) {
  if (!(block->flags & kHasSignature))
    return objc::words_into_image({});
  // Behind the size, and the functions that copy and dispose of what it captures.
  const uintptr_t signature = block->descriptor[block->flags & kHasCopyDispose ? 4 : 2];
  return objc::words_into_image(signature ? reinterpret_cast<const char *>(signature) : "");
}
}

} // namespace veltro::loader

#endif
