// The one reader of dates on the command line, and the writers of them: ISO 8601, in the time zone
// of the environment where a text names none.
#pragma once

#import <Foundation/Foundation.h>

#include <string>

namespace veltro::tool {

/// The moment (autoreleased) that `text` spells, or nil: "now", "@1700000000.5" (seconds since
/// 1970), "2024-03-13", "2024-03-13T15:30", "2024-03-13 15:30:45.25", each but the first two
/// followed by "Z" or an offset such as "-04:00", "-0400" or "-04", or by nothing for local time. A
/// date without a time is its midnight. A local time that the clocks skip moves forward by what
/// they skip.
NSDate *moment_from(const std::string &text);

/// `date` in local time with its offset, "2024-03-13T15:30:45.250-04:00"; the fraction only where
/// there is one, to the millisecond. Years that do not fit four digits have a sign.
std::string local_text(NSDate *date);

/// `date` in UTC, "2024-03-13T19:30:45.250Z", always to the millisecond; the nearest one of the
/// years 1 to 9999.
std::string utc_text(NSDate *date);

} // namespace veltro::tool
