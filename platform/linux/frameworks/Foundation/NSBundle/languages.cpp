#include "frameworks/Foundation/NSBundle/languages.hpp"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

namespace veltro::host {
namespace {

using namespace std::string_view_literals;

constexpr std::array kOldNames{
    std::pair{"English"sv, "en"sv}, std::pair{"German"sv, "de"sv},   std::pair{"French"sv, "fr"sv},
    std::pair{"Spanish"sv, "es"sv}, std::pair{"Italian"sv, "it"sv},  std::pair{"Dutch"sv, "nl"sv},
    std::pair{"Arabic"sv, "ar"sv},  std::pair{"Japanese"sv, "ja"sv},
};

std::vector<std::string_view> parts(std::string_view text, std::string_view separators) {
  std::vector<std::string_view> found;
  while (true) {
    const std::size_t end = text.find_first_of(separators);
    found.push_back(text.substr(0, end));
    if (end == std::string_view::npos)
      return found;
    text.remove_prefix(end + 1);
  }
}

std::string in_case(std::string_view text, bool upper) {
  std::string result(text);
  for (char &letter : result)
    if (upper ? letter >= 'a' && letter <= 'z' : letter >= 'A' && letter <= 'Z')
      letter = static_cast<char>(letter ^ 0x20);
  return result;
}

/// How well `offered` suits `wanted`; 0 where it does not.
int suitability(const Language &offered, const Language &wanted) {
  const bool other_script =
      offered.script != wanted.script && !offered.script.empty() && !wanted.script.empty();
  if (offered.language != wanted.language || other_script)
    return 0;
  if (offered.region == wanted.region)
    return 3;
  return offered.region.empty() ? 2 : 1;
}

bool is_language(std::string_view locale) {
  const std::string_view name = locale.substr(0, locale.find_first_of(".@"));
  return !name.empty() && name != "C" && name != "POSIX";
}

} // namespace

Language Language::named(std::string_view name) {
  name = name.substr(0, name.find_first_of(".@"));
  const auto *old = std::ranges::find(kOldNames, name, &decltype(kOldNames)::value_type::first);
  if (old != kOldNames.end())
    name = old->second;
  Language result;
  for (const std::string_view part : parts(name, "_-")) {
    if (result.language.empty())
      result.language = in_case(part, false);
    else if (part.size() == 4)
      result.script = in_case(part.substr(0, 1), true) + in_case(part.substr(1), false);
    else
      result.region = in_case(part, true);
  }
  if (result.language == "zh" && result.script.empty()) {
    const std::string_view region = result.region;
    result.script = region == "TW" || region == "HK" || region == "MO" ? "Hant" : "Hans";
  }
  return result;
}

std::vector<std::string> user_languages() {
  for (const char *variable : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char *value = std::getenv(variable);
    if (value == nullptr || *value == '\0')
      continue;
    std::vector<std::string> languages;
    for (const std::string_view name : parts(value, variable == "LANGUAGE"sv ? ":" : ""))
      if (is_language(name))
        languages.emplace_back(name);
    return languages;
  }
  return {};
}

std::vector<std::string> matching_localizations(std::span<const std::string> available,
                                                std::span<const std::string> wanted) {
  std::vector<std::string> matching;
  for (const std::string &name : wanted) {
    const Language language = Language::named(name);
    const auto suits = [&](const std::string &offered) {
      return suitability(Language::named(offered), language);
    };
    const auto best = std::ranges::max_element(available, {}, suits);
    if (best != available.end() && suits(*best) > 0 &&
        std::ranges::find(matching, *best) == matching.end())
      matching.push_back(*best);
  }
  return matching;
}

} // namespace veltro::host
