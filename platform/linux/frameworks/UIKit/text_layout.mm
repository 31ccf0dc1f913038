#include "frameworks/UIKit/text_layout.hpp"

#include <algorithm>
#include <limits>

namespace veltro::host {
namespace {

/// cairo's fonts fail beyond some size, and all text of the process with them.
constexpr double kMaxFontSize = 4096;

/// Points as pango counts them; -1, "as much as it takes", for what is not greater than 0 and for
/// what pango cannot count.
int pango_units(double points) {
  const double units = points * PANGO_SCALE;
  return units > 0 && units < std::numeric_limits<int>::max() ? static_cast<int>(units) : -1;
}

} // namespace

TextLayout lay_out(NSString *text, UIFont *font, CGSize space, long lines) {
  PangoContext *const context = pango_font_map_create_context(pango_cairo_font_map_get_default());
  cairo_font_options_t *const options = cairo_font_options_create();
  cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
  cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
  pango_cairo_context_set_font_options(context, options);
  cairo_font_options_destroy(options);
  // Letters are as wide as the font says, and not whole points.
  pango_context_set_round_glyph_positions(context, FALSE);
  PangoLayout *const layout = pango_layout_new(context);
  g_object_unref(context);

  PangoFontDescription *const description =
      pango_font_description_from_string([[font fontName] UTF8String]);
  const double size = [font pointSize] > 0 ? std::min<double>([font pointSize], kMaxFontSize) : 0;
  pango_font_description_set_absolute_size(description, size * PANGO_SCALE);
  pango_layout_set_font_description(layout, description);
  pango_font_description_free(description);
  // Half a surrogate pair has no UTF-8: it is left out.
  NSData *const utf8 = [text dataUsingEncoding:NSUTF8StringEncoding allowLossyConversion:YES];
  pango_layout_set_text(layout, static_cast<const char *>([utf8 bytes]),
                        static_cast<int>([utf8 length]));

  pango_layout_set_width(layout, pango_units(space.width));
  pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
  pango_layout_set_ellipsize(layout, PANGO_ELLIPSIZE_END);
  // A negative height counts lines, of each paragraph.
  const int height = pango_units(space.height);
  pango_layout_set_height(layout, lines > 0    ? static_cast<int>(-lines)
                                  : height > 0 ? height
                                               : std::numeric_limits<int>::max());
  pango_layout_set_single_paragraph_mode(layout, lines == 1 ? TRUE : FALSE);
  return {layout, g_object_unref};
}

CGSize size_of(const TextLayout &layout) {
  int width = 0;
  int height = 0;
  pango_layout_get_size(layout.get(), &width, &height);
  return {static_cast<CGFloat>(width) / PANGO_SCALE, static_cast<CGFloat>(height) / PANGO_SCALE};
}

} // namespace veltro::host
