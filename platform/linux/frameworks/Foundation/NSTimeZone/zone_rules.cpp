#include "frameworks/Foundation/NSTimeZone/zone_rules.hpp"

#include "frameworks/Foundation/NSCalendar/civil_date.hpp"

#include <algorithm>
#include <string>

namespace veltro::host {
namespace {

/// A big-endian number of `width` bytes, sign extended.
std::int64_t number_at(std::span<const std::uint8_t> bytes, std::size_t at, std::size_t width) {
  std::uint64_t value = (bytes[at] & 0x80) != 0 ? ~std::uint64_t{0} : 0;
  for (std::size_t i = 0; i < width; ++i)
    value = value << 8 | bytes[at + i];
  return static_cast<std::int64_t>(value);
}

/// One block of a time-zone file: its header's counts and where its parts lie.
struct Block {
  static constexpr std::size_t kHeaderSize = 44;

  static std::optional<Block> at(std::span<const std::uint8_t> file, std::size_t start,
                                 std::size_t time_width) {
    if (file.size() < start + kHeaderSize || file[start] != 'T' || file[start + 1] != 'Z' ||
        file[start + 2] != 'i' || file[start + 3] != 'f')
      return std::nullopt;
    const auto count = [&](std::size_t index) {
      return static_cast<std::size_t>(number_at(file, start + 20 + 4 * index, 4) & 0xFFFFFFFF);
    };
    Block block;
    block.transitions = count(3);
    block.types = count(4);
    block.times_at = start + kHeaderSize;
    block.indices_at = block.times_at + block.transitions * time_width;
    block.types_at = block.indices_at + block.transitions;
    block.end = block.types_at + 6 * block.types + count(5) + count(2) * (time_width + 4) +
                count(1) + count(0);
    if (block.types == 0 || block.end > file.size())
      return std::nullopt;
    return block;
  }

  std::size_t transitions = 0;
  std::size_t types = 0;
  std::size_t times_at = 0;
  std::size_t indices_at = 0;
  std::size_t types_at = 0;
  std::size_t end = 0;
};

bool is_leap_year(std::int64_t year) {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

} // namespace

/// Reads a rule's text from left to right; after a mistake nothing more is read.
class YearlyRule::Reader {
public:
  explicit Reader(std::string_view text) : rest_(text) {}

  [[nodiscard]] bool good() const { return good_; }
  [[nodiscard]] bool at_end() const { return rest_.empty(); }

  bool skip(char wanted) {
    if (rest_.empty() || rest_.front() != wanted)
      return false;
    rest_.remove_prefix(1);
    return true;
  }

  void expect(char wanted) { good_ = skip(wanted) && good_; }

  void name() {
    const bool quoted = skip('<');
    const std::size_t before = rest_.size();
    while (!rest_.empty() && (quoted ? rest_.front() != '>' : is_letter(rest_.front())))
      rest_.remove_prefix(1);
    good_ = good_ && before - rest_.size() >= 3;
    if (quoted)
      expect('>');
  }

  int number(int least, int most) {
    int value = 0;
    const std::size_t before = rest_.size();
    while (!rest_.empty() && rest_.front() >= '0' && rest_.front() <= '9' && value < 10000) {
      value = value * 10 + (rest_.front() - '0');
      rest_.remove_prefix(1);
    }
    good_ = good_ && before != rest_.size() && value >= least && value <= most;
    return value;
  }

  /// [+|-]hh[:mm[:ss]] in seconds.
  std::int32_t time() {
    const bool negative = skip('-');
    if (!negative)
      skip('+');
    std::int32_t seconds = number(0, 167) * 3600;
    if (skip(':'))
      seconds += number(0, 59) * 60;
    if (skip(':'))
      seconds += number(0, 59);
    return negative ? -seconds : seconds;
  }

  Change change() {
    Change result;
    if (skip('M')) {
      result.kind = Change::Kind::month_week_day;
      result.month = number(1, 12);
      expect('.');
      result.week = number(1, 5);
      expect('.');
      result.day = number(0, 6);
    } else if (skip('J')) {
      result.kind = Change::Kind::julian_without_leap_day;
      result.day = number(1, 365);
    } else {
      result.day = number(0, 365);
    }
    if (skip('/'))
      result.time = time();
    return result;
  }

private:
  static bool is_letter(char character) {
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z');
  }

  std::string_view rest_;
  bool good_ = true;
};

std::optional<YearlyRule> YearlyRule::parsed(std::string_view text) {
  Reader reader(text);
  YearlyRule rule;
  reader.name();
  rule.standard_ = -reader.time(); // the text counts west of Greenwich
  if (!reader.at_end()) {
    rule.has_summer_ = true;
    rule.summer_ = rule.standard_ + 3600;
    reader.name();
    if (!reader.skip(',')) {
      rule.summer_ = -reader.time();
      reader.expect(',');
    }
    rule.to_summer_ = reader.change();
    reader.expect(',');
    rule.to_standard_ = reader.change();
  }
  if (!reader.good() || !reader.at_end())
    return std::nullopt;
  return rule;
}

std::int64_t YearlyRule::Change::local_seconds(std::int64_t year) const {
  std::int64_t days = days_from_civil(year, 1, 1);
  switch (kind) {
  case Kind::zero_based:
    days += day;
    break;
  case Kind::julian_without_leap_day:
    days += day - 1 + (is_leap_year(year) && day >= 60 ? 1 : 0);
    break;
  case Kind::month_week_day: {
    const std::int64_t first = days_from_civil(year, month, 1);
    const std::int64_t next_month = days_from_civil(year, month + 1, 1);
    days = first + floor_mod(day - (weekday_of(first) - 1), 7) + std::int64_t{week - 1} * 7;
    if (days >= next_month)
      days -= 7;
    break;
  }
  }
  return days * kSecondsInDay + time;
}

std::vector<Transition> YearlyRule::transitions_of(std::int64_t year) const {
  if (!has_summer_)
    return {};
  const Transition summer{to_summer_.local_seconds(year) - standard_, summer_};
  const Transition standard{to_standard_.local_seconds(year) - summer_, standard_};
  return summer.time < standard.time ? std::vector{summer, standard}
                                     : std::vector{standard, summer};
}

std::int32_t YearlyRule::offset_at(UnixTime time) const {
  if (!has_summer_)
    return standard_;
  // The year of the local date may be the one before or after that of UTC, and so may a rule's
  // days.
  const std::int64_t year = civil_from_days(floor_div(time, kSecondsInDay)).year;
  std::int32_t offset = standard_;
  for (const std::int64_t around : {year - 1, year, year + 1})
    for (const Transition &transition : transitions_of(around))
      if (transition.time <= time)
        offset = transition.offset;
  return offset;
}

ZoneRules ZoneRules::fixed(std::int32_t offset) {
  ZoneRules rules;
  rules.first_offset_ = offset;
  return rules;
}

std::optional<ZoneRules> ZoneRules::parsed(std::span<const std::uint8_t> file) {
  std::optional<Block> block = Block::at(file, 0, 4);
  if (!block)
    return std::nullopt;
  std::size_t time_width = 4;
  const bool has_wide_block = file[4] >= '2';
  if (has_wide_block) {
    time_width = 8;
    block = Block::at(file, block->end, time_width);
    if (!block)
      return std::nullopt;
  }

  const auto offset_of = [&](std::size_t type) {
    return static_cast<std::int32_t>(number_at(file, block->types_at + 6 * type, 4));
  };
  ZoneRules rules;
  rules.first_offset_ = offset_of(0);
  rules.table_.reserve(block->transitions);
  for (std::size_t i = 0; i < block->transitions; ++i) {
    const std::size_t type = file[block->indices_at + i];
    if (type >= block->types)
      return std::nullopt;
    rules.table_.push_back(
        {number_at(file, block->times_at + i * time_width, time_width), offset_of(type)});
  }
  if (!std::ranges::is_sorted(rules.table_, {}, &Transition::time))
    return std::nullopt;

  if (has_wide_block && file.size() > block->end + 2) {
    std::string_view footer(reinterpret_cast<const char *>(file.data()) + block->end,
                            file.size() - block->end);
    footer.remove_prefix(1);
    rules.rule_ = YearlyRule::parsed(footer.substr(0, footer.find('\n')));
  }
  return rules;
}

std::optional<ZoneRules> ZoneRules::spelled(std::string_view text) {
  for (const char *const dates : {"", ",M3.2.0,M11.1.0"}) {
    ZoneRules rules;
    rules.rule_ = YearlyRule::parsed(std::string(text) + dates);
    if (rules.rule_)
      return rules;
  }
  return std::nullopt;
}

std::int32_t ZoneRules::offset_at(UnixTime time) const {
  const auto next = std::ranges::upper_bound(table_, time, {}, &Transition::time);
  if (next == table_.end() && rule_)
    return rule_->offset_at(time);
  return next == table_.begin() ? first_offset_ : std::prev(next)->offset;
}

std::vector<Transition> ZoneRules::transitions_between(UnixTime from, UnixTime to) const {
  std::vector<Transition> found;
  auto next = std::ranges::upper_bound(table_, from, {}, &Transition::time);
  for (; next != table_.end() && next->time <= to; ++next)
    found.push_back(*next);
  if (next == table_.end() && rule_) {
    const UnixTime table_end = table_.empty() ? from : std::max(from, table_.back().time);
    const std::int64_t last_year = civil_from_days(floor_div(to, kSecondsInDay)).year + 1;
    for (std::int64_t year = civil_from_days(floor_div(table_end, kSecondsInDay)).year - 1;
         year <= last_year; ++year)
      for (const Transition &transition : rule_->transitions_of(year))
        if (transition.time > table_end && transition.time <= to)
          found.push_back(transition);
  }
  return found;
}

} // namespace veltro::host
