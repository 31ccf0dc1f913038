// veltro ps: the process table as the library sees it.

#include "commands.hpp"
#include "io/checks.hpp"
#include "io/exit.hpp"
#include "io/json.hpp"

#import <veltro/UIDevice+ZLT.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iomanip>
#include <iostream>
#include <memory>

namespace veltro::tool {
namespace {

struct Options {
  std::string name;
  bool containing = false;
  bool json = false;
};

/// The same two tests as the library's: the whole name in any case, or a part of it in its own.
bool is_wanted(NSString *name, const Options &options) {
  if (options.name.empty())
    return true;
  NSString *const wanted = [NSString stringWithUTF8String:options.name.c_str()];
  return options.containing ? [name rangeOfString:wanted].length != 0
                            : [wanted caseInsensitiveCompare:name] == NSOrderedSame;
}

/// A process may call itself anything: control characters do not reach the terminal.
std::string printable(std::string name) {
  std::ranges::replace_if(
      name, [](char character) { return (character >= 0 && character < ' ') || character == 0x7f; },
      '?');
  return name;
}

int print_processes(const Options &options) {
  NSArray *const processes = [[UIDevice currentDevice] __zltRunningProcesses];
  if (processes == nil)
    return failure("the process table cannot be read");
  bool found = false;
  for (NSDictionary *process in processes) {
    NSString *const name = [process objectForKey:@"PROCESS_NAME"];
    if (!is_wanted(name, options))
      continue;
    const int identifier = [[process objectForKey:@"PROCESS_ID"] intValue];
    if (options.json) {
      std::cout << R"({"pid": )" << identifier << R"(, "name": )" << json_string([name UTF8String])
                << "}\n";
    } else {
      if (!found)
        std::cout << "    PID NAME\n";
      std::cout << std::setw(7) << identifier << ' ' << printable([name UTF8String]) << '\n';
    }
    found = true;
  }
  return found ? flushed(0) : failure("no such process: " + options.name);
}

} // namespace

void add_ps(CLI::App &app, Action &run) {
  CLI::App *command = app.add_subcommand("ps", "Show the processes of this machine, oldest first");
  const auto options = std::make_shared<Options>();
  command->add_option("NAME", options->name, "Only those of this command name, in any case")
      ->check(text_check());
  command->add_flag("--containing", options->containing,
                    "NAME may stand anywhere in the command name, in its own case");
  command->add_flag("--json", options->json, "Print one JSON object a process");
  command->callback([options, &run] { run = [options] { return print_processes(*options); }; });
}

} // namespace veltro::tool
