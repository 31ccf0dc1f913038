#pragma once

#include "memory.hpp"
#include "objc_metadata.hpp"

namespace veltro::loader::objc {

/// The UTF-8 form of `length` units of UTF-16. Throws Unloadable for half a pair.
std::string utf8_of(Bytes units, uint64_t length);

/// Throws Unloadable for strings that have no form in this process.
void check_constant_strings(const Metadata &metadata, const Image &image);

/// Gives the image's constant strings the form of GNUstep's, in their place.
void register_constant_strings(const std::vector<ConstantString> &strings, const Memory &memory);

} // namespace veltro::loader::objc
