// veltro apps: the apps installed under the device root.

#include "commands.hpp"
#include "io/exit.hpp"
#include "io/json.hpp"

#import <MobileCoreServices/LSApplicationProxy.h>
#import <MobileCoreServices/LSApplicationWorkspace.h>
#import <VeltroHost/VeltroHost.h>

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <utility>
#include <vector>

namespace veltro::tool {
namespace {

struct Options {
  bool json = false;
  std::string argument;
};

using Field = std::pair<const char *, NSString *>;

NSString *text(const std::string &string) {
  return [NSString stringWithUTF8String:string.c_str()];
}

std::string text(NSString *string) {
  const char *characters = [string UTF8String];
  return characters != nullptr ? characters : "";
}

std::vector<Field> fields_of(LSApplicationProxy *app) {
  return {
      {"identifier", [app applicationIdentifier]},
      {"type", [app applicationType]},
      {"name", [app localizedName]},
      {"version", [app shortVersionString]},
      {"bundle", [[app bundleURL] path]},
      {"executable", [app bundleExecutable]},
      {"container", [[app bundleContainerURL] path]},
      {"data", [[app dataContainerURL] path]},
  };
}

void print_json(const std::vector<Field> &fields) {
  std::string line;
  for (const auto &[name, value] : fields)
    line += (line.empty() ? "{" : ", ") + json_string(name) + ": " +
            (value != nil ? json_string(text(value)) : "null");
  std::cout << line << "}\n";
}

int finished() {
  return flushed(0);
}

/// Whether apps can be looked for; a root that does not exist yet simply holds none.
bool has_usable_root() {
  BOOL is_folder = YES;
  return ![[NSFileManager defaultManager] fileExistsAtPath:VHDeviceRoot() isDirectory:&is_folder] ||
         is_folder;
}

int no_usable_root() {
  return failure("the device root " + text(VHDeviceRoot()) + " is not a folder");
}

int list_apps(const Options &options) {
  if (!has_usable_root())
    return no_usable_root();
  for (LSApplicationProxy *app in
       [[LSApplicationWorkspace defaultWorkspace] allInstalledApplications]) {
    if (options.json)
      print_json(fields_of(app));
    else
      std::cout << text([app applicationIdentifier]) << '\t' << text([app applicationType]) << '\t'
                << text([app localizedName]) << '\n';
  }
  return finished();
}

int print_app(const Options &options) {
  if (!has_usable_root())
    return no_usable_root();
  LSApplicationProxy *app =
      [LSApplicationProxy applicationProxyForIdentifier:text(options.argument)];
  if (app == nil)
    return failure("no app is installed with the identifier " + options.argument);
  if (options.json)
    print_json(fields_of(app));
  else
    for (const auto &[name, value] : fields_of(app))
      if (value != nil)
        std::cout << name << ": " << text(value) << '\n';
  return finished();
}

std::string reason(NSError *error) {
  return text([error localizedDescription]);
}

int install_app(const Options &options) {
  NSError *error = nil;
  NSURL *bundle = [NSURL fileURLWithPath:text(options.argument)];
  if (![[LSApplicationWorkspace defaultWorkspace] installApplication:bundle
                                                         withOptions:nil
                                                               error:&error])
    return failure("cannot install " + options.argument + ": " + reason(error));
  return 0;
}

int remove_app(const Options &options) {
  NSError *error = nil;
  if (![[LSApplicationWorkspace defaultWorkspace] uninstallApplication:text(options.argument)
                                                           withOptions:nil
                                                                 error:&error])
    return failure("cannot remove: " + reason(error));
  return 0;
}

} // namespace

void add_apps(CLI::App &app, Action &run) {
  CLI::App *apps = app.add_subcommand("apps", "List, install and remove apps");
  apps->require_subcommand(1);
  const auto options = std::make_shared<Options>();
  apps->add_flag("--json", options->json, "Print one JSON object a line");

  const auto add = [&](const char *name, const char *help, int (*action)(const Options &)) {
    CLI::App *command = apps->add_subcommand(name, help);
    command->callback(
        [options, action, &run] { run = [options, action] { return action(*options); }; });
    return command;
  };
  CLI::App *list = add("list", "List the installed apps: identifier, type, name", list_apps);
  list->add_flag("--json", options->json, "Print one JSON object a line");
  CLI::App *info = add("info", "Show where an app lies", print_app);
  info->add_option("ID", options->argument, "The bundle identifier")->required();
  info->add_flag("--json", options->json, "Print one JSON object");
  add("install", "Install a copy of an app bundle, or replace the app with its identifier",
      install_app)
      ->add_option("PATH", options->argument, "The bundle, a folder NAME.app")
      ->required();
  add("remove", "Remove a user app and its data", remove_app)
      ->add_option("ID", options->argument, "The bundle identifier")
      ->required();
}

} // namespace veltro::tool
