// One function a subcommand: it adds the subcommand with its options to the tool and sets `run`
// when the subcommand was chosen. Nothing runs while the command line is still being read.
#pragma once

#include <functional>

namespace CLI {
class App;
}

namespace veltro::tool {

/// What the command line chose; returns the exit status.
using Action = std::function<int()>;

void add_apps(CLI::App &app, Action &run);
void add_base64(CLI::App &app, Action &run);
void add_chat(CLI::App &app, Action &run);
void add_date(CLI::App &app, Action &run);
void add_info(CLI::App &app, Action &run);
void add_keep_alive(CLI::App &app, Action &run);
void add_keychain(CLI::App &app, Action &run);
void add_label(CLI::App &app, Action &run);
void add_launch(CLI::App &app, Action &run);
void add_messenger(CLI::App &app, Action &run);
void add_new(CLI::App &app, Action &run);
void add_ps(CLI::App &app, Action &run);
void add_round(CLI::App &app, Action &run);
void add_send(CLI::App &app, Action &run);
void add_vibrate(CLI::App &app, Action &run);
void add_view(CLI::App &app, Action &run);

} // namespace veltro::tool
