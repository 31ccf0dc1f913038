#pragma once

#include <cstdint>
#include <string_view>

namespace veltro::loader::objc {

/// A list of words as message_send_arm.S reads it.
struct WordList {
  uint32_t count;
  uint8_t from[1]; // so many
};

/// The list for calls of a method or block of those types, which stays for good; where there are
/// none, or they cannot be read, word for word.
const WordList *words_into_image(std::string_view types);
const WordList *words_out_of_image(std::string_view types);

} // namespace veltro::loader::objc

extern "C" {

/// Has the blocks of images among the words of a call, which are on the stack, entered as their
/// methods are.
__attribute__((visibility("hidden"))) void veltro_loader_take_blocks(const uintptr_t *words);
}
