// Which of a bundle's localizations suits the user. Follows Apple's guide to how bundles look for
// localized resources; the user's languages come from the environment.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace veltro::host {

/// A language as the names of locales and of localizations tell it apart.
struct Language {
  std::string language; ///< "de"
  std::string script;   ///< "Hans"; filled in for Chinese, from the region
  std::string region;   ///< "AT"
  bool operator==(const Language &) const = default;

  /// Reads "de_AT.UTF-8", "zh-Hans", "pt-BR" and the old names such as "German".
  static Language named(std::string_view name);
};

/// The user's languages as the environment has them at this moment, best first: LANGUAGE, a list
/// with colons; else the first of LC_ALL, LC_MESSAGES and LANG that is not empty. The locales C and
/// POSIX are no language.
std::vector<std::string> user_languages();

/// Those of `available` that suit `wanted`, best first: for every wanted language the one that
/// names the same region, else none, else another. Names stay as they stand in `available`.
std::vector<std::string> matching_localizations(std::span<const std::string> available,
                                                std::span<const std::string> wanted);

} // namespace veltro::host
