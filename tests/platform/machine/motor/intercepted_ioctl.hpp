// For one file of a test program: what its process asks of devices goes through `handle_ioctl`.
#pragma once

#include <cstdarg>
#include <dlfcn.h>
#include <sys/ioctl.h>

namespace veltro::test {

/// Whether requests of this type (see _IOC_TYPE) are handled here; the kernel handles the others.
bool handles_ioctls(unsigned type);

/// What ioctl returns, and sets errno to.
int handle_ioctl(unsigned long request, void *argument);

} // namespace veltro::test

extern "C" int ioctl(int descriptor, unsigned long request, ...) noexcept {
  va_list arguments;
  va_start(arguments, request);
  void *const argument = va_arg(arguments, void *);
  va_end(arguments);
  if (veltro::test::handles_ioctls(_IOC_TYPE(request)))
    return veltro::test::handle_ioctl(request, argument);
  using Ioctl = int (*)(int, unsigned long, void *);
  return reinterpret_cast<Ioctl>(dlsym(RTLD_NEXT, "ioctl"))(descriptor, request, argument);
}
