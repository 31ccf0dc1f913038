#include "frameworks/Foundation/NSTimeZone/time_zone_rules.hpp"

#include "machine/text/utf8.hpp"

#include <map>
#include <mutex>

namespace veltro::host {
namespace {

struct Known {
  NSData *data = nil; ///< held, so that a new zone's bytes cannot lie at its address
  std::shared_ptr<const ZoneRules> rules;
};

std::mutex mutex;
std::map<std::string, Known> known_zones;

} // namespace

std::shared_ptr<const ZoneRules> rules_of(NSTimeZone *zone, NSDate *date) {
  if (NSData *const data = [zone data];[data length] != 0) {
    const std::lock_guard lock(mutex);
    Known &known = known_zones[utf8_of([zone name])];
    if (known.data != data && ![known.data isEqualToData:data]) {
      std::optional<ZoneRules> rules =
          ZoneRules::parsed({static_cast<const std::uint8_t *>([data bytes]), [data length]});
      if (!rules)
        rules = ZoneRules::spelled({static_cast<const char *>([data bytes]), [data length]});
      [known.data release];
      known = {[data retain], rules ? std::make_shared<const ZoneRules>(*rules) : nullptr};
    }
    if (known.rules != nullptr)
      return known.rules;
  }
  return std::make_shared<const ZoneRules>(
      ZoneRules::fixed(static_cast<std::int32_t>([zone secondsFromGMTForDate:date])));
}

} // namespace veltro::host
