#include "json.hpp"

#include <array>
#include <cstdio>

namespace veltro::tool {

std::string json_string(std::string_view text) {
  std::string out = "\"";
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (character == '"' || character == '\\')
      (out += '\\') += character;
    else if (byte < 0x20) {
      std::array<char, 7> escape{};
      std::snprintf(escape.data(), escape.size(), "\\u%04x", static_cast<unsigned>(byte));
      out += escape.data();
    } else
      out += character;
  }
  return out += '"';
}

} // namespace veltro::tool
