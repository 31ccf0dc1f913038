// The release of iOS that this machine plays: one choice for UIDevice and for Foundation.
#pragma once

#include <string>
#include <string_view>

namespace veltro::host {

/// `VELTRO_SYSTEM_VERSION` as it stands at this moment; 9.3.5 where it is unset or empty, and where
/// it names no release, which is reported.
std::string system_version();

/// The Foundation version number of the newest known release that is not newer than `release`; the
/// oldest known one for a release before it or a text that names no release.
double foundation_version_number(std::string_view release);

} // namespace veltro::host
