#include "machine/root/loadable_object.hpp"

#include <cstring>
#include <elf.h>
#include <fstream>
#include <link.h>
#include <sys/stat.h>

namespace veltro::host {
namespace {

template <typename Record> bool read(std::istream &file, Record &record) {
  return static_cast<bool>(file.read(reinterpret_cast<char *>(&record), sizeof record));
}

/// Programs are shared objects to the letter, too; but only they name an interpreter.
bool is_loadable(std::istream &file) {
  ElfW(Ehdr) header{};
  if (!read(file, header) || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 ||
      header.e_type != ET_DYN)
    return false;
  file.seekg(static_cast<std::streamoff>(header.e_phoff));
  for (int left = header.e_phnum; left > 0; --left) {
    ElfW(Phdr) segment{};
    if (!read(file, segment) || segment.p_type == PT_INTERP)
      return false;
  }
  return true;
}

} // namespace

Executable kind_of_executable(const char *path) {
  struct stat status{};
  if (stat(path, &status) != 0 || !S_ISREG(status.st_mode))
    return Executable::missing;
  std::ifstream file(path, std::ios::binary);
  return is_loadable(file) ? Executable::loadable : Executable::program;
}

} // namespace veltro::host
