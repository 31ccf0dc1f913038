#include "code_memory.hpp"

#include "unloadable.hpp"

#include <cerrno>
#include <cstring>
#include <string>
#include <sys/mman.h>

namespace veltro::loader {
namespace {

[[noreturn]] void failed() {
  throw Unloadable(std::string("cannot be entered: ") + std::strerror(errno));
}

} // namespace

void *map_code(size_t size) {
  void *const mapped =
      mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapped == MAP_FAILED)
    failed();
  return mapped;
}

void protect_code(void *mapped, size_t size) {
  auto *const start = static_cast<char *>(mapped);
  __builtin___clear_cache(start, start + size);
  if (mprotect(mapped, size, PROT_READ | PROT_EXEC) != 0)
    failed();
}

} // namespace veltro::loader
