#include "frameworks/Foundation/time_zone_file.hpp"

#include "frameworks/Foundation/zone_rules.hpp"

#include <algorithm>
#include <string_view>

namespace veltro::host {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::int64_t kFirstYear = 1970;
constexpr std::int64_t kLastYear = 2037;

/// The text of a rule with all that it leaves out, or nothing.
std::optional<std::string> full_rule(const std::string &text) {
  for (const char *const dates : {"", ",M3.2.0,M11.1.0"})
    if (YearlyRule::parsed(text + dates))
      return text + dates;
  return std::nullopt;
}

/// Takes a zone's name off the front of a rule.
std::string take_name(std::string_view &rest) {
  const bool quoted = rest.starts_with('<');
  const std::size_t size = rest.find_first_of(quoted ? ">" : "0123456789+-,");
  const std::string name(rest.substr(quoted ? 1 : 0, size - (quoted ? 1 : 0)));
  rest.remove_prefix(std::min(size, rest.size()));
  rest.remove_prefix(std::min(rest.find_first_not_of(">+-:0123456789"), rest.size()));
  return name + '\0';
}

void put(Bytes &file, std::int64_t number, unsigned width) {
  for (unsigned at = width; at > 0; --at)
    file.push_back(static_cast<std::uint8_t>(number >> (8 * (at - 1))));
}

struct Contents {
  std::vector<Transition> changes;
  std::int32_t standard;
  std::int32_t summer;
  std::string names; ///< each with its terminating zero
};

void put_block(Bytes &file, const Contents &zone, unsigned time_width) {
  file.insert(file.end(), {'T', 'Z', 'i', 'f', '2'});
  file.insert(file.end(), 15, 0);
  const std::size_t none = 0;
  const std::size_t types = 2;
  for (const std::size_t count : {none, none, none, zone.changes.size(), types, zone.names.size()})
    put(file, static_cast<std::int64_t>(count), 4);
  for (const Transition &change : zone.changes)
    put(file, change.time, time_width);
  for (const Transition &change : zone.changes)
    file.push_back(change.offset == zone.standard ? 0 : 1);
  put(file, zone.standard, 4);
  file.insert(file.end(), {0, 0});
  put(file, zone.summer, 4);
  file.insert(file.end(), {1, static_cast<std::uint8_t>(zone.names.find('\0') + 1)});
  file.insert(file.end(), zone.names.begin(), zone.names.end());
}

} // namespace

std::optional<std::vector<std::uint8_t>> time_zone_file(const std::string &text) {
  const std::optional<std::string> rule = full_rule(text);
  if (!rule)
    return std::nullopt;
  const YearlyRule yearly = *YearlyRule::parsed(*rule);
  Contents zone{{}, yearly.standard(), yearly.summer(), {}};
  for (std::int64_t year = kFirstYear; year <= kLastYear; ++year)
    for (const Transition &change : yearly.transitions_of(year))
      zone.changes.push_back(change);
  std::string_view rest = *rule;
  zone.names = take_name(rest);
  zone.names += take_name(rest);

  Bytes file;
  put_block(file, zone, 4);
  put_block(file, zone, 8);
  file.push_back('\n');
  file.insert(file.end(), rule->begin(), rule->end());
  file.push_back('\n');
  return file;
}

} // namespace veltro::host
