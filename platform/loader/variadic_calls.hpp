#pragma once

#include "objc_metadata.hpp"

extern "C" {
#include <objc/runtime.h>
}

namespace veltro::loader::objc {

// Darwin's code for 64-bit ARM passes on the stack what stands for "..." of a variadic function or
// method, where Linux uses registers first. Such calls of an image go to code of this loader's that
// reads them there. For other processors nothing is changed, and everything is taken.

/// Throws Unloadable for an image that calls a variadic function or method that is known and has no
/// such code.
void check_variadic_calls(const std::vector<Import> &imports, const Metadata &metadata);

/// The selector that an image sends for one of that name.
SEL selector_to_send(const char *name);

/// What an image calls for a function of Mach-O's name; null for what is called by its own name.
void *variadic_function(std::string_view name);

} // namespace veltro::loader::objc
