#include "machine/device/release.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>

namespace veltro::host {
namespace {

struct Release {
  std::array<int, 3> version;
  double foundation;
};

// The NSFoundationVersionNumber_iOS_… constants of NSObjCRuntime.h, and the documented numbers of
// the releases between them.
constexpr std::array releases{
    Release{{6, 0, 0}, 992.00},  Release{{6, 1, 0}, 993.00},   Release{{7, 0, 0}, 1047.20},
    Release{{7, 1, 0}, 1047.25}, Release{{8, 0, 0}, 1140.11},  Release{{8, 1, 0}, 1141.1},
    Release{{8, 2, 0}, 1142.14}, Release{{8, 3, 0}, 1144.17},  Release{{9, 0, 0}, 1240.1},
    Release{{9, 3, 0}, 1280.25}, Release{{10, 0, 0}, 1348.00},
};

std::array<int, 3> parse(std::string_view text) {
  std::array<int, 3> version{};
  const char *at = text.data();
  const char *const end = at + text.size();
  for (int &number : version) {
    const auto [next, error] = std::from_chars(at, end, number);
    if (error != std::errc{} || next == end || *next != '.')
      break;
    at = next + 1;
  }
  return version;
}

} // namespace

std::string system_version() {
  const char *chosen = std::getenv("VELTRO_SYSTEM_VERSION");
  return chosen != nullptr && *chosen != '\0' ? chosen : "9.3.5";
}

double foundation_version_number(std::string_view release) {
  const std::array<int, 3> wanted = parse(release);
  const auto newer =
      std::ranges::find_if(releases, [&](const Release &known) { return known.version > wanted; });
  return newer == releases.begin() ? newer->foundation : std::prev(newer)->foundation;
}

} // namespace veltro::host
