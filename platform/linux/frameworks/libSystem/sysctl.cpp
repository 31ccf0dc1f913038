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

/// What there is to do where no buffer is given: a size to tell, or nothing.
int tell(std::size_t length, const void *buffer, std::size_t *size) {
  if (size == nullptr)
    return buffer == nullptr ? 0 : fail(EFAULT);
  *size = length;
  return 0;
}

int process_table(void *buffer, std::size_t *size) {
  if (size == nullptr || buffer == nullptr)
    return tell(veltro::host::process_record_bound() * sizeof(kinfo_proc), buffer, size);
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
  const std::size_t length = model.size() + 1;
  if (oldlenp == nullptr || oldp == nullptr)
    return tell(length, oldp, oldlenp);
  // What fits is copied all the same.
  *oldlenp = std::min(length, *oldlenp);
  std::memcpy(oldp, model.c_str(), *oldlenp);
  return *oldlenp == length ? 0 : fail(ENOMEM);
}

} // extern "C"
