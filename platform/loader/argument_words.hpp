#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace veltro::loader::objc {

/// How the words of a call's arguments are arranged anew for the side that is called: its n-th word
/// comes from word `from[n]` of the caller's. The first four are in registers, the others on the
/// stack.
using Words = std::vector<uint8_t>;

/// Both directions of calls between Darwin's code for 32-bit ARM and Linux's.
struct ArgumentWords {
  Words to_image, from_image;
};

/// Words behind the last argument that is known of, for "..." .
constexpr unsigned kUnknownWords = 32;

/// Darwin lays one argument behind the other; Linux has those that are aligned to eight bytes begin
/// with a register or place of even number. Throws Unloadable for types that cannot be read, and
/// for values whose own form differs: structures by value within which something is aligned to
/// eight bytes behind a gap, and results of up to four bytes that only Linux returns in a register.
ArgumentWords argument_words(std::string_view method_types);

} // namespace veltro::loader::objc
