// UIFont: Liberation Sans, whose letters are as wide as Helvetica's, so that lines break where they
// do on the device; fontconfig chooses for letters that it lacks. Follows Apple's UIFont class
// reference; fonts by name, descriptors and single glyphs' measures are left out.

#import <UIKit/UIFont.h>

#include "frameworks/UIKit/text_layout.hpp"

@implementation UIFont

@synthesize fontName = _fontName;
@synthesize pointSize = _pointSize;

- (instancetype)initWithSize:(CGFloat)size bold:(BOOL)bold {
  if ((self = [super init]) != nil) {
    _fontName = bold ? @"Liberation Sans Bold" : @"Liberation Sans";
    _pointSize = size;
  }
  return self;
}

+ (UIFont *)systemFontOfSize:(CGFloat)size {
  return [[[self alloc] initWithSize:size bold:NO] autorelease];
}

+ (UIFont *)boldSystemFontOfSize:(CGFloat)size {
  return [[[self alloc] initWithSize:size bold:YES] autorelease];
}

- (id)copyWithZone:(NSZone *)zone {
  return [self retain];
}

- (CGFloat)lineHeight {
  return veltro::host::size_of(veltro::host::lay_out(@"x", self, CGSizeZero, 0)).height;
}

- (BOOL)isEqual:(id)other {
  return [other isKindOfClass:[UIFont class]] && [[other fontName] isEqualToString:_fontName] &&
         [other pointSize] == _pointSize;
}

- (NSUInteger)hash {
  return [_fontName hash] + static_cast<NSUInteger>(_pointSize);
}

@end
