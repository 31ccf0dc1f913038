#include "frameworks/Foundation/NSTimeZone/time_zone_rules.hpp"

#include <map>
#include <mutex>
#include <span>
#include <string>

namespace veltro::host {
namespace {

struct Known {
  NSData *file = nil; ///< held, so that a new zone's bytes cannot lie at its address
  std::shared_ptr<const ZoneRules> rules;
};

std::mutex mutex;
std::map<std::string, Known, std::less<>> known_zones;

} // namespace

std::shared_ptr<const ZoneRules> rules_of(NSTimeZone *zone, NSDate *date) {
  NSData *file = [zone data];
  const auto fixed = [&] {
    return std::make_shared<const ZoneRules>(
        ZoneRules::fixed(static_cast<std::int32_t>([zone secondsFromGMTForDate:date])));
  };
  if ([file length] == 0) {
    const auto spelled = [zone isKindOfClass:[VHRuleTimeZone class]]
                             ? ZoneRules::spelled([[zone name] UTF8String])
                             : std::nullopt;
    return spelled ? std::make_shared<const ZoneRules>(*spelled) : fixed();
  }

  const std::lock_guard lock(mutex);
  const char *name = [[zone name] UTF8String];
  auto found = known_zones.find(name);
  if (found != known_zones.end() &&
      (found->second.file == file || [found->second.file isEqualToData:file]))
    return found->second.rules;
  const auto *bytes = static_cast<const std::uint8_t *>([file bytes]);
  std::optional<ZoneRules> parsed = ZoneRules::parsed(std::span(bytes, [file length]));
  if (!parsed)
    return fixed();
  Known &entry = known_zones[name];
  [file retain];
  [entry.file release];
  entry = {file, std::make_shared<const ZoneRules>(std::move(*parsed))};
  return entry.rules;
}

} // namespace veltro::host
