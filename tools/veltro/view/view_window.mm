#include "view_window.hpp"

#include "io/exit.hpp"
#include "shown_view.hpp"
#include "x11_window.hpp"

#import <VeltroHost/VHTouches.h>

#include <iostream>

/// Notes by which button an alert was dismissed.
@interface VTDismissal : NSObject <UIAlertViewDelegate> {
@public
  NSString *button_;
}
@end

@implementation VTDismissal

- (void)alertView:(UIAlertView *)alert didDismissWithButtonIndex:(NSInteger)index {
  button_ = [[alert buttonTitleAtIndex:index] copy];
}

- (void)dealloc {
  [button_ release];
  [super dealloc];
}

@end

namespace veltro::tool {
namespace {

/// Draws the view as it is now.
void draw(UIView *view, X11Window &window) {
  UIImage *const image = image_of(view);
  const CGImageRef pixels = [image CGImage];
  NSData *const bytes =
      [(NSData *)CGDataProviderCopyData(CGImageGetDataProvider(pixels)) autorelease];
  if (bytes != nil)
    window.show(static_cast<const unsigned char *>([bytes bytes]),
                static_cast<int>(CGImageGetBytesPerRow(pixels)));
}

/// Until the user has enough of it; returns the exit status.
int run(const std::string &title, UIView *view, const VTDismissal *dismissal) {
  const CGImageRef first = [image_of(view) CGImage];
  if (first == nullptr)
    return failure("there is no memory for the picture");
  const auto window = X11Window::open(title, static_cast<int>(CGImageGetWidth(first)),
                                      static_cast<int>(CGImageGetHeight(first)));
  if (window == nullptr)
    return failure("there is no display to open a window on; DISPLAY must name one");

  // Several times in each step of the spinner.
  constexpr std::chrono::milliseconds kFrameTime{25};
  const CGFloat scale = [[UIScreen mainScreen] scale];
  while (dismissal->button_ == nil) {
    @autoreleasepool {
      draw(view, *window);
      const X11Window::Event event = window->wait(kFrameTime);
      if (event.kind == X11Window::Kind::close)
        break;
      if (event.kind == X11Window::Kind::click)
        VHTap(view, CGPointMake(event.x / scale, event.y / scale));
    }
  }
  if (dismissal->button_ != nil)
    std::cout << [dismissal->button_ UTF8String] << '\n';
  return 0;
}

} // namespace

int show_in_window(const ViewOptions &options, CGSize size) {
  VTDismissal *const dismissal = [[[VTDismissal alloc] init] autorelease];
  UIView *const view = make_view(options, size, dismissal);
  const int status = run("veltro " + options.kind, view, dismissal);
  put_away(view);
  return status;
}

} // namespace veltro::tool
