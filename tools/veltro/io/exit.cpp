#include "exit.hpp"

#include <algorithm>
#include <iostream>
#include <string>

namespace veltro::tool {
namespace {

int complain(int status, std::string_view text) {
  std::string line(text);
  std::ranges::replace(line, '\n', ' ');
  std::cerr << "veltro: " << line << '\n';
  return status;
}

} // namespace

int failure(std::string_view text) {
  return complain(1, text);
}

int usage_error(std::string_view text) {
  return complain(2, text);
}

} // namespace veltro::tool
