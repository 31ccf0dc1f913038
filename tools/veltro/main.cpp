#include "commands/commands.hpp"
#include "commands/front.hpp"
#include "io/exit.hpp"
#include "io/in_pool.hpp"
#include "io/quiet.hpp"
#include "io/text_arguments.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstring>
#include <ranges>
#include <span>
#include <string>
#include <vector>

namespace {

using namespace veltro::tool;

void add_commands(CLI::App &app, Action &run) {
  add_apps(app, run);
  add_base64(app, run);
  add_chat(app, run);
  add_date(app, run);
  add_info(app, run);
  add_keep_alive(app, run);
  add_keychain(app, run);
  add_label(app, run);
  add_launch(app, run);
  add_messenger(app, run);
  add_new(app, run);
  add_ps(app, run);
  add_round(app, run);
  add_send(app, run);
  add_vibrate(app, run);
  add_view(app, run);
}

/// `veltro help COMMAND...` is `veltro COMMAND... --help`.
std::vector<char *> words_of(std::span<char *> arguments) {
  static std::string help = "--help";
  std::vector<char *> words(arguments.begin(), arguments.end());
  auto after_name = words | std::views::drop(1);
  const auto command =
      std::ranges::find_if(after_name, [](const char *word) { return *word != '-'; });
  if (command != after_name.end() && std::strcmp(*command, "help") == 0) {
    words.erase(command);
    words.push_back(help.data());
  }
  return words;
}

} // namespace

int main(int argc, char **argv) {
  if (!are_text(argc, argv))
    return usage_error("an argument is not UTF-8 text");

  CLI::App app("libveltro's facilities on the command line", "veltro");
  app.require_subcommand(1);
  app.set_version_flag("-V,--version", "veltro " VELTRO_VERSION);
  Action run;
  add_commands(app, run);
  // After the commands, which would take it over.
  app.footer("veltro help COMMAND shows the options of a command and the variables that it reads.\n"
             "Exit status: 0; 1 where the operation failed or its result is no; 2 where the\n"
             "command line or a variable makes no sense.");
  bool quiet = false;
  add_common(app, quiet);

  const std::vector<char *> words = words_of({argv, static_cast<std::size_t>(argc)});
  const auto unknown = [&] { return unknown_word(app, std::span(words).subspan(1)); };
  try {
    app.parse(static_cast<int>(words.size()), words.data());
  } catch (const CLI::Success &wish) {
    const std::string problem = unknown();
    return problem.empty() ? flushed(app.exit(wish)) : usage_error(problem);
  } catch (const CLI::ParseError &error) {
    const std::string problem = unknown();
    return usage_error(problem.empty() ? error.what() : problem);
  }
  if (quiet)
    leave_log_lines_out();
  return in_pool(run);
}
