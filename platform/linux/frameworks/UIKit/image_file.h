// Images of files that were read.
#pragma once

#import <UIKit/UIImage.h>

#include "machine/images/image_files.hpp"

@interface UIImage (VHImageFile)
/// Upright as `file` says; nil where it could not be read.
- (instancetype)initWithFile:(const veltro::host::ImageFile &)file scale:(CGFloat)scale;
@end
