#pragma once

#include "header.hpp"

namespace veltro::loader {

/// Calls between Linux's code and that of images for 32-bit ARM, whose conventions differ
/// (message_send_arm.S): places that either side calls in place of the other's code. They stay for
/// good.
class Crossings {
public:
  /// For up to `most` places. Throws Unloadable where there is no memory.
  explicit Crossings(size_t most);

  /// What this process calls for the image's `code`, a method or function of those types; without
  /// types, it takes no value of 64 bits, or only where both sides expect it.
  void *into_image(void *code, std::string_view types = {});

  /// What an image calls for `function`; itself where it is data, or meant for images.
  void *out_of_image(void *function);

  /// To be called before the first of them is used.
  void finish();

private:
  void *add(void *code, const void *words, void (*way)());

  size_t size_; // bytes
  uint32_t *start_ = nullptr, *next_ = nullptr;
};

/// Tells of code of an image, from `start` to before `end`, which exceptions then pass through.
void add_image_code(const void *start, const void *end);
bool is_image_code(const void *address);

} // namespace veltro::loader
