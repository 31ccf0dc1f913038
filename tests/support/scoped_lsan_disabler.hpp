// For what leaks on purpose: what Foundation was making when it raised, on the device as
// here. No other allocation may be hidden so.
#pragma once

#if __has_feature(address_sanitizer)
#include <sanitizer/lsan_interface.h>
#endif

namespace veltro::test {

/// While one lives, the leak checker leaves out what this thread allocates. Builds without that
/// checker have nothing to do, and are not to take it for an unused variable.
class [[maybe_unused]] ScopedLsanDisabler {
public:
#if __has_feature(address_sanitizer)
  ScopedLsanDisabler() { __lsan_disable(); }
  ~ScopedLsanDisabler() { __lsan_enable(); }
#else
  ScopedLsanDisabler() = default;
#endif
  ScopedLsanDisabler(const ScopedLsanDisabler &) = delete;
  ScopedLsanDisabler &operator=(const ScopedLsanDisabler &) = delete;
};

} // namespace veltro::test
