#include "machine/device/screen.hpp"

#include "machine/device/environment.hpp"

namespace veltro::host {

int screen_scale() {
  constexpr int kDefaultScale = 2;
  const std::string_view chosen = variable("VELTRO_SCREEN_SCALE");
  if (chosen.size() == 1 && chosen.front() >= '1' && chosen.front() <= '3')
    return chosen.front() - '0';
  if (!chosen.empty())
    report_variable("VELTRO_SCREEN_SCALE", "1, 2 or 3");
  return kDefaultScale;
}

} // namespace veltro::host
