#include "launching.hpp"

#include "main_queue.hpp"

#import <veltro/veltro.h>

namespace veltro::tool {

void launch_in_background(NSString *identifier) {
  [ZLTUtils launchApplication:identifier];
  constexpr int64_t kLaunchDelay = 100'000'000;
  run_main_queue_for(kLaunchDelay);
}

} // namespace veltro::tool
