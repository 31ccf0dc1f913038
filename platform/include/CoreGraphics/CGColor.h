// Colours and the two colour spaces of the device. Both are Core Foundation objects.
#pragma once

#include <CoreGraphics/CGBase.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct CGColor *CGColorRef;
typedef struct CGColorSpace *CGColorSpaceRef;

typedef enum CGColorSpaceModel : int32_t {
  kCGColorSpaceModelUnknown = -1,
  kCGColorSpaceModelMonochrome = 0,
  kCGColorSpaceModelRGB = 1,
} CGColorSpaceModel;

CGColorSpaceRef CGColorSpaceCreateDeviceGray(void);
CGColorSpaceRef CGColorSpaceCreateDeviceRGB(void);
CGColorSpaceRef CGColorSpaceRetain(CGColorSpaceRef space);
void CGColorSpaceRelease(CGColorSpaceRef space);
/// Unknown for null.
CGColorSpaceModel CGColorSpaceGetModel(CGColorSpaceRef space);
/// Without alpha; 0 for null.
size_t CGColorSpaceGetNumberOfComponents(CGColorSpaceRef space);

/// A colour of the components of `space` and, last, alpha, each taken into 0 to 1; null where
/// `space` or `components` is null. The caller owns it.
CGColorRef CGColorCreate(CGColorSpaceRef space, const CGFloat *components);
CGColorRef CGColorCreateCopyWithAlpha(CGColorRef color, CGFloat alpha);
CGColorRef CGColorRetain(CGColorRef color);
void CGColorRelease(CGColorRef color);
bool CGColorEqualToColor(CGColorRef one, CGColorRef other);
/// With alpha; 0 for null.
size_t CGColorGetNumberOfComponents(CGColorRef color);
/// The components, alpha last, which live as long as the colour.
const CGFloat *CGColorGetComponents(CGColorRef color);
CGFloat CGColorGetAlpha(CGColorRef color);
/// Lives as long as the colour.
CGColorSpaceRef CGColorGetColorSpace(CGColorRef color);

#ifdef __cplusplus
}
#endif
