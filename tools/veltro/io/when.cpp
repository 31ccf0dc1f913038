#include "when.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace veltro::tool {
namespace {

std::optional<double> number(const std::string &text) {
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc{} || end != text.data() + text.size() || !std::isfinite(value))
    return std::nullopt;
  return value;
}

} // namespace

std::optional<double> parse_time(const std::string &text) {
  if (const std::optional<double> seconds = number(text))
    return seconds;
  tm parts{};
  const char *rest = strptime(text.c_str(), "%Y-%m-%d", &parts);
  if (rest == nullptr)
    return std::nullopt;
  double fraction = 0;
  if (*rest != '\0') {
    rest = strptime(rest, "T%H:%M:%S", &parts);
    if (rest == nullptr)
      return std::nullopt;
    std::string tail = rest;
    if (tail.empty() || tail.back() != 'Z')
      return std::nullopt;
    tail.pop_back();
    if (!tail.empty()) {
      const std::optional<double> read = tail.front() == '.' ? number("0" + tail) : std::nullopt;
      if (!read)
        return std::nullopt;
      fraction = *read;
    }
  }
  return static_cast<double>(timegm(&parts)) + fraction;
}

std::string time_text(double seconds_since_1970) {
  constexpr double year_1 = -62135596800;
  constexpr double last_of_9999 = 253402300799.999;
  const double milliseconds =
      std::round(std::clamp(seconds_since_1970, year_1, last_of_9999) * 1000);
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
