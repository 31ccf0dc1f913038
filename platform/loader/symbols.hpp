#pragma once

#include "exports.hpp"

namespace veltro::loader {

/// The class that a Mach-O symbol stands for, or the class of it; empty where it stands for
/// neither.
struct ClassSymbol {
  std::string_view name;
  bool metaclass = false;
};
ClassSymbol class_symbol(std::string_view symbol);

/// Addresses for the image's imports, in their order; null for a weak one that is missing.
/// `find_loaded` looks in the images that were loaded before. Throws Unloadable for one that is
/// missing and not weak.
using FindLoaded = void *(*)(std::string_view name);
std::vector<void *> resolve_imports(const std::vector<Import> &imports, FindLoaded find_loaded);

/// What this loader defines itself for images, in place of Darwin's runtimes; null for other
/// symbols.
void *runtime_symbol(std::string_view name);

/// What the compiler of images has called for arithmetic; null for other symbols.
void *compiler_function(std::string_view name);

} // namespace veltro::loader
