// veltro info: what device this machine plays.

#include "commands.hpp"
#include "io/exit.hpp"
#include "io/json.hpp"
#include "io/whatsapp_processes.hpp"

#import <VeltroHost/VeltroHost.h>
#import <veltro/UIDevice+ZLT.h>
#import <veltro/ZLTUtils+ProcessTable.h>
#import <veltro/ZLTUtils+System.h>

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <vector>

namespace veltro::tool {
namespace {

struct Fact {
  std::string name;
  std::string text; ///< for people; empty where there is none
  std::string json;
};

Fact fact(const char *name, NSString *value) {
  if (value == nil)
    return {name, "", "null"};
  return {name, [value UTF8String], json_string([value UTF8String])};
}

Fact fact(const char *name, bool value) {
  return {name, value ? "yes" : "no", value ? "true" : "false"};
}

/// The model, or nil where the machine does not tell it.
NSString *model() {
  NSString *const text = [ZLTUtils platform];
  return [text length] == 0 ? nil : text;
}

/// Which processes they are, each with its root where that is known.
Fact fact_of_processes() {
  Fact fact{"whatsapp_processes", "", ""};
  for (const WhatsAppProcess &each : whatsapp_processes()) {
    fact.text += (fact.text.empty() ? "" : ", ") + description(each);
    fact.json += (fact.json.empty() ? R"({"pid": )" : R"(, {"pid": )") +
                 std::to_string(each.process) + R"(, "root": )" +
                 (each.root ? json_string(*each.root) : "null") + "}";
  }
  fact.json = "[" + fact.json + "]";
  return fact;
}

int print_info(bool as_json) {
  UIDevice *const device = [UIDevice currentDevice];
  const std::vector<Fact> facts{
      fact("release", [device systemVersion]),
      fact("ios8", [ZLTUtils isIOS8] != NO),
      fact("ios8_2", [ZLTUtils isIOS8_2] != NO),
      fact("ios9", [ZLTUtils isIOS9] != NO),
      fact("model", model()),
      fact("udid", [device UDID]),
      fact("serial", [device serialNumber]),
      fact("root", VHDeviceRoot()),
      fact("whatsapp_running", [ZLTUtils isWhatsAppRunning] != NO),
      fact_of_processes(),
  };
  if (as_json) {
    std::string line;
    for (const auto &[name, text, json] : facts)
      line += (line.empty() ? "{" : ", ") + json_string(name) + ": " + json;
    std::cout << line << "}\n";
  } else {
    for (const auto &[name, text, json] : facts)
      std::cout << name << ": " << (text.empty() ? "-" : text) << '\n';
  }
  return flushed(0);
}

} // namespace

void add_info(CLI::App &app, Action &run) {
  CLI::App *command = app.add_subcommand("info", "Show what device this machine plays");
  const auto as_json = std::make_shared<bool>(false);
  command->add_flag("--json", *as_json, "Print one JSON object");
  command->callback([as_json, &run] { run = [as_json] { return print_info(*as_json); }; });
}

} // namespace veltro::tool
