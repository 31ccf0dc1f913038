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

/// Draws with the source of `cairo` into `column`, from its top down.
void draw(PangoLayout *layout, cairo_t *cairo, CGRect column, NSTextAlignment alignment) {
  // Of what a line leaves free, what is on its left, whichever way it runs.
  const double share = alignment == NSTextAlignmentCenter  ? 0.5
                       : alignment == NSTextAlignmentRight ? 1
                                                           : 0;
  // Not adapted to the transform: pango would shrink the boxes of letters that no font has. Line by
  // line, since pango changes the sides of text that runs from right to left.
  PangoLayoutIter *const line = pango_layout_get_iter(layout);
  do {
    PangoRectangle extents;
    pango_layout_iter_get_line_extents(line, nullptr, &extents);
    const double free = column.size.width - static_cast<double>(extents.width) / PANGO_SCALE;
    const double baseline = static_cast<double>(pango_layout_iter_get_baseline(line)) / PANGO_SCALE;
    cairo_move_to(cairo, column.origin.x + free * share, column.origin.y + baseline);
    pango_cairo_show_layout_line(cairo, pango_layout_iter_get_line_readonly(line));
  } while (pango_layout_iter_next_line(line) != FALSE);
  pango_layout_iter_free(line);
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
    // Labels were white until iOS 7 made them see-through.
    if (veltro::host::foundation_version_number(veltro::host::system_version()) < 1047.0)
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
  const CGSize least = veltro::host::size_of(veltro::host::lay_out(
      _text, _font, {_numberOfLines == 1 ? 0 : size.width, size.height}, _numberOfLines));
  return CGSizeMake(std::ceil(least.width), std::ceil(least.height));
}

- (void)drawRect:(CGRect)rect {
  const CGContextRef context = UIGraphicsGetCurrentContext();
  if (context == nullptr || [_text length] == 0)
    return;
  const auto layout = veltro::host::lay_out(_text, _font, rect.size, _numberOfLines);
  veltro::host::Context &to = *veltro::host::context_of(context);
  cairo_matrix_t matrix;
  cairo_get_matrix(to.cairo(), &matrix);
  // cairo's fonts fail beyond 16 bits of pixels, and all text of the process with them.
  constexpr double kGreatestSize = 65000;
  if (veltro::host::scale_of(matrix) * [_font pointSize] > kGreatestSize)
    return;
  [_textColor setFill];
  veltro::host::use_color(to, to.state().fill);
  // In the middle of its height, as labels are; text that is too high begins at the top.
  const CGFloat free =
      std::max<CGFloat>(0, rect.size.height - veltro::host::size_of(layout).height);
  rect.origin.y += free / 2;
  draw(layout.get(), to.cairo(), rect, _textAlignment);
  CGContextBeginPath(context);
}

@end
