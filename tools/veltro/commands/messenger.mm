// veltro messenger: the reference messenger on the device root.

#include "io/messenger.hpp"
#include "commands.hpp"
#include "io/exit.hpp"
#include "io/launching.hpp"

#import <MobileCoreServices/LSApplicationProxy.h>
#import <MobileCoreServices/LSApplicationWorkspace.h>
#import <VeltroHost/VeltroHost.h>

#include <CLI/CLI.hpp>
#include <array>
#include <csignal>
#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>
#include <set>
#include <unistd.h>

namespace veltro::tool {
namespace {

namespace fs = std::filesystem;

NSString *app() {
  return [NSString stringWithUTF8String:kMessagingApp];
}

std::string reason(NSError *error) {
  return [[error localizedDescription] UTF8String];
}

/// Looks again and again for as long as starting or ending may take.
bool comes_true(const std::function<bool()> &what) {
  constexpr int kLooks = 1000;
  constexpr useconds_t kBetween = 20'000;
  for (int look = 0; look < kLooks; ++look) {
    @autoreleasepool {
      if (what())
        return true;
    }
    usleep(kBetween);
  }
  return false;
}

/// The app's bundle as it was built or installed beside this program; empty where it was not.
std::string bundle_beside_the_tool() {
  std::error_code error;
  const fs::path here = fs::read_symlink("/proc/self/exe", error).parent_path();
  for (const char *const place : {"../share/WhatsApp.app", VELTRO_INSTALLED_MESSENGER})
    if (const fs::path bundle = (here / place).lexically_normal(); fs::exists(bundle, error))
      return bundle.string();
  return "";
}

/// Installs the app where the device root has none; what went wrong, or nothing.
std::string install_where_missing() {
  if ([LSApplicationProxy applicationProxyForIdentifier:app()] != nil)
    return "";
  const std::string bundle = bundle_beside_the_tool();
  if (bundle.empty())
    return "WhatsApp.app is neither installed on the device root nor with this program";
  NSError *error = nil;
  NSURL *const source = [NSURL fileURLWithPath:[NSString stringWithUTF8String:bundle.c_str()]];
  return [[LSApplicationWorkspace defaultWorkspace] installApplication:source
                                                           withOptions:nil
                                                                 error:&error]
             ? ""
             : "cannot install " + bundle + ": " + reason(error);
}

/// The messenger's processes of this root: the app's, and one that was started by hand.
std::set<pid_t> processes() {
  std::set<pid_t> found;
  for (NSNumber *const process in VHProcessesOfApp(app()))
    found.insert([process intValue]);
  if (const auto messenger = serving_messenger())
    found.insert(messenger->process);
  return found;
}

int print(const std::optional<ServingMessenger> &messenger, bool as_json) {
  if (as_json && messenger)
    std::cout << R"({"running": true, "pid": )" << messenger->process << R"(, "port": )"
              << messenger->port << "}\n";
  else if (as_json)
    std::cout << R"({"running": false, "pid": null, "port": null})"
              << "\n";
  else if (messenger)
    std::cout << "running: pid " << messenger->process << ", port " << messenger->port << '\n';
  else
    std::cout << "not running\n";
  return flushed(0);
}

int status(bool as_json) {
  const auto messenger = serving_messenger();
  const int printed = print(messenger, as_json);
  return messenger ? printed : 1;
}

int start(bool as_json) {
  auto messenger = serving_messenger();
  if (!messenger) {
    if (const std::string problem = install_where_missing(); !problem.empty())
      return failure(problem);
    if (NSString *const obstacle = VHLaunchObstacle(app()); obstacle != nil)
      return failure("cannot launch " + std::string(kMessagingApp) + ": " + [obstacle UTF8String]);
    launch_in_background(app());
    comes_true([&] {
      messenger = serving_messenger();
      return messenger || processes().empty();
    });
  }
  return messenger ? print(messenger, as_json)
                   : failure("the messenger was launched, and does not serve");
}

int stop(bool as_json) {
  for (const pid_t process : processes()) {
    kill(process, SIGTERM);
    kill(process, SIGCONT); // a stopped one ends as well
  }
  if (!comes_true([] { return processes().empty(); }))
    return failure("process " + std::to_string(*processes().begin()) + " does not end");
  return print(std::nullopt, as_json);
}

} // namespace

void add_messenger(CLI::App &app, Action &run) {
  CLI::App *const messenger = app.add_subcommand(
      "messenger", "Start and stop the reference messenger on the device root, or say whether it "
                   "serves, which is also what no subcommand means");
  messenger->require_subcommand(0, 1);
  const auto as_json = std::make_shared<bool>(false);
  messenger->add_flag("--json", *as_json, "Print one JSON object");
  const auto add = [&](const char *name, const char *help, int (*action)(bool)) {
    CLI::App *const command = messenger->add_subcommand(name, help);
    command->add_flag("--json", *as_json, "Print one JSON object");
    command->callback([=, &run] { run = [=] { return action(*as_json); }; });
  };
  add("start", "Install the app where it is missing, launch it, and wait until it serves", start);
  add("stop", "End it, and wait until it has ended", stop);
  add("status", "Print its process and port, with status 0, or that it does not run, with 1",
      status);
  messenger->final_callback([=, &run] {
    if (messenger->get_subcommands().empty())
      run = [=] { return status(*as_json); };
  });
}

} // namespace veltro::tool
