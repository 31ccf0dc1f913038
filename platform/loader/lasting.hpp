#pragma once

#include <cstring>
#include <string>
extern "C" {
#include <objc/runtime.h>
}

namespace veltro::loader::objc {

/// A text that the runtime keeps a pointer to for good.
inline char *lasting(const std::string &text) {
  void *const copy = objc_malloc(text.size() + 1);
  return static_cast<char *>(std::memcpy(copy, text.c_str(), text.size() + 1));
}

} // namespace veltro::loader::objc
