#import <VeltroHost/VeltroHost.h>

#include "frameworks/BackBoardServices/assertions.hpp"
#include "machine/apps/app_process.hpp"

namespace {

std::string text_of(NSString *string) {
  const char *const text = [string UTF8String];
  return text != nullptr ? text : "";
}

} // namespace

extern "C" {

NSArray *VHProcessesOfApp(NSString *identifier) {
  NSMutableArray *const processes = [NSMutableArray array];
  for (const pid_t process : veltro::host::app_processes(text_of(identifier)))
    [processes addObject:[NSNumber numberWithInt:process]];
  return processes;
}

NSString *VHLaunchObstacle(NSString *identifier) {
  const std::string obstacle = veltro::host::launch_obstacle(text_of(identifier));
  return obstacle.empty() ? nil : [NSString stringWithUTF8String:obstacle.c_str()];
}

BOOL VHIsKeptAlive(NSString *identifier) {
  return veltro::host::is_kept_alive(text_of(identifier)) ? YES : NO;
}

} // extern "C"
