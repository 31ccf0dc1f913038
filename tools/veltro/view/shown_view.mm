#include "shown_view.hpp"

#include "animated_png.hpp"

#import <QuartzCore/QuartzCore.h>
#import <VeltroHost/VeltroHost.h>
#import <veltro/veltro.h>

#include <cmath>

namespace veltro::tool {
namespace {

NSString *string_of(const std::string &text) {
  return text.empty() ? nil : [NSString stringWithUTF8String:text.c_str()];
}

} // namespace

UIView *make_view(const ViewOptions &options, CGSize size, id delegate) {
  if (options.kind == "loading")
    return [[[ZLTLoadingView alloc] initWithFrame:CGRectMake(0, 0, size.width, size.height)]
        autorelease];
  ZLTActivityAlertView *const alert =
      [[[ZLTActivityAlertView alloc] initWithTitle:string_of(options.title)
                                           message:string_of(options.message)
                                          delegate:delegate
                                 cancelButtonTitle:nil
                                 otherButtonTitles:nil] autorelease];
  for (const std::string &title : options.buttons)
    [alert addButtonWithTitle:[NSString stringWithUTF8String:title.c_str()]];
  [alert show];
  return alert;
}

void put_away(UIView *view) {
  if (![view isKindOfClass:[ZLTActivityAlertView class]])
    return;
  [(ZLTActivityAlertView *)view setDelegate:nil];
  [(ZLTActivityAlertView *)view close];
}

UIImage *image_of(UIView *view) {
  UIGraphicsBeginImageContextWithOptions([view bounds].size, NO, 0);
  CGContextRef context = UIGraphicsGetCurrentContext();
  if (context != nullptr)
    [[view layer] renderInContext:context];
  UIImage *const image = UIGraphicsGetImageFromCurrentImageContext();
  UIGraphicsEndImageContext();
  return image;
}

std::vector<std::uint8_t> png_of(UIView *view) {
  UIImage *const image = image_of(view);
  NSData *const png = image != nil ? UIImagePNGRepresentation(image) : nil;
  const auto *const bytes = static_cast<const std::uint8_t *>([png bytes]);
  return {bytes, bytes + [png length]};
}

std::vector<std::uint8_t> whole_turn_of(UIView *view, double from) {
  // The spinner goes round in a second, by twelve steps.
  constexpr std::uint16_t kSteps = 12;
  std::vector<std::vector<std::uint8_t>> frames;
  const double first = std::floor(from * kSteps);
  for (int step = 0; step < kSteps; ++step) {
    @autoreleasepool {
      // In the middle of each step, so that no rounding shows one twice.
      VHSetAnimationTime((first + step + 0.5) / kSteps);
      frames.push_back(png_of(view));
    }
  }
  return animated_png(frames, kSteps);
}

} // namespace veltro::tool
