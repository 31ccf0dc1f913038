// What a mistyped word may have been meant to be.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace veltro::tool {

/// The one of `words` that the fewest letters added, left out, changed or exchanged with their
/// neighbour make of `word`, in any case; an empty text where even that is more than half of them.
std::string nearest(std::string_view word, const std::vector<std::string> &words);

} // namespace veltro::tool
