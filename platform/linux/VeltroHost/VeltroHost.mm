#import <VeltroHost/VHTouches.h>
#import <VeltroHost/VeltroHost.h>

#include "frameworks/BackBoardServices/assertions.hpp"
#include "frameworks/UIKit/alert_buttons.h"
#include "frameworks/UIKit/animation_time.hpp"
#include "machine/apps/app_process.hpp"
#include "machine/root/device_root.hpp"
#include "machine/text/utf8.hpp"

extern "C" {

NSString *VHDeviceRoot(void) {
  return veltro::host::string_of(veltro::host::device_root());
}

NSArray *VHProcessesOfApp(NSString *identifier) {
  NSMutableArray *const processes = [NSMutableArray array];
  for (const pid_t process : veltro::host::app_processes(veltro::host::utf8_of(identifier)))
    [processes addObject:[NSNumber numberWithInt:process]];
  return processes;
}

NSString *VHLaunchObstacle(NSString *identifier) {
  const std::string obstacle = veltro::host::launch_obstacle(veltro::host::utf8_of(identifier));
  return obstacle.empty() ? nil : veltro::host::string_of(obstacle);
}

BOOL VHIsKeptAlive(NSString *identifier) {
  return veltro::host::is_kept_alive(veltro::host::utf8_of(identifier)) ? YES : NO;
}

void VHSetAnimationTime(double seconds) {
  veltro::host::animations_stopped_at = seconds;
}

BOOL VHTap(UIView *view, CGPoint point) {
  if (![view isKindOfClass:[UIAlertView class]])
    return NO;
  UIAlertView *const alert = (UIAlertView *)view;
  const NSInteger index = [alert isVisible] ? [alert buttonIndexAtPoint:point] : -1;
  if (index < 0)
    return NO;
  if ([[alert delegate] respondsToSelector:@selector(alertView:clickedButtonAtIndex:)])
    [[alert delegate] alertView:alert clickedButtonAtIndex:index];
  [alert dismissWithClickedButtonIndex:index animated:YES];
  return YES;
}

} // extern "C"
