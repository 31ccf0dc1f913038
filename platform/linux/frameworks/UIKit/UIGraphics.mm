// The stack of contexts and the image contexts. Follows Apple's UIKit function reference; PDF
// contexts, printing and the other rectangle functions are left out.

#import <UIKit/UIGraphics.h>
#import <UIKit/UIImage.h>
#import <UIKit/UIScreen.h>

#include "frameworks/CoreGraphics/context.hpp"
#include "frameworks/CoreGraphics/image.hpp"

#include <utility>
#include <vector>

namespace {

/// The contexts of one thread. Those that a thread leaves behind go with it.
class Stack {
public:
  Stack() = default;
  ~Stack() {
    for (const Entry &entry : entries_)
      CGContextRelease(entry.context);
  }
  Stack(const Stack &) = delete;
  Stack &operator=(const Stack &) = delete;

  /// Adopts the caller's reference.
  void push(CGContextRef context, bool for_image, CGFloat scale) {
    entries_.push_back({context, for_image, scale});
  }

  void pop() {
    if (!entries_.empty()) {
      CGContextRelease(entries_.back().context);
      entries_.pop_back();
    }
  }

  [[nodiscard]] CGContextRef top() const {
    return entries_.empty() ? nullptr : entries_.back().context;
  }
  [[nodiscard]] bool top_is_for_image() const {
    return !entries_.empty() && entries_.back().for_image;
  }
  [[nodiscard]] CGFloat scale() const { return entries_.back().scale; }

private:
  struct Entry {
    CGContextRef context;
    bool for_image;
    CGFloat scale;
  };
  std::vector<Entry> entries_;
};

thread_local Stack stack;

} // namespace

extern "C" {

CGContextRef UIGraphicsGetCurrentContext(void) {
  return stack.top();
}

void UIGraphicsPushContext(CGContextRef context) {
  stack.push(CGContextRetain(context), false, 1);
}

void UIGraphicsPopContext(void) {
  stack.pop();
}

void UIGraphicsBeginImageContext(CGSize size) {
  UIGraphicsBeginImageContextWithOptions(size, NO, 1);
}

void UIGraphicsBeginImageContextWithOptions(CGSize size, BOOL opaque, CGFloat scale) {
  const CGFloat pixels = scale == 0 ? [[UIScreen mainScreen] scale] : scale;
  stack.push(veltro::host::create_uikit_context(size, opaque != NO, pixels), true, pixels);
}

UIImage *UIGraphicsGetImageFromCurrentImageContext(void) {
  if (!stack.top_is_for_image() || stack.top() == nullptr)
    return nil;
  const CGImageRef image =
      veltro::host::create_image(veltro::host::context_of(stack.top())->pixels());
  UIImage *const result = [UIImage imageWithCGImage:image
                                              scale:stack.scale()
                                        orientation:UIImageOrientationUp];
  CGImageRelease(image);
  return result;
}

void UIGraphicsEndImageContext(void) {
  if (stack.top_is_for_image())
    stack.pop();
}

void UIRectFill(CGRect rect) {
  CGContextFillRect(UIGraphicsGetCurrentContext(), rect);
}

} // extern "C"
