#pragma once

#include "frameworks/Foundation/NSTimeZone/zone_rules.hpp"

#import <Foundation/Foundation.h>

#include <memory>

namespace veltro::host {

/// The offsets of `zone`, read once and kept from its data: a time-zone file, or the text of a
/// rule. A zone without either has always the offset that it has at `date`. Any thread.
std::shared_ptr<const ZoneRules> rules_of(NSTimeZone *zone, NSDate *date);

} // namespace veltro::host
