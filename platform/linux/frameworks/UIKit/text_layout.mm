#include "frameworks/UIKit/text_layout.hpp"

#include <algorithm>
#include <limits>

namespace veltro::host {
namespace {

/// cairo's fonts fail beyond some size, and all text of the process with them.
constexpr double kMaxFontSize = 4096;

double usable_font_size(double points) {
  return points > 0 ? std::min(points, kMaxFontSize) : 0;
}

/// Points as pango counts them; -1, "as much as it takes", for what is not greater than 0 and for
/// what pango cannot count.
int pango_units(double points) {
  const double units = points * PANGO_SCALE;
  return units > 0 && units < std::numeric_limits<int>::max() ? static_cast<int>(units) : -1;
}

} // namespace

TextLayout::TextLayout(NSString *text, UIFont *font)
    : context_(pango_font_map_create_context(pango_cairo_font_map_get_default())),
      layout_(nullptr) {
  cairo_font_options_t *const options = cairo_font_options_create();
  cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
  cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
  pango_cairo_context_set_font_options(context_, options);
  cairo_font_options_destroy(options);
  // Letters are as wide as the font says, and not whole points.
  pango_context_set_round_glyph_positions(context_, FALSE);
  layout_ = pango_layout_new(context_);

  PangoFontDescription *const description =
      pango_font_description_from_string([[font fontName] UTF8String]);
  pango_font_description_set_absolute_size(description,
                                           usable_font_size([font pointSize]) * PANGO_SCALE);
  pango_layout_set_font_description(layout_, description);
  pango_font_description_free(description);
  const char *const bytes = [text UTF8String];
  pango_layout_set_text(layout_, bytes != nullptr ? bytes : "", -1);
}

TextLayout::~TextLayout() {
  g_object_unref(layout_);
  g_object_unref(context_);
}

void TextLayout::fit(double width, double height, long lines) {
  pango_layout_set_width(layout_, pango_units(width));
  pango_layout_set_wrap(layout_, PANGO_WRAP_WORD_CHAR);
  pango_layout_set_ellipsize(layout_, PANGO_ELLIPSIZE_END);
  // A negative height counts lines, of each paragraph.
  const int unlimited = std::numeric_limits<int>::max();
  const int units = pango_units(height);
  pango_layout_set_height(layout_, lines > 0   ? static_cast<int>(-lines)
                                   : units > 0 ? units
                                               : unlimited);
  if (lines == 1)
    pango_layout_set_single_paragraph_mode(layout_, TRUE);
}

double TextLayout::width() const {
  int width = 0;
  pango_layout_get_size(layout_, &width, nullptr);
  return static_cast<double>(width) / PANGO_SCALE;
}

double TextLayout::height() const {
  int height = 0;
  pango_layout_get_size(layout_, nullptr, &height);
  return static_cast<double>(height) / PANGO_SCALE;
}

void TextLayout::draw(cairo_t *cairo, double x, double y, double width, double share) {
  pango_cairo_update_layout(cairo, layout_);
  // Line by line, since pango changes the sides of text that runs from right to left.
  PangoLayoutIter *const line = pango_layout_get_iter(layout_);
  do {
    PangoRectangle extents;
    pango_layout_iter_get_line_extents(line, nullptr, &extents);
    const double free = width - static_cast<double>(extents.width) / PANGO_SCALE;
    const double baseline = static_cast<double>(pango_layout_iter_get_baseline(line)) / PANGO_SCALE;
    cairo_move_to(cairo, x + free * share, y + baseline);
    pango_cairo_show_layout_line(cairo, pango_layout_iter_get_line_readonly(line));
  } while (pango_layout_iter_next_line(line) != FALSE);
  pango_layout_iter_free(line);
}

double line_height(UIFont *font) {
  return TextLayout(@"x", font).height();
}

} // namespace veltro::host
