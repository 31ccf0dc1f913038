#pragma once

#include <veltro/ZLTLanguage.h>

#ifdef VELTRO_LANGUAGE

#import <Foundation/Foundation.h>

/// Dates by the calendar minute, in a fresh current calendar and its time zone. Nothing here fails
/// or raises. Every method may be called on any thread.
@interface NSDate (ZLT)

/// The receiver at the start of its minute: seconds and fractions of a second dropped. The receiver
/// is what is normalised; the name takes no argument. Eras are not kept: a date before the year 1
/// comes back with the same year number after it.
/// @return The date, autoreleased; nil only where the calendar has no such date.
- (NSDate *)zlt_normalizedDateWithDate;

/// Whether the receiver and `date` lie in the same calendar minute. This is no tolerance: one
/// second across the turn of a minute gives NO.
/// @param date The other date; may be nil.
/// @return YES where they do; NO where they do not, and for nil.
- (BOOL)zlt_isEqualIgnoringTimeInSecond:(NSDate *)date;

@end

#endif
