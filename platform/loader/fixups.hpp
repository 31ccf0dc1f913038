#pragma once

#include "header.hpp"

namespace veltro::loader {

/// A pointer of the image that gets the address of what `symbol` names.
struct Bind {
  uint64_t address = 0;
  int64_t addend = 0;
  uint32_t symbol = 0; // of Fixups::symbols
};

struct Import {
  std::string_view name; // as Mach-O spells it
  bool weak = false;     // may be missing: its pointers are null then
};

/// The image's pointers that depend on where it and others lie. All lie in writable segments'
/// contents.
struct Fixups {
  std::vector<uint64_t> rebases; // addresses of pointers into the image, ascending
  std::vector<Bind> binds;       // by address, ascending
  std::vector<Import> symbols;
};

/// Reads the opcodes of LC_DYLD_INFO. Weak definitions are not looked for in other images: the
/// opcodes that say where that would be done stay unread.
Fixups read_fixups(const Header &header);

} // namespace veltro::loader
