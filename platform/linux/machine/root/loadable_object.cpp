#include "machine/root/loadable_object.hpp"

#include <cstring>
#include <elf.h>
#include <fstream>
#include <link.h>

namespace veltro::host {
namespace {

template <typename Record> bool read(std::istream &file, Record &record) {
  return static_cast<bool>(file.read(reinterpret_cast<char *>(&record), sizeof record));
}

} // namespace

bool is_loadable_object(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  ElfW(Ehdr) header{};
  if (!read(file, header) || std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 ||
      header.e_type != ET_DYN)
    return false;
  // Programs are shared objects to the letter, too; but only they name an interpreter.
  file.seekg(static_cast<std::streamoff>(header.e_phoff));
  for (int left = header.e_phnum; left > 0; --left) {
    ElfW(Phdr) segment{};
    if (!read(file, segment) || segment.p_type == PT_INTERP)
      return false;
  }
  return true;
}

} // namespace veltro::host
