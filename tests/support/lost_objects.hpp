// Objects that are lost on purpose: what an unarchiver was making when it raised, on the device as
// here. No other allocation may be hidden so.
#pragma once

#if __has_feature(address_sanitizer)
#include <sanitizer/lsan_interface.h>
#endif

namespace veltro::test {

/// While one lives, the leak checker leaves out what this thread allocates. Builds without that
/// checker have nothing to do, and are not to take it for an unused variable.
class [[maybe_unused]] LosingObjects {
public:
#if __has_feature(address_sanitizer)
  LosingObjects() { __lsan_disable(); }
  ~LosingObjects() { __lsan_enable(); }
#else
  LosingObjects() = default;
#endif
  LosingObjects(const LosingObjects &) = delete;
  LosingObjects &operator=(const LosingObjects &) = delete;
};

} // namespace veltro::test
