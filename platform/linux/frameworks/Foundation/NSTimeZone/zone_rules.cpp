#include "frameworks/Foundation/NSTimeZone/zone_rules.hpp"

#include "frameworks/Foundation/civil_date.hpp"

#include <algorithm>
#include <charconv>
#include <utility>

namespace veltro::host {
namespace {

/// A big-endian number of `width` bytes, sign extended.
std::int64_t number_at(std::span<const std::uint8_t> bytes, std::size_t at, std::size_t width) {
  std::uint64_t value = (bytes[at] & 0x80) != 0 ? ~std::uint64_t{0} : 0;
  for (std::size_t i = 0; i < width; ++i)
    value = value << 8 | bytes[at + i];
  return static_cast<std::int64_t>(value);
}

std::string_view text_of(std::span<const std::uint8_t> bytes) {
  return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}

/// One block of a time-zone file: how much it has and where its parts lie.
struct Block {
  std::size_t transitions;
  std::size_t types;
  std::size_t times_at;
  std::size_t indices_at = 0;
  std::size_t types_at = 0;
  std::size_t end = 0;
};

std::optional<Block> block_at(std::span<const std::uint8_t> file, std::size_t start,
                              std::size_t time_width) {
  constexpr std::size_t kHeaderSize = 44;
  if (file.size() < start + kHeaderSize || !text_of(file.subspan(start)).starts_with("TZif"))
    return std::nullopt;
  const auto count = [&](std::size_t index) {
    return static_cast<std::size_t>(number_at(file, start + 20 + 4 * index, 4) & 0xFFFFFFFF);
  };
  Block block{.transitions = count(3), .types = count(4), .times_at = start + kHeaderSize};
  block.indices_at = block.times_at + block.transitions * time_width;
  block.types_at = block.indices_at + block.transitions;
  block.end = block.types_at + 6 * block.types + count(5) + count(2) * (time_width + 4) + count(1) +
              count(0);
  if (block.types == 0 || block.end > file.size())
    return std::nullopt;
  return block;
}

/// Reads a rule's text from left to right; what it reads after a mistake does not count.
class RuleReader {
public:
  explicit RuleReader(std::string_view text) : rest_(text) {}

  std::optional<YearlyRule> rule() {
    YearlyRule rule;
    name();
    rule.standard = rule.summer = -time(); // the text counts west of Greenwich
    if (!rest_.empty()) {
      name();
      rule.summer = rest_.empty() || rest_.front() == ',' ? rule.standard + 3600 : -time();
    }
    if (!rest_.empty()) {
      expect(',');
      rule.to_summer = change();
      expect(',');
      rule.to_standard = change();
    }
    return good_ && rest_.empty() ? std::optional(rule) : std::nullopt;
  }

private:
  bool skip(char wanted) {
    if (!rest_.starts_with(wanted))
      return false;
    rest_.remove_prefix(1);
    return true;
  }

  void expect(char wanted) { good_ = skip(wanted) && good_; }

  void name() {
    const bool quoted = skip('<');
    const auto *const end = std::ranges::find_if(rest_, [&](char character) {
      const char letter = static_cast<char>(character | 0x20);
      return quoted ? character == '>' : letter < 'a' || letter > 'z';
    });
    const auto length = static_cast<std::size_t>(end - rest_.begin());
    good_ = good_ && length >= 3;
    rest_.remove_prefix(length);
    if (quoted)
      expect('>');
  }

  int number(int least, int most) {
    unsigned value = 0;
    const auto [end, error] = std::from_chars(rest_.begin(), rest_.end(), value);
    rest_.remove_prefix(static_cast<std::size_t>(end - rest_.begin()));
    good_ = good_ && error == std::errc() && std::cmp_greater_equal(value, least) &&
            std::cmp_less_equal(value, most);
    return good_ ? static_cast<int>(value) : 0;
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

  YearlyRule::Change change() {
    YearlyRule::Change result;
    if (skip('M')) {
      result.month = number(1, 12);
      expect('.');
      result.week = number(1, 5);
      expect('.');
      result.day = number(0, 6);
    } else if (skip('J')) {
      result.skips_leap_day = true;
      result.day = number(1, 365) - 1;
    } else {
      result.day = number(0, 365);
    }
    if (skip('/'))
      result.time = time();
    return result;
  }

  std::string_view rest_;
  bool good_ = true;
};

/// The local time of the change in the year `year`.
std::int64_t local_seconds(const YearlyRule::Change &change, std::int64_t year) {
  std::int64_t day = days_from_civil(year, std::max(change.month, 1), 1);
  if (change.month != 0) {
    day += floor_mod(change.day - (weekday_of(day) - 1), 7) + std::int64_t{change.week - 1} * 7;
    if (day >= days_from_civil(year, change.month + 1, 1))
      day -= 7;
  } else {
    const std::int64_t march = days_from_civil(year, 3, 1) - day;
    day += change.day + (change.skips_leap_day && change.day >= 59 ? march - 59 : 0);
  }
  return day * kSecondsInDay + change.time;
}

std::int64_t year_of(UnixTime time) {
  return civil_from_days(floor_div(time, kSecondsInDay)).year;
}

} // namespace

ZoneRules ZoneRules::fixed(std::int32_t offset) {
  ZoneRules rules;
  rules.first_offset_ = offset;
  return rules;
}

std::optional<ZoneRules> ZoneRules::parsed(std::span<const std::uint8_t> file) {
  std::optional<Block> block = block_at(file, 0, 4);
  const bool has_wide_block = block && file[4] >= '2';
  const std::size_t time_width = has_wide_block ? 8 : 4;
  if (has_wide_block)
    block = block_at(file, block->end, time_width);
  if (!block)
    return std::nullopt;

  const auto offset_of = [&](std::size_t type) {
    return static_cast<std::int32_t>(number_at(file, block->types_at + 6 * type, 4));
  };
  ZoneRules rules = fixed(offset_of(0));
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
    const std::string_view footer = text_of(file.subspan(block->end + 1));
    rules.rule_ = RuleReader(footer.substr(0, footer.find('\n'))).rule();
  }
  return rules;
}

std::optional<ZoneRules> ZoneRules::spelled(std::string_view text) {
  const std::optional<YearlyRule> rule = RuleReader(text).rule();
  if (!rule)
    return std::nullopt;
  ZoneRules rules = fixed(rule->standard);
  rules.rule_ = rule;
  return rules;
}

std::int32_t ZoneRules::offset_at(UnixTime time) const {
  const auto next = std::ranges::upper_bound(table_, time, {}, &Transition::time);
  if (next == table_.end() && rule_) {
    constexpr UnixTime kTwoYears = 731 * kSecondsInDay;
    if (const auto recent = transitions_between(time - kTwoYears, time); !recent.empty())
      return recent.back().offset;
  }
  return next == table_.begin() ? first_offset_ : std::prev(next)->offset;
}

std::vector<Transition> ZoneRules::transitions_between(UnixTime from, UnixTime to) const {
  std::vector<Transition> found;
  auto next = std::ranges::upper_bound(table_, from, {}, &Transition::time);
  for (; next != table_.end() && next->time <= to; ++next)
    found.push_back(*next);
  if (next == table_.end() && rule_ && rule_->summer != rule_->standard) {
    const UnixTime table_end = table_.empty() ? from : std::max(from, table_.back().time);
    // A day of a local year may lie in the year before or after it in UTC.
    for (std::int64_t year = year_of(table_end) - 1; year <= year_of(to) + 1; ++year) {
      Transition first{local_seconds(rule_->to_summer, year) - rule_->standard, rule_->summer};
      Transition second{local_seconds(rule_->to_standard, year) - rule_->summer, rule_->standard};
      if (second.time < first.time)
        std::swap(first, second);
      for (const Transition &transition : {first, second})
        if (transition.time > table_end && transition.time <= to)
          found.push_back(transition);
    }
  }
  return found;
}

} // namespace veltro::host
