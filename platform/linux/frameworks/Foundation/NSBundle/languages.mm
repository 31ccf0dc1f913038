#include "frameworks/Foundation/NSBundle/languages.hpp"

#include "machine/device/environment.hpp"
#include "machine/text/utf8.hpp"

#include <algorithm>
#include <sstream>
#include <utility>

namespace veltro::host {
namespace {

using namespace std::string_view_literals;

using Naming = std::pair<std::string_view, std::string_view>;

constexpr Naming kOldNames[] = {{"English", "en"}, {"German", "de"},  {"French", "fr"},
                                {"Spanish", "es"}, {"Italian", "it"}, {"Dutch", "nl"},
                                {"Arabic", "ar"},  {"Japanese", "ja"}};

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

std::string_view without_encoding(std::string_view locale) {
  return locale.substr(0, locale.find_first_of(".@"));
}

} // namespace

Language Language::named(std::string_view name) {
  name = without_encoding(name);
  const auto *old = std::ranges::find(kOldNames, name, &Naming::first);
  if (old != std::end(kOldNames))
    name = old->second;
  @autoreleasepool {
    NSDictionary *parts = [NSLocale componentsFromLocaleIdentifier:string_of(std::string(name))];
    const std::string region = utf8_of([parts objectForKey:NSLocaleCountryCode]);
    Language result{utf8_of([parts objectForKey:NSLocaleLanguageCode]),
                    utf8_of([parts objectForKey:NSLocaleScriptCode]), region};
    if (result.language == "zh" && result.script.empty())
      result.script = region == "TW" || region == "HK" || region == "MO" ? "Hant" : "Hans";
    return result;
  }
}

std::vector<std::string> user_languages() {
  std::vector<std::string> languages;
  for (const char *variable : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"}) {
    std::istringstream list{std::string(host::variable(variable))};
    if (list.view().empty())
      continue;
    for (std::string locale; std::getline(list, locale, variable == "LANGUAGE"sv ? ':' : '\0');)
      if (const std::string_view plain = without_encoding(locale);
          !plain.empty() && plain != "C" && plain != "POSIX")
        languages.push_back(locale);
    break;
  }
  return languages;
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
