#include "picture_name.hpp"

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>

namespace veltro::tool {

bool names_another_format(const std::string &path) {
  constexpr std::array<std::string_view, 15> kOthers{".jpg",  ".jpeg", ".jpe",  ".jfif", ".gif",
                                                     ".bmp",  ".tif",  ".tiff", ".webp", ".heic",
                                                     ".heif", ".avif", ".ico",  ".svg",  ".pdf"};
  std::string ending = std::filesystem::path(path).extension().string();
  std::ranges::transform(ending, ending.begin(), [](char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
  });
  return std::ranges::find(kOthers, ending) != kOthers.end();
}

} // namespace veltro::tool
