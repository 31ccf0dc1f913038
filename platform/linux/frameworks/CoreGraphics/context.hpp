// What stands behind a CGImageRef and a CGContextRef, through which UIKit's stand-in draws.
#pragma once

#include "machine/images/bitmap.hpp"

#include <CoreGraphics/CGContext.h>

#include <cairo.h>
#include <cmath>
#include <type_traits>
#include <vector>

namespace veltro::host {

/// The greatest scale, radius and angle to draw with: cairo takes for ever over greater arcs.
constexpr double kGreatest = 1e9;

struct Color {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 1;
};

/// The part of the graphics state that is not cairo's.
struct GraphicsState {
  Color fill;
  Color stroke;
  double alpha = 1;
  cairo_filter_t filter = CAIRO_FILTER_GOOD;
};

class Context {
public:
  /// `base` leads from the drawing's coordinates to pixels, y downwards. With `swapped`, red and
  /// blue stand in each other's place in the bitmap. `exposed` tells that others know the bitmap's
  /// bytes.
  Context(Bitmap pixels, const cairo_matrix_t &base, bool swapped, bool exposed);

  /// To be asked for anew after `pixels()`.
  cairo_t *cairo();
  [[nodiscard]] GraphicsState &state() { return states.back(); }

  /// What is drawn so far, for an image.
  std::shared_ptr<Pixels> pixels();

  /// The bitmap's bytes, for somebody who may change them at any time.
  void *expose();

  const Bitmap bitmap;
  const bool swapped;
  /// The current one last, below it those that were saved.
  std::vector<GraphicsState> states{1};

private:
  std::unique_ptr<cairo_t, void (*)(cairo_t *)> cairo_{nullptr, cairo_destroy};
  bool exposed_;
  std::shared_ptr<Pixels> shared_;
};

/// An image of `pixels`, which the caller owns; null for null.
CGImageRef create_image(std::shared_ptr<Pixels> pixels);

/// Lives as long as the image; null for null.
const Pixels *pixels_of(CGImageRef image);

/// The object around a context, which the caller owns; null where `bitmap` is none.
CGContextRef create_context(Bitmap bitmap, const cairo_matrix_t &base, bool swapped = false,
                            bool exposed = false);

/// Null for null.
Context *context_of(CGContextRef context);

/// cairo's context, or null for a null context. The source colour is the caller's to set; red and
/// blue are in their places in every context of UIKit.
cairo_t *cairo_of(CGContextRef context);

/// Calls a function of cairo's, with values that are all finite and a context that is not null.
template <typename... Values>
void call(CGContextRef context, void (*function)(cairo_t *, Values...),
          std::type_identity_t<Values>... values) {
  const bool finite = (std::isfinite(static_cast<double>(values)) && ...);
  if (cairo_t *const cairo = cairo_of(context); cairo != nullptr && finite)
    function(cairo, values...);
}

/// Makes `color` cairo's source, weakened by the state's alpha.
void use_color(Context &context, const Color &color);

/// As much as anything grows by the matrix, or up to 1.5 times that.
double scale_of(const cairo_matrix_t &matrix);

/// Adds `step` to the transform. Where that leaves none that cairo takes, clips everything away and
/// returns false.
bool transform(cairo_t *cairo, const cairo_matrix_t &step);

/// Makes a rounded rectangle the path; `radius` is cut to half the shorter side.
void rounded_rect(cairo_t *cairo, CGRect rect, double radius);

/// Draws `pixels`, which fill the unit square from its top left corner and y downwards, through
/// `placement` into the drawing's coordinates. Keeps the current path.
///
/// By default with cairo's filter GOOD, which averages over the whole area that a pixel of the
/// target covers, so that nothing aliases. The edge of the image does not fade.
void draw_pixels(Context &context, const Pixels &pixels, const cairo_matrix_t &placement);

} // namespace veltro::host
