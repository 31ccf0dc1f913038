#include "machine/device/release.hpp"

#include "machine/device/environment.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

namespace veltro::host {
namespace {

using Version = std::array<unsigned, 3>;

struct Release {
  Version version;
  double foundation;
};

// The NSFoundationVersionNumber_iOS_… constants of NSObjCRuntime.h, and the documented numbers of
// the releases between them.
constexpr std::array kReleases{
    Release{{6, 0, 0}, 992.00},  Release{{6, 1, 0}, 993.00},   Release{{7, 0, 0}, 1047.20},
    Release{{7, 1, 0}, 1047.25}, Release{{8, 0, 0}, 1140.11},  Release{{8, 1, 0}, 1141.1},
    Release{{8, 2, 0}, 1142.14}, Release{{8, 3, 0}, 1144.17},  Release{{9, 0, 0}, 1240.1},
    Release{{9, 3, 0}, 1280.25}, Release{{10, 0, 0}, 1348.00},
};

/// "9", "9.3" or "9.3.5"; nothing for another text.
std::optional<Version> parse(std::string_view text) {
  Version version{};
  const char *at = text.data();
  const char *const end = at + text.size();
  for (unsigned &number : version) {
    const auto [next, error] = std::from_chars(at, end, number);
    if (error != std::errc{} || (next != end && *next != '.'))
      return std::nullopt;
    if (next == end)
      return version;
    at = next + 1;
  }
  return std::nullopt;
}

} // namespace

std::string system_version() {
  constexpr const char *kVariable = "VELTRO_SYSTEM_VERSION";
  const std::string_view chosen = variable(kVariable);
  if (parse(chosen))
    return std::string(chosen);
  if (!chosen.empty())
    report_variable(kVariable, "a release such as 9.3.5");
  return "9.3.5";
}

double foundation_version_number(std::string_view release) {
  const Version wanted = parse(release).value_or(Version{});
  const auto newer =
      std::ranges::find_if(kReleases, [&](const Release &known) { return known.version > wanted; });
  return newer == kReleases.begin() ? newer->foundation : std::prev(newer)->foundation;
}

} // namespace veltro::host
