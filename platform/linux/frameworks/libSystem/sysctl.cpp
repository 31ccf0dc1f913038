// sysctl and sysctlbyname: the process table (CTL_KERN, KERN_PROC, KERN_PROC_ALL) and "hw.machine".
// Follows the device's sysctl(3) manual page, also in what is left in the size after ENOMEM: the
// bytes copied. A record holds the process id and the short command name, and zeros elsewhere. All
// other variables are left out, and so is writing.

#include <sys/sysctl.h>

#include "machine/device/machine.hpp"
#include "machine/processes/process_records.hpp"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <string_view>

namespace {

int fail(int error) {
  errno = error;
  return -1;
}

/// Copies what fits of `length` bytes and leaves the number copied.
int give(const void *bytes, std::size_t length, void *buffer, std::size_t *size) {
  if (size == nullptr)
    return buffer == nullptr ? 0 : fail(EFAULT);
  if (buffer == nullptr) {
    *size = length;
    return 0;
  }
  const std::size_t fitting = std::min(length, *size);
  std::memcpy(buffer, bytes, fitting);
  *size = fitting;
  return fitting == length ? 0 : fail(ENOMEM);
}

int process_table(void *buffer, std::size_t *size) {
  if (size == nullptr)
    return buffer == nullptr ? 0 : fail(EFAULT);
  if (buffer == nullptr) {
    *size = veltro::host::process_record_bound() * sizeof(kinfo_proc);
    return 0;
  }
  std::size_t count = 0;
  const int error = veltro::host::read_process_records(
      {static_cast<kinfo_proc *>(buffer), *size / sizeof(kinfo_proc)}, count);
  *size = count * sizeof(kinfo_proc);
  return error == 0 ? 0 : fail(error);
}

} // namespace

extern "C" {

int sysctl(int *name, unsigned int namelen, void *oldp, size_t *oldlenp, void *newp,
           size_t /*newlen*/) {
  if (name == nullptr)
    return fail(EFAULT);
  // The fourth number says nothing where all processes are asked for, and may be missing.
  if (namelen < 3 || namelen > 4 || name[0] != CTL_KERN || name[1] != KERN_PROC ||
      name[2] != KERN_PROC_ALL)
    return fail(ENOENT);
  if (newp != nullptr)
    return fail(EPERM);
  return process_table(oldp, oldlenp);
}

int sysctlbyname(const char *name, void *oldp, size_t *oldlenp, void *newp, size_t /*newlen*/) {
  if (name == nullptr)
    return fail(EFAULT);
  if (std::string_view(name) != "hw.machine")
    return fail(ENOENT);
  if (newp != nullptr)
    return fail(EPERM);
  const std::string model = veltro::host::machine_model();
  return give(model.c_str(), model.size() + 1, oldp, oldlenp);
}

} // extern "C"
