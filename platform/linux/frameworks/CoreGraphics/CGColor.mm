// Colours and colour spaces. Follows Apple's CGColor and CGColorSpace references; patterns,
// calibrated and indexed spaces and the conversion between spaces are left out.

#include <CoreGraphics/CGColor.h>

#import <Foundation/Foundation.h>

#include <algorithm>
#include <array>

/// The object behind a CGColorSpaceRef.
@interface VHColorSpace : NSObject {
@public
  CGColorSpaceModel model_;
}
@end

@implementation VHColorSpace
@end

/// The object behind a CGColorRef.
@interface VHColor : NSObject {
@public
  VHColorSpace *space_;
  CGFloat components_[4];
}
@end

@implementation VHColor

- (void)dealloc {
  [space_ release];
  [super dealloc];
}

@end

namespace {

VHColorSpace *space_of(CGColorSpaceRef space) {
  return reinterpret_cast<VHColorSpace *>(space);
}

VHColor *color_of(CGColorRef color) {
  return reinterpret_cast<VHColor *>(color);
}

CGColorSpaceRef create_space(CGColorSpaceModel model) {
  VHColorSpace *const space = [[VHColorSpace alloc] init];
  space->model_ = model;
  return reinterpret_cast<CGColorSpaceRef>(space);
}

} // namespace

extern "C" {

CGColorSpaceRef CGColorSpaceCreateDeviceGray(void) {
  return create_space(kCGColorSpaceModelMonochrome);
}

CGColorSpaceRef CGColorSpaceCreateDeviceRGB(void) {
  return create_space(kCGColorSpaceModelRGB);
}

CGColorSpaceRef CGColorSpaceRetain(CGColorSpaceRef space) {
  return reinterpret_cast<CGColorSpaceRef>([space_of(space) retain]);
}

void CGColorSpaceRelease(CGColorSpaceRef space) {
  [space_of(space) release];
}

CGColorSpaceModel CGColorSpaceGetModel(CGColorSpaceRef space) {
  return space != nullptr ? space_of(space)->model_ : kCGColorSpaceModelUnknown;
}

size_t CGColorSpaceGetNumberOfComponents(CGColorSpaceRef space) {
  if (space == nullptr)
    return 0;
  return space_of(space)->model_ == kCGColorSpaceModelRGB ? 3 : 1;
}

CGColorRef CGColorCreate(CGColorSpaceRef space, const CGFloat *components) {
  if (space == nullptr || components == nullptr)
    return nullptr;
  VHColor *const color = [[VHColor alloc] init];
  color->space_ = [space_of(space) retain];
  std::transform(components, components + CGColorSpaceGetNumberOfComponents(space) + 1,
                 color->components_,
                 [](CGFloat value) { return value > 0 ? std::min<CGFloat>(value, 1) : 0; });
  return reinterpret_cast<CGColorRef>(color);
}

CGColorRef CGColorCreateCopyWithAlpha(CGColorRef color, CGFloat alpha) {
  if (color == nullptr)
    return nullptr;
  std::array<CGFloat, 4> components{};
  std::ranges::copy(color_of(color)->components_, components.begin());
  components[CGColorGetNumberOfComponents(color) - 1] = alpha;
  return CGColorCreate(CGColorGetColorSpace(color), components.data());
}

CGColorRef CGColorRetain(CGColorRef color) {
  return reinterpret_cast<CGColorRef>([color_of(color) retain]);
}

void CGColorRelease(CGColorRef color) {
  [color_of(color) release];
}

bool CGColorEqualToColor(CGColorRef one, CGColorRef other) {
  if (one == other)
    return true;
  if (one == nullptr || other == nullptr ||
      CGColorSpaceGetModel(CGColorGetColorSpace(one)) !=
          CGColorSpaceGetModel(CGColorGetColorSpace(other)))
    return false;
  return std::ranges::equal(color_of(one)->components_, color_of(other)->components_);
}

size_t CGColorGetNumberOfComponents(CGColorRef color) {
  return color != nullptr ? CGColorSpaceGetNumberOfComponents(CGColorGetColorSpace(color)) + 1 : 0;
}

const CGFloat *CGColorGetComponents(CGColorRef color) {
  return color != nullptr ? color_of(color)->components_ : nullptr;
}

CGFloat CGColorGetAlpha(CGColorRef color) {
  return color != nullptr ? color_of(color)->components_[CGColorGetNumberOfComponents(color) - 1]
                          : 0;
}

CGColorSpaceRef CGColorGetColorSpace(CGColorRef color) {
  return color != nullptr ? reinterpret_cast<CGColorSpaceRef>(color_of(color)->space_) : nullptr;
}

} // extern "C"
