#include "types.hpp"

#include <algorithm>

namespace veltro::loader::objc {

std::string types_for_gcc(std::string_view types) {
  std::string made(types);
  bool named = false; // within the name of a structure or union
  for (auto at = made.begin(); at != made.end(); ++at) {
    if (*at == '"') {
      at = std::find(at + 1, made.end(), '"');
      if (at == made.end())
        break;
    } else if (*at == '{' || *at == '(') {
      named = true;
    } else if (*at == '=' || *at == '}' || *at == ')') {
      named = false;
    } else if (*at == 'B' && !named) {
      *at = 'C';
    }
  }
  return made;
}

} // namespace veltro::loader::objc
