// A look at a binary property list before Foundation parses it. Foundation trusts its input more
// than a server may: references that form a ring or fan out without end, nesting deeper than the
// stack and lengths beyond the data are found here, on the plain bytes.
#pragma once

#include <cstddef>
#include <span>

namespace veltro::messenger {

/// Whether the bytes are a well-formed binary property list ("bplist00") that stays small when it
/// is parsed: at most 4,096 objects nested at most 16 deep, an object counting as often as it is
/// referred to, and at most 4 MiB of strings and data.
bool is_harmless_property_list(std::span<const std::byte> bytes);

} // namespace veltro::messenger
