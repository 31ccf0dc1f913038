#include "machine/device/screen.hpp"

#include <cstdlib>
#include <string_view>

namespace veltro::host {

int screen_scale() {
  const char *const value = std::getenv("VELTRO_SCREEN_SCALE");
  const std::string_view chosen = value != nullptr ? value : "";
  if (chosen == "1")
    return 1;
  return chosen == "3" ? 3 : 2;
}

} // namespace veltro::host
