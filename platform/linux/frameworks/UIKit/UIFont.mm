// UIFont: the system's font, regular and bold. Follows Apple's UIFont class reference; fonts by
// name, descriptors and single glyphs' measures are left out.

#import <UIKit/UIFont.h>

#include "frameworks/UIKit/text_layout.hpp"

@implementation UIFont

@synthesize fontName = _fontName;
@synthesize pointSize = _pointSize;

- (instancetype)initWithSize:(CGFloat)size bold:(BOOL)bold {
  if ((self = [super init]) != nil) {
    _fontName = [(bold ? @"Sans Bold" : @"Sans") retain];
    _pointSize = size;
    _bold = bold;
  }
  return self;
}

- (void)dealloc {
  [_fontName release];
  [super dealloc];
}

+ (UIFont *)systemFontOfSize:(CGFloat)size {
  return [[[self alloc] initWithSize:size bold:NO] autorelease];
}

+ (UIFont *)boldSystemFontOfSize:(CGFloat)size {
  return [[[self alloc] initWithSize:size bold:YES] autorelease];
}

- (id)copyWithZone:(NSZone *)zone {
  (void)zone;
  return [self retain];
}

- (CGFloat)lineHeight {
  return veltro::host::line_height(self);
}

- (BOOL)isEqual:(id)other {
  return [other isKindOfClass:[UIFont class]] && [[other fontName] isEqualToString:_fontName] &&
         [other pointSize] == _pointSize;
}

- (NSUInteger)hash {
  return [_fontName hash] + static_cast<NSUInteger>(_pointSize);
}

@end
