#pragma once

#include "frameworks/Foundation/zone_rules.hpp"

#import <Foundation/Foundation.h>

#include <memory>

namespace veltro::host {

/// The offsets of `zone`, read from its time-zone file's bytes once and kept. A zone without such
/// bytes is taken to have always the offset that it has at `date`. Any thread.
std::shared_ptr<const ZoneRules> rules_of(NSTimeZone *zone, NSDate *date);

} // namespace veltro::host
