#include "commands/commands.hpp"
#include "io/exit.hpp"
#include "io/in_pool.hpp"
#include "io/text_arguments.hpp"

#include <CLI/CLI.hpp>

int main(int argc, char **argv) {
  using namespace veltro::tool;
  if (!are_text(argc, argv))
    return usage_error("an argument is not UTF-8 text");

  CLI::App app("libveltro's facilities on the command line", "veltro");
  app.require_subcommand(1);

  Action run;
  add_apps(app, run);
  add_base64(app, run);
  add_chat(app, run);
  add_date(app, run);
  add_info(app, run);
  add_keep_alive(app, run);
  add_keychain(app, run);
  add_label(app, run);
  add_launch(app, run);
  add_ps(app, run);
  add_round(app, run);
  add_send(app, run);
  add_vibrate(app, run);
  add_view(app, run);

  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp &help) {
    return app.exit(help);
  } catch (const CLI::ParseError &error) {
    return usage_error(error.what());
  }
  return in_pool(run);
}
