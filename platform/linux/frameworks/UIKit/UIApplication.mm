// UIApplication: the shared application and the launching of others, which follows the system's
// home screen: they become detached processes. Whether one comes to the screen makes no difference
// on Linux. Delegates, events, windows, states and opening URLs are left out.

#import <UIKit/UIApplication.h>

#include "machine/apps/app_process.hpp"
#include "machine/log/log_line.hpp"
#include "machine/text/utf8.hpp"

@implementation UIApplication

+ (UIApplication *)sharedApplication {
  static UIApplication *const application = [[UIApplication alloc] init];
  return application;
}

- (BOOL)launchApplicationWithIdentifier:(NSString *)identifier suspended:(BOOL)suspended {
  const std::string name = veltro::host::utf8_of(identifier);
  const std::string problem = veltro::host::start_app(name);
  if (!problem.empty())
    veltro::host::log_line("App not launched: " + name + ": " + problem);
  return problem.empty() ? YES : NO;
}

@end
