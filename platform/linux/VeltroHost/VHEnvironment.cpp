#include <VeltroHost/VHEnvironment.h>

#include "machine/device/environment.hpp"
#include "machine/device/release.hpp"
#include "machine/log/log_line.hpp"

namespace {

constinit bool started = false;

/// Looks at the variables while the process starts: what is made of the release is fixed then, and
/// a mistake is told where nothing asks for it again.
[[maybe_unused]] const bool checked = [] {
  using namespace veltro::host;
  variable_reporter = VHReportEnvironment;
  log_sink();
  system_version();
  screen_scale();
  return started = true;
}();

} // namespace

extern "C" void VHReportEnvironment(const char *problem) {
  if (started)
    veltro::host::log_line(problem);
  else
    veltro::host::early_log_line(problem);
}
