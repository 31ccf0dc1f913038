#include "checks.hpp"

#include <CLI/CLI.hpp>
#include <array>
#include <charconv>
#include <cstdint>

namespace veltro::tool {
namespace {

/// Whether the text is one number from `least` to `most`; "nan" is none.
template <typename Number> bool is_within(const std::string &text, Number least, Number most) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc{} && end == text.data() + text.size() && number >= least &&
         number <= most;
}

template <typename Number>
CLI::Validator check(Number least, Number most, const std::string &what) {
  return {[=](const std::string &text) {
            return is_within(text, least, most) ? "" : "'" + text + "' is not " + what;
          },
          "", "number"};
}

} // namespace

CLI::Validator text_check() {
  return {[](const std::string &text) { return text.empty() ? "must not be empty" : ""; }, "",
          "text"};
}

CLI::Validator count_check() {
  return check<std::int64_t>(0, INT64_MAX, "a whole number from 0");
}

CLI::Validator seconds_check(double least, double most) {
  return check(least, most,
               "a number of seconds from " + number_text(least) + " to " + number_text(most));
}

std::string number_text(double number) {
  std::array<char, 400> text{};
  const auto [end, error] =
      std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed);
  return {text.data(), end};
}

CLI::Validator port_check() {
  return check<long>(1, 65535, "a port from 1 to 65535");
}

} // namespace veltro::tool
