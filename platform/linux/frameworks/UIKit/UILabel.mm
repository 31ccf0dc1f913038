// UILabel, set by pango. Follows Apple's UILabel class reference; attributed text, shadows,
// highlighting, shrinking to fit and the other line break modes are left out.

#import <UIKit/UIColor.h>
#import <UIKit/UIFont.h>
#import <UIKit/UIGraphics.h>
#import <UIKit/UILabel.h>

#include "frameworks/CoreGraphics/context.hpp"
#include "frameworks/UIKit/text_layout.hpp"
#include "machine/device/release.hpp"

#include <algorithm>
#include <cmath>

namespace {

/// The share of a line's free width that is before the line.
double share_before(NSTextAlignment alignment) {
  switch (alignment) {
  case NSTextAlignmentCenter:
    return 0.5;
  case NSTextAlignmentRight:
    return 1;
  default:
    return 0;
  }
}

/// Labels were white until iOS 7 made them see-through.
bool labels_are_white() {
  return veltro::host::foundation_version_number(veltro::host::system_version()) < 1047.0;
}

} // namespace

@implementation UILabel

@synthesize text = _text;
@synthesize font = _font;
@synthesize textColor = _textColor;
@synthesize textAlignment = _textAlignment;
@synthesize numberOfLines = _numberOfLines;

- (instancetype)initWithFrame:(CGRect)frame {
  if ((self = [super initWithFrame:frame]) != nil) {
    [self setFont:nil];
    [self setTextColor:nil];
    _numberOfLines = 1;
    if (labels_are_white())
      [self setBackgroundColor:[UIColor whiteColor]];
  }
  return self;
}

- (void)dealloc {
  [_text release];
  [_font release];
  [_textColor release];
  [super dealloc];
}

- (void)setFont:(UIFont *)font {
  [_font autorelease];
  _font = [font != nil ? font : [UIFont systemFontOfSize:17] retain];
}

- (void)setTextColor:(UIColor *)color {
  [_textColor autorelease];
  _textColor = [color != nil ? color : [UIColor blackColor] retain];
}

- (CGSize)sizeThatFits:(CGSize)size {
  if ([_text length] == 0)
    return CGSizeZero;
  veltro::host::TextLayout layout(_text, _font);
  layout.fit(_numberOfLines == 1 ? 0 : size.width, size.height, _numberOfLines);
  return CGSizeMake(std::ceil(layout.width()), std::ceil(layout.height()));
}

- (void)drawRect:(CGRect)rect {
  if ([_text length] == 0)
    return;
  veltro::host::TextLayout layout(_text, _font);
  layout.fit(rect.size.width, rect.size.height, _numberOfLines);
  CGFloat red = 0;
  CGFloat green = 0;
  CGFloat blue = 0;
  CGFloat alpha = 0;
  [_textColor getRed:&red green:&green blue:&blue alpha:&alpha];
  cairo_t *const cairo = veltro::host::cairo_of(UIGraphicsGetCurrentContext());
  cairo_set_source_rgba(cairo, red, green, blue, alpha);
  // In the middle of its height, as labels are; text that is too high begins at the top.
  const double free = std::max(0.0, (rect.size.height - layout.height()) / 2);
  layout.draw(cairo, rect.origin.x, rect.origin.y + free, rect.size.width,
              share_before(_textAlignment));
  cairo_new_path(cairo);
}

@end
