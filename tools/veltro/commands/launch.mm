// veltro launch: starts an app in the background, as the library's components do.

#include "commands.hpp"
#include "io/exit.hpp"
#include "io/json.hpp"
#include "io/launching.hpp"
#include "io/messenger.hpp"

#import <VeltroHost/VeltroHost.h>

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>

namespace veltro::tool {
namespace {

struct Options {
  bool json = false;
  std::string identifier;
};

int launch(const Options &options) {
  NSString *const identifier = [NSString stringWithUTF8String:options.identifier.c_str()];
  const std::string what = "cannot launch " + options.identifier + ": ";
  if (NSString *const obstacle = VHLaunchObstacle(identifier); obstacle != nil)
    return failure(what + [obstacle UTF8String] +
                   (options.identifier == kMessagingApp ? how_to_have_one() : ""));
  launch_in_background(identifier);
  NSNumber *const process = [VHProcessesOfApp(identifier) firstObject];
  if (process == nil)
    return failure(what + "it does not run");
  if (options.json)
    std::cout << "{\"identifier\": " << json_string(options.identifier)
              << ", \"process\": " << [process intValue] << "}\n";
  else
    std::cout << [process intValue] << '\n';
  return flushed(0);
}

} // namespace

void add_launch(CLI::App &app, Action &run) {
  CLI::App *command =
      app.add_subcommand("launch", "Start an app in the background and print its process id");
  const auto options = std::make_shared<Options>();
  command->add_option("ID", options->identifier, "The bundle identifier")->required();
  command->add_flag("--json", options->json, "Print one JSON object");
  command->callback([options, &run] { run = [options] { return launch(*options); }; });
}

} // namespace veltro::tool
