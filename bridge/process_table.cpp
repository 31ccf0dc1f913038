#include "bridge/process_table.hpp"

#include <errno.h>
#include <stdlib.h>

namespace veltro {
namespace {

// Never asks for 0 bytes, at which some allocators free the buffer and return null.
void *grown(void *buffer, std::size_t size) {
  return realloc(buffer, size != 0 ? size : 1);
}

} // namespace

ProcessTable::ProcessTable() {
  int name[] = {CTL_KERN, KERN_PROC, KERN_PROC_ALL, 0};
  std::size_t size = 0;
  sysctl(name, 4, nullptr, &size, nullptr, 0);

  void *buffer = nullptr;
  int result = 0;
  do {
    // A tenth of headroom for the processes that start between two calls; if they are more than
    // that, however often, the size that the kernel leaves is where the next attempt starts.
    size += size / 10;
    void *const larger = grown(buffer, size);
    if (larger == nullptr) {
      free(buffer);
      return;
    }
    buffer = larger;
    result = sysctl(name, 4, buffer, &size, nullptr, 0);
  } while (result == -1 && errno == ENOMEM);

  if (result != 0 || size == 0 || size % sizeof(kinfo_proc) != 0) {
    free(buffer);
    return;
  }
  records_ = static_cast<kinfo_proc *>(buffer);
  count_ = size / sizeof(kinfo_proc);
}

ProcessTable::~ProcessTable() {
  free(records_);
}

} // namespace veltro
