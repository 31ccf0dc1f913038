// What `veltro view` was asked for.
#pragma once

#include <string>
#include <vector>

namespace veltro::tool {

struct ViewOptions {
  std::string kind;
  std::string size;
  std::string release;
  std::string language;
  double at = 0;
  std::string title;
  std::string message;
  std::vector<std::string> buttons;
  // Where to: one of these.
  std::string out;
  std::string animation;
  bool window = false;
};

} // namespace veltro::tool
