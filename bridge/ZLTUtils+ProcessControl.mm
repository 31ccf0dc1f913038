#import <veltro/UIDevice+ZLT.h>
#import <veltro/ZLTUtils+ProcessControl.h>
#import <veltro/ZLTUtils+ProcessTable.h>

#import <BackBoardServices/BackBoardServices.h>
#import <UIKit/UIApplication+Launching.h>
#include <dispatch/dispatch.h>
#include <utility>

namespace {

NSString *const kMessagingApp = @"net.whatsapp.WhatsApp";
constexpr int64_t kLaunchDelay = 100'000'000; // nanoseconds

constexpr unsigned kAssertionFlags = 15;
constexpr unsigned kAssertionReason = 7;

BKSProcessAssertion *held_assertion = nil;

void launch_in_background(NSString *identifier) {
  [[UIApplication sharedApplication] launchApplicationWithIdentifier:identifier suspended:YES];
}

} // namespace

@implementation ZLTUtils (ProcessControl)

+ (void)launchApplication:(NSString *)identifier {
  NSLog(@"Trying to launch Whatsapp...");
  dispatch_after(dispatch_time(DISPATCH_TIME_NOW, kLaunchDelay), dispatch_get_main_queue(), ^{
    launch_in_background(identifier);
  });
}

+ (void)launchWhatsApp {
  if (![self isWhatsAppRunning])
    [self launchApplication:kMessagingApp];
}

+ (void)launchWhatsAppOnMainThread {
  if ([self isWhatsAppRunning])
    return;
  if ([NSThread isMainThread])
    launch_in_background(kMessagingApp);
  else
    dispatch_sync(dispatch_get_main_queue(), ^{
      launch_in_background(kMessagingApp);
    });
}

+ (void)startProcessAssertion {
  for (bool found = false; !found;) {
    // A pool for each try: they may continue for ever, and each reads the whole process table.
    // Released by hand: an exception of the launch leaves it to the caller's pool, and so stays
    // alive. The class by name, since @autoreleasepool asks for different symbols in the two
    // builds.
    NSAutoreleasePool *const pool = [[NSAutoreleasePool alloc] init];
    // Looser than the running check on purpose: a helper of the app will do.
    found = [[UIDevice currentDevice] __zltGetPIDForProcess:@"WhatsApp"] >= 1;
    if (!found)
      [self launchWhatsAppOnMainThread];
    [pool release];
  }
  [self stopProcessAssertion];
  held_assertion = [[BKSProcessAssertion alloc]
      initWithBundleIdentifier:kMessagingApp
                         flags:kAssertionFlags
                        reason:kAssertionReason
                          name:kMessagingApp
                   withHandler:^(BOOL /*acquired*/) {
                     NSLog(@"************** Assertion started for WhatsApp ***************");
                   }];
}

+ (void)stopProcessAssertion {
  if (held_assertion == nil)
    return;
  [held_assertion invalidate];
  [std::exchange(held_assertion, nil) release];
  NSLog(@"************** Assertion invlidated for WhatsApp ***************");
}

@end
