// Checks of what stands on the command line, which say in plain words what is wrong.
#pragma once

#include <string>

namespace CLI {
class Validator;
}

namespace veltro::tool {

/// A text that is not empty.
CLI::Validator text_check();

/// A whole number, 0 or more.
CLI::Validator count_check();

/// Longer than anyone waits.
constexpr double kMostSeconds = 1e9;

/// A number of seconds from `least` to `most`.
CLI::Validator seconds_check(double least, double most);

/// The number as people write it, without an exponent.
std::string number_text(double number);

/// A port that a server can have: 1 to 65535.
CLI::Validator port_check();

} // namespace veltro::tool
