#include "moment.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <optional>
#include <string_view>

namespace veltro::tool {
namespace {

constexpr NSUInteger kDateUnits = NSCalendarUnitYear | NSCalendarUnitMonth | NSCalendarUnitDay;
constexpr NSUInteger kAllUnits = NSCalendarUnitEra | kDateUnits | NSCalendarUnitHour |
                                 NSCalendarUnitMinute | NSCalendarUnitSecond;

/// Reads from left to right; after a mistake nothing more is good.
class Reader {
public:
  explicit Reader(std::string_view text) : rest_(text) {}

  [[nodiscard]] bool done() const { return good_ && rest_.empty(); }
  [[nodiscard]] bool at_end() const { return rest_.empty(); }

  bool skip(char wanted) {
    if (rest_.empty() || rest_.front() != wanted)
      return false;
    rest_.remove_prefix(1);
    return true;
  }

  void expect(char wanted) { good_ = skip(wanted) && good_; }

  int number(std::size_t digits, int least, int most) {
    int value = 0;
    const std::string_view text = rest_.substr(0, digits);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    good_ = good_ && error == std::errc{} && text.size() == digits && end == text.data() + digits &&
            text.front() != '-' && value >= least && value <= most;
    rest_.remove_prefix(text.size());
    return value;
  }

  /// ".25", as nanoseconds; 0 where no point stands.
  int fraction() {
    if (!skip('.') && !skip(','))
      return 0;
    int value = 0;
    int weight = 100'000'000;
    const std::size_t before = rest_.size();
    for (; !rest_.empty() && rest_.front() >= '0' && rest_.front() <= '9'; weight /= 10) {
      value += weight * (rest_.front() - '0');
      rest_.remove_prefix(1);
    }
    good_ = good_ && rest_.size() < before;
    return value;
  }

  /// "Z" or an offset in seconds; nothing for local time.
  std::optional<int> offset() {
    if (skip('Z'))
      return 0;
    const bool west = skip('-');
    if (!west && !skip('+'))
      return std::nullopt;
    int seconds = number(2, 0, 23) * 3600;
    skip(':');
    if (!at_end())
      seconds += number(2, 0, 59) * 60;
    return west ? -seconds : seconds;
  }

private:
  std::string_view rest_;
  bool good_ = true;
};

NSDate *moment_from_seconds(std::string_view text) {
  double seconds = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
  if (error != std::errc{} || end != text.data() + text.size() || !std::isfinite(seconds))
    return nil;
  return [NSDate dateWithTimeIntervalSince1970:seconds];
}

/// Whether the date is one of the calendar, and no 30 February.
bool is_date(NSDateComponents *components) {
  NSCalendar *calendar = [NSCalendar currentCalendar];
  [calendar setTimeZone:[NSTimeZone timeZoneForSecondsFromGMT:0]];
  NSDateComponents *date = [[[NSDateComponents alloc] init] autorelease];
  [date setYear:[components year]];
  [date setMonth:[components month]];
  [date setDay:[components day]];
  NSDateComponents *found = [calendar components:kDateUnits
                                        fromDate:[calendar dateFromComponents:date]];
  return [found month] == [date month] && [found day] == [date day];
}

} // namespace

NSDate *moment_from(const std::string &text) {
  if (text == "now")
    return [NSDate date];
  if (text.starts_with('@'))
    return moment_from_seconds(std::string_view(text).substr(1));

  NSDateComponents *components = [[[NSDateComponents alloc] init] autorelease];
  Reader reader(text);
  [components setYear:reader.number(4, 1, 9999)];
  reader.expect('-');
  [components setMonth:reader.number(2, 1, 12)];
  reader.expect('-');
  [components setDay:reader.number(2, 1, 31)];
  int nanoseconds = 0;
  if (reader.skip('T') || reader.skip(' ')) {
    [components setHour:reader.number(2, 0, 23)];
    reader.expect(':');
    [components setMinute:reader.number(2, 0, 59)];
    if (reader.skip(':')) {
      [components setSecond:reader.number(2, 0, 59)];
      nanoseconds = reader.fraction();
    }
  }
  NSCalendar *calendar = [NSCalendar currentCalendar];
  if (const std::optional<int> offset = reader.offset())
    [calendar setTimeZone:[NSTimeZone timeZoneForSecondsFromGMT:*offset]];
  if (!reader.done() || !is_date(components))
    return nil;
  [components setNanosecond:nanoseconds];
  return [calendar dateFromComponents:components];
}

std::string local_text(NSDate *date) {
  const double milliseconds = std::round([date timeIntervalSinceReferenceDate] * 1000);
  const double whole = std::floor(milliseconds / 1000);
  constexpr double kFarthest = 1e14;
  std::array<char, 96> text{};
  if (!(std::abs(whole) < kFarthest)) {
    std::snprintf(text.data(), text.size(), "@%.17g", [date timeIntervalSince1970]);
    return text.data();
  }
  NSDate *second = [NSDate dateWithTimeIntervalSinceReferenceDate:whole];
  NSCalendar *calendar = [NSCalendar currentCalendar];
  NSDateComponents *local = [calendar components:kAllUnits fromDate:second];

  // The offset is what the clocks show more than those of Greenwich.
  NSCalendar *greenwich = [NSCalendar currentCalendar];
  [greenwich setTimeZone:[NSTimeZone timeZoneForSecondsFromGMT:0]];
  const double shown = [[greenwich dateFromComponents:local] timeIntervalSinceReferenceDate];
  const int offset = static_cast<int>(shown - whole);

  const long year = [local era] == 0 ? 1 - [local year] : [local year];
  int length = std::snprintf(text.data(), text.size(),
                             year >= 0 && year <= 9999 ? "%04ld-%02d-%02dT%02d:%02d:%02d"
                                                       : "%+05ld-%02d-%02dT%02d:%02d:%02d",
                             year, static_cast<int>([local month]), static_cast<int>([local day]),
                             static_cast<int>([local hour]), static_cast<int>([local minute]),
                             static_cast<int>([local second]));
  std::string result(text.data(), static_cast<std::size_t>(length));
  if (const int fraction = static_cast<int>(milliseconds - whole * 1000); fraction != 0) {
    length = std::snprintf(text.data(), text.size(), ".%03d", fraction);
    result.append(text.data(), static_cast<std::size_t>(length));
  }
  const int distance = std::abs(offset);
  length = std::snprintf(text.data(), text.size(), "%c%02d:%02d", offset < 0 ? '-' : '+',
                         distance / 3600, distance / 60 % 60);
  result.append(text.data(), static_cast<std::size_t>(length));
  if (distance % 60 != 0) {
    length = std::snprintf(text.data(), text.size(), ":%02d", distance % 60);
    result.append(text.data(), static_cast<std::size_t>(length));
  }
  return result;
}

std::string utc_text(NSDate *date) {
  constexpr double kYear1 = -62135596800;
  constexpr double kLastOf9999 = 253402300799.999;
  const double milliseconds =
      std::round(std::clamp([date timeIntervalSince1970], kYear1, kLastOf9999) * 1000);
  const double whole = std::floor(milliseconds / 1000);
  const auto seconds = static_cast<time_t>(whole);
  tm parts{};
  gmtime_r(&seconds, &parts);
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d.%03dZ",
                parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday, parts.tm_hour, parts.tm_min,
                parts.tm_sec, static_cast<int>(milliseconds - whole * 1000));
  return text.data();
}

} // namespace veltro::tool
