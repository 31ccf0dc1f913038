#pragma once

#include <veltro/ZLTLanguage.h>

#ifdef VELTRO_LANGUAGE

#import <Foundation/Foundation.h>

/// Calendar questions about a date, and dates a number of calendar days away.
///
/// All goes by the user's calendar, locale and time zone at the time of the call.
/// Eras are never compared. Nothing here fails or raises. Every method may be called on any thread.
@interface NSDate (Veltro)

/// The calendar that the comparisons below use: the platform's autoupdating current calendar, taken
/// once at the first call and kept for the life of the process. It follows later changes of the
/// user's calendar, locale and time zone.
/// @return The calendar, which the caller does not own; never nil.
+ (NSCalendar *)veltro_currentCalendar;

/// Whether the receiver and `date` have the same year, month and day.
/// @param date The other date; may be nil.
/// @return YES where they have; NO where they have not, and for nil.
- (BOOL)veltro_isEqualToDateIgnoringTime:(NSDate *)date;

/// Now, one calendar day ago: the same time of day, whatever the length of the day.
/// @return The date, autoreleased; nil only where the calendar has no such date.
+ (NSDate *)veltro_dateYesterday;

/// Whether the receiver and `date` have the same week number and lie less than 604800 seconds apart
/// (a distance of exactly that gives NO). Years are not compared: the distance tells equal week
/// numbers of different years apart.
/// @param date The other date; may be nil.
/// @return YES where that is so; NO where it is not, and for nil.
- (BOOL)veltro_isSameWeekAsDate:(NSDate *)date;

/// Whether the receiver lies on today's calendar day.
/// @return YES or NO.
- (BOOL)veltro_isToday;

/// Whether the receiver lies on yesterday's calendar day.
/// @return YES or NO.
- (BOOL)veltro_isYesterday;

/// Now minus `days` calendar days.
/// @param days Calendar days, any number; a negative one reaches into the future.
/// @return The date, autoreleased; nil only where the calendar has no such date.
+ (NSDate *)veltro_dateWithDaysBeforeNow:(NSInteger)days;

/// The receiver plus `days` calendar days, at the same time of day. A time that the clocks skip on
/// that day moves forward by what they skip. Takes a fresh current calendar, not the kept one.
/// @param days Calendar days, any number, also a negative one. NSIntegerMax is a calendar's mark
/// for no number and adds nothing.
/// @return The date, autoreleased; nil only where the calendar has no such date.
- (NSDate *)veltro_dateByAddingDays:(NSInteger)days;

/// The receiver minus `days` calendar days: veltro_dateByAddingDays: with the negated number.
/// @param days Calendar days, any number, also a negative one.
/// @return The date, autoreleased; nil only where the calendar has no such date.
- (NSDate *)veltro_dateBySubtractingDays:(NSInteger)days;

/// Whether the receiver lies in the week of the instant that was exactly 604800 seconds ago.
/// @return YES or NO.
- (BOOL)veltro_isLastWeek;

/// Whether the receiver lies after the start of the day `days` calendar days before today and
/// before the start of today. Both ends are open: an instant exactly at either start gives NO,
/// and so does any instant of today.
/// @param days Calendar days, any number; with 0 and below the result is always NO.
/// @return YES or NO.
- (BOOL)veltro__occuredDaysBeforeToday:(NSInteger)days;

/// Whether the receiver lies in the seven whole calendar days before today:
/// veltro__occuredDaysBeforeToday: with 7.
/// @return YES or NO.
- (BOOL)veltro_dayOccuredDuringLast7Days;

@end

#endif
