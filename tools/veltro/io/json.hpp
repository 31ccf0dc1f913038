// JSON as the tool prints it under --json: one value a line, strings in UTF-8.
#pragma once

#include <string>
#include <string_view>

namespace veltro::tool {

/// `text` as a JSON string, quotes included.
std::string json_string(std::string_view text);

} // namespace veltro::tool
