#include "memory.hpp"

#include <cerrno>
#include <sys/mman.h>
#include <unistd.h>

namespace veltro::loader {
namespace {

uint64_t page_size() {
  return uint64_t(sysconf(_SC_PAGESIZE));
}

[[noreturn]] void failed(const std::string &what) {
  throw Unloadable(what + ": " + std::strerror(errno));
}

} // namespace

Memory::Memory(const Image &image)
    : start_(image.header().start), size_(size_t(image.header().end - image.header().start)) {
  for (const Segment &segment : image.header().segments)
    if (segment.size > 0 && segment.address % page_size() != 0)
      throw Unloadable("begins within a page: segment " + std::string(segment.name));
  void *const mapped =
      mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapped == MAP_FAILED)
    failed("cannot be mapped");
  bytes_ = static_cast<uint8_t *>(mapped);
  for (const Segment &segment : image.header().segments) {
    const Bytes contents =
        image.slice().part(segment.file_offset, segment.file_size, "a segment's contents");
    if (contents.size() > 0)
      std::memcpy(at(segment.address), contents.data(), contents.size());
  }
  __builtin___clear_cache(reinterpret_cast<char *>(bytes_),
                          reinterpret_cast<char *>(bytes_ + size_));
  try {
    for (const Segment &segment : image.header().segments)
      protect(segment, segment.writable);
  } catch (...) {
    munmap(bytes_, size_);
    throw;
  }
}

Memory::~Memory() {
  if (!kept_)
    munmap(bytes_, size_);
}

void Memory::protect(const Segment &segment, bool writable) const {
  if (segment.size == 0)
    return;
  const int protection = (segment.readable ? PROT_READ : 0) |
                         (writable ? PROT_READ | PROT_WRITE : 0) |
                         (segment.executable ? PROT_READ | PROT_EXEC : 0);
  const uint64_t whole_pages = (segment.size + page_size() - 1) / page_size() * page_size();
  if (mprotect(at(segment.address), size_t(whole_pages), protection) != 0)
    failed("cannot be protected");
}

void Memory::rebase(const std::vector<uint64_t> &rebases) const {
  const auto slide = reinterpret_cast<uintptr_t>(bytes_) - uintptr_t(start_);
  for (const uint64_t address : rebases)
    put(address, get<uintptr_t>(address) + slide);
}

void Memory::protect_constants(const Header &header) const {
  for (const Segment &segment : header.segments)
    if (segment.writable && segment.constant)
      protect(segment, false);
}

} // namespace veltro::loader
