// A look at a property list before Foundation parses it. GNUstep trusts its input: references that
// form a ring or fan out without end, nesting deeper than the stack and lengths beyond the data end
// the process. They are found here, on the plain bytes.
#pragma once

#include <algorithm>
#include <string_view>

namespace veltro::host {

/// Whether Foundation can be given the bytes: a well-formed binary property list ("bplist00"), or
/// text in UTF-8, XML or the old format, which need not be well-formed. Nothing nests deeper than
/// 512 levels. In a binary list an object counts as often as it is referred to: no more objects
/// than the list has bytes, which no writer exceeds, and no more than 256 MiB of strings and data.
bool is_harmless_property_list(std::string_view list);

/// `text` without the white space and byte order mark that may stand before a list in XML.
constexpr std::string_view from_first_character(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(" \t\r\n\xEF\xBB\xBF"), text.size()));
}

} // namespace veltro::host
