#include "whatsapp_processes.hpp"

#include "messenger.hpp"
#include "whole_file.hpp"

#import <VeltroHost/VeltroHost.h>
#import <veltro/UIDevice+ZLT.h>

#include <string_view>

namespace veltro::tool {
namespace {

/// The value of VELTRO_ROOT in the environment that a process was started with.
std::optional<std::string> root_of(pid_t process) {
  constexpr std::size_t kLongestEnvironment = std::size_t{1} << 24;
  constexpr std::string_view kName = "VELTRO_ROOT=";
  std::vector<std::uint8_t> environment;
  if (!read_whole_file("/proc/" + std::to_string(process) + "/environ", {kLongestEnvironment, "-"},
                       environment)
           .empty())
    return std::nullopt;
  std::string_view rest(reinterpret_cast<const char *>(environment.data()), environment.size());
  while (!rest.empty()) {
    std::string_view variable = rest.substr(0, rest.find('\0'));
    rest.remove_prefix(std::min(variable.size() + 1, rest.size()));
    if (!variable.starts_with(kName))
      continue;
    variable.remove_prefix(kName.size());
    while (variable.size() > 1 && variable.ends_with('/'))
      variable.remove_suffix(1);
    return std::string(variable);
  }
  return std::nullopt;
}

} // namespace

std::vector<WhatsAppProcess> whatsapp_processes() {
  std::vector<WhatsAppProcess> found;
  for (NSDictionary *const process in [[UIDevice currentDevice] __zltRunningProcesses]) {
    if ([[process objectForKey:@"PROCESS_NAME"] caseInsensitiveCompare:@"WhatsApp"] !=
        NSOrderedSame)
      continue;
    const pid_t number = [[process objectForKey:@"PROCESS_ID"] intValue];
    found.push_back({number, root_of(number)});
  }
  return found;
}

std::string description(const WhatsAppProcess &process) {
  return std::to_string(process.process) + (process.root ? " (root " + *process.root + ")" : "");
}

std::string what_is_in_the_way() {
  NSArray *const own = VHProcessesOfApp([NSString stringWithUTF8String:kMessagingApp]);
  const std::string root = [VHDeviceRoot() UTF8String];
  for (const WhatsAppProcess &process : whatsapp_processes())
    if (process.root != root && ![own containsObject:[NSNumber numberWithInt:process.process]])
      return "; process " + description(process) +
             " is named WhatsApp too: unshare --user --pid --fork --mount-proc gives each job its "
             "own processes";
  return "";
}

} // namespace veltro::tool
