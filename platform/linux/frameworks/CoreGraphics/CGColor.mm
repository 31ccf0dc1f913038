// Colours and colour spaces. Follows Apple's CGColor and CGColorSpace references; patterns,
// calibrated and indexed spaces and the conversion between spaces are left out.

#include <CoreGraphics/CGColor.h>

#import <Foundation/Foundation.h>

#include <algorithm>
#include <array>

namespace {

/// A colour is its components.
NSData *data_of(CGColorRef color) {
  return reinterpret_cast<NSData *>(color);
}

/// A colour space is the number of its components: there is nothing else to tell about it.
NSNumber *number_of(CGColorSpaceRef space) {
  return reinterpret_cast<NSNumber *>(space);
}

} // namespace

extern "C" {

CGColorSpaceRef CGColorSpaceCreateDeviceGray(void) {
  static NSNumber *const gray = [[NSNumber alloc] initWithInt:1];
  return reinterpret_cast<CGColorSpaceRef>([gray retain]);
}

CGColorSpaceRef CGColorSpaceCreateDeviceRGB(void) {
  static NSNumber *const rgb = [[NSNumber alloc] initWithInt:3];
  return reinterpret_cast<CGColorSpaceRef>([rgb retain]);
}

CGColorSpaceRef CGColorSpaceRetain(CGColorSpaceRef space) {
  return reinterpret_cast<CGColorSpaceRef>([number_of(space) retain]);
}

void CGColorSpaceRelease(CGColorSpaceRef space) {
  [number_of(space) release];
}

CGColorSpaceModel CGColorSpaceGetModel(CGColorSpaceRef space) {
  if (space == nullptr)
    return kCGColorSpaceModelUnknown;
  return [number_of(space) intValue] == 3 ? kCGColorSpaceModelRGB : kCGColorSpaceModelMonochrome;
}

size_t CGColorSpaceGetNumberOfComponents(CGColorSpaceRef space) {
  return [number_of(space) unsignedLongValue];
}

CGColorRef CGColorCreate(CGColorSpaceRef space, const CGFloat *components) {
  if (space == nullptr || components == nullptr)
    return nullptr;
  const size_t count = CGColorSpaceGetNumberOfComponents(space) + 1;
  std::array<CGFloat, 4> bounded;
  std::transform(components, components + count, bounded.begin(),
                 [](CGFloat value) { return value > 0 ? std::min<CGFloat>(value, 1) : 0; });
  return reinterpret_cast<CGColorRef>([[NSData alloc] initWithBytes:bounded.data()
                                                             length:count * sizeof(CGFloat)]);
}

CGColorRef CGColorCreateCopyWithAlpha(CGColorRef color, CGFloat alpha) {
  if (color == nullptr)
    return nullptr;
  const size_t count = CGColorGetNumberOfComponents(color);
  std::array<CGFloat, 4> components;
  std::copy_n(CGColorGetComponents(color), count, components.begin());
  components[count - 1] = alpha;
  return CGColorCreate(CGColorGetColorSpace(color), components.data());
}

CGColorRef CGColorRetain(CGColorRef color) {
  return reinterpret_cast<CGColorRef>([data_of(color) retain]);
}

void CGColorRelease(CGColorRef color) {
  [data_of(color) release];
}

bool CGColorEqualToColor(CGColorRef one, CGColorRef other) {
  return one == other || [data_of(one) isEqualToData:data_of(other)];
}

size_t CGColorGetNumberOfComponents(CGColorRef color) {
  return [data_of(color) length] / sizeof(CGFloat);
}

const CGFloat *CGColorGetComponents(CGColorRef color) {
  return static_cast<const CGFloat *>([data_of(color) bytes]);
}

CGFloat CGColorGetAlpha(CGColorRef color) {
  return color != nullptr ? CGColorGetComponents(color)[CGColorGetNumberOfComponents(color) - 1]
                          : 0;
}

CGColorSpaceRef CGColorGetColorSpace(CGColorRef color) {
  static const CGColorSpaceRef gray = CGColorSpaceCreateDeviceGray();
  static const CGColorSpaceRef rgb = CGColorSpaceCreateDeviceRGB();
  if (color == nullptr)
    return nullptr;
  return CGColorGetNumberOfComponents(color) == 2 ? gray : rgb;
}

} // extern "C"
