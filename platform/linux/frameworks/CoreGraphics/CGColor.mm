// Colours and colour spaces. Follows Apple's CGColor and CGColorSpace references; patterns,
// calibrated and indexed spaces and the conversion between spaces are left out.

#include <CoreGraphics/CGColor.h>

#import <Foundation/Foundation.h>

#include <algorithm>
#include <array>

/// The object behind a CGColorRef.
@interface VHColor : NSObject {
@public
  CGColorSpaceRef space_;
  std::array<CGFloat, 4> components_;
}
@end

@implementation VHColor

- (void)dealloc {
  CGColorSpaceRelease(space_);
  [super dealloc];
}

@end

namespace {

VHColor *color_of(CGColorRef color) {
  return reinterpret_cast<VHColor *>(color);
}

/// A colour space is the number of its model: there is nothing else to tell about it.
CGColorSpaceRef create_space(CGColorSpaceModel model) {
  return reinterpret_cast<CGColorSpaceRef>([[NSNumber alloc] initWithInt:model]);
}

NSNumber *number_of(CGColorSpaceRef space) {
  return reinterpret_cast<NSNumber *>(space);
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
  return reinterpret_cast<CGColorSpaceRef>([number_of(space) retain]);
}

void CGColorSpaceRelease(CGColorSpaceRef space) {
  [number_of(space) release];
}

CGColorSpaceModel CGColorSpaceGetModel(CGColorSpaceRef space) {
  return space != nullptr ? static_cast<CGColorSpaceModel>([number_of(space) intValue])
                          : kCGColorSpaceModelUnknown;
}

size_t CGColorSpaceGetNumberOfComponents(CGColorSpaceRef space) {
  if (space == nullptr)
    return 0;
  return CGColorSpaceGetModel(space) == kCGColorSpaceModelRGB ? 3 : 1;
}

CGColorRef CGColorCreate(CGColorSpaceRef space, const CGFloat *components) {
  if (space == nullptr || components == nullptr)
    return nullptr;
  VHColor *const color = [[VHColor alloc] init];
  color->space_ = CGColorSpaceRetain(space);
  std::transform(components, components + CGColorSpaceGetNumberOfComponents(space) + 1,
                 color->components_.begin(),
                 [](CGFloat value) { return value > 0 ? std::min<CGFloat>(value, 1) : 0; });
  return reinterpret_cast<CGColorRef>(color);
}

CGColorRef CGColorCreateCopyWithAlpha(CGColorRef color, CGFloat alpha) {
  if (color == nullptr)
    return nullptr;
  std::array<CGFloat, 4> components = color_of(color)->components_;
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
  if (one == nullptr || other == nullptr)
    return one == other;
  return CGColorGetNumberOfComponents(one) == CGColorGetNumberOfComponents(other) &&
         color_of(one)->components_ == color_of(other)->components_;
}

size_t CGColorGetNumberOfComponents(CGColorRef color) {
  return color != nullptr ? CGColorSpaceGetNumberOfComponents(CGColorGetColorSpace(color)) + 1 : 0;
}

const CGFloat *CGColorGetComponents(CGColorRef color) {
  return color != nullptr ? color_of(color)->components_.data() : nullptr;
}

CGFloat CGColorGetAlpha(CGColorRef color) {
  return color != nullptr ? color_of(color)->components_[CGColorGetNumberOfComponents(color) - 1]
                          : 0;
}

CGColorSpaceRef CGColorGetColorSpace(CGColorRef color) {
  return color != nullptr ? color_of(color)->space_ : nullptr;
}

} // extern "C"
