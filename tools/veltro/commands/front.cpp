#include "front.hpp"

#include "io/nearest.hpp"

#include <CLI/CLI.hpp>
#include <array>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

namespace veltro::tool {
namespace {

using Pair = std::pair<std::string_view, std::string_view>;

constexpr std::array kVariables{
    Pair{"VELTRO_ROOT",
         "The device root (default: $XDG_DATA_HOME/veltro, or ~/.local/share/veltro)"},
    Pair{"VELTRO_SYSTEM_VERSION", "The release to play (default: 9.3.5)"},
    Pair{"VELTRO_SCREEN_SCALE", "Pixels a point: 1, 2 or 3 (default: 2)"},
    Pair{"VELTRO_LOG", "Where log lines go: stderr, syslog or off (default: stderr)"},
    Pair{"LANGUAGE", "The user's languages, best first, such as de:en (default: LC_ALL's, LANG's)"},
    Pair{"TZ", "The time zone (default: the system's)"},
    Pair{"DISPLAY", "The X server for the window"},
};

/// All read VELTRO_LOG.
const std::map<std::string, std::vector<std::string_view>, std::less<>> kReads{
    {"apps", {"VELTRO_ROOT"}},
    {"chat", {"VELTRO_ROOT", "TZ"}},
    {"date", {"TZ"}},
    {"info", {"VELTRO_ROOT", "VELTRO_SYSTEM_VERSION"}},
    {"keep-alive", {"VELTRO_ROOT"}},
    {"keychain", {"VELTRO_ROOT", "LANGUAGE"}},
    {"label", {"VELTRO_ROOT", "LANGUAGE"}},
    {"launch", {"VELTRO_ROOT"}},
    {"messenger", {"VELTRO_ROOT"}},
    {"round", {"VELTRO_SCREEN_SCALE"}},
    {"send", {"VELTRO_ROOT"}},
    {"vibrate", {"VELTRO_ROOT", "VELTRO_SYSTEM_VERSION"}},
    {"view", {"VELTRO_SYSTEM_VERSION", "VELTRO_SCREEN_SCALE", "LANGUAGE", "DISPLAY"}},
};

std::string environment_of(const std::string &command) {
  std::vector<std::string_view> read;
  if (const auto found = kReads.find(command); found != kReads.end())
    read = found->second;
  read.emplace_back("VELTRO_LOG");
  constexpr std::size_t kColumn = 28;
  std::string text = "Environment:";
  for (const auto &[name, meaning] : kVariables)
    if (std::ranges::find(read, name) != read.end())
      text.append("\n  ").append(name).append(kColumn - name.size(), ' ').append(meaning);
  return text;
}

std::vector<CLI::App *> subcommands(CLI::App &app) {
  return app.get_subcommands(std::function<bool(CLI::App *)>());
}

std::vector<std::string> option_names(const CLI::App &app) {
  std::vector<std::string> names;
  for (const CLI::Option *const option : app.get_options())
    for (const std::string &name : option->get_lnames())
      names.push_back("--" + name);
  return names;
}

void add_to(CLI::App &app, bool &quiet, const std::string &environment) {
  app.add_flag("-q,--quiet", quiet, "Leave the library's log lines out");
  const std::string footer = app.get_footer();
  if (!environment.empty())
    app.footer(footer + (footer.empty() ? "" : "\n\n") + environment);
  for (CLI::App *const command : subcommands(app))
    add_to(*command, quiet, environment);
}

} // namespace

void add_common(CLI::App &app, bool &quiet) {
  app.add_flag("-q,--quiet", quiet, "Leave the library's log lines out");
  for (CLI::App *const command : subcommands(app))
    add_to(*command, quiet, environment_of(command->get_name()));
}

std::string unknown_word(CLI::App &app, std::span<char *const> arguments) {
  CLI::App *command = &app;
  for (std::size_t at = 0; at < arguments.size(); ++at) {
    const std::string word = arguments[at];
    std::vector<std::string> names;
    for (CLI::App *const each : subcommands(*command))
      names.push_back(each->get_name());
    if (names.empty())
      return "";
    const bool is_option = word.starts_with('-');
    if (is_option) {
      if (command->get_option_no_throw(word) != nullptr)
        continue;
      // Whether a word that follows belongs to it is not known of an unknown one.
      if (at + 1 < arguments.size())
        return "";
      names = option_names(*command);
    }
    if (std::ranges::find(names, word) == names.end()) {
      const std::string full_name = (command == &app ? "" : " " + command->get_name());
      const std::string meant = nearest(word, names);
      return "'" + word + "' is no " + (is_option ? "option" : "command") +
             (full_name.empty() ? "" : " of" + full_name) +
             (meant.empty() ? "; veltro" + full_name + " --help lists them"
                            : "; did you mean '" + meant + "'?");
    }
    command = command->get_subcommand(word);
  }
  return "";
}

} // namespace veltro::tool
