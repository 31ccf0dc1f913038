// What all subcommands have in common on the command line.
#pragma once

#include <span>
#include <string>

namespace CLI {
class App;
}

namespace veltro::tool {

/// Gives the tool and every subcommand of it -q, which sets `quiet`, and names in the help of each
/// the variables that it reads.
void add_common(CLI::App &app, bool &quiet);

/// What is wrong where a word that stands for a subcommand is none, or the last word for an option
/// before one; empty where that is not it.
std::string unknown_word(CLI::App &app, std::span<char *const> arguments);

} // namespace veltro::tool
