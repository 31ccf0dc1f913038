// A drawing context: a bitmap, the cairo context that draws into it, and the graphics state that
// cairo has no place for. UIKit's stand-in draws through these too.
#pragma once

#include "machine/images/bitmap.hpp"

#include <CoreGraphics/CGContext.h>

#include <cairo.h>
#include <memory>
#include <vector>

namespace veltro::host {

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
  /// The transform has no inverse: nothing can be drawn.
  bool degenerate = false;
};

class Context {
public:
  /// `base` leads from the drawing's coordinates to pixels, y downwards. With `swapped`, red and
  /// blue stand in each other's place in the bitmap. `exposed` tells that others know the bitmap's
  /// bytes.
  Context(std::shared_ptr<Bitmap> bitmap, const cairo_matrix_t &base, bool swapped = false,
          bool exposed = false);
  ~Context();
  Context(const Context &) = delete;
  Context &operator=(const Context &) = delete;

  /// To draw with; to be asked for anew after `pixels()`. Its transform is current even where the
  /// state is degenerate, so ask `state().degenerate` before drawing.
  cairo_t *cairo();
  /// To ask, and not to draw.
  [[nodiscard]] cairo_t *peek() const { return cairo_; }
  [[nodiscard]] GraphicsState &state() { return states_.back(); }
  [[nodiscard]] const Bitmap &bitmap() const { return *bitmap_; }
  [[nodiscard]] bool swapped() const { return swapped_; }

  void save();
  void restore();
  void transform(const CGAffineTransform &step);

  /// What is drawn so far, for an image.
  std::shared_ptr<Pixels> pixels();

  /// The bitmap's bytes, for somebody who may change them at any time.
  void *expose();

private:
  std::shared_ptr<Bitmap> bitmap_;
  cairo_t *cairo_;
  bool swapped_;
  bool exposed_;
  std::vector<GraphicsState> states_{1};
  std::shared_ptr<Pixels> shared_;
};

/// A context of UIKit: `width` x `height` points, y downwards, of ceil(points x scale) pixels. Null
/// where there are no such pixels: without a positive and finite size and scale, beyond `kMaxSide`
/// pixels, or without memory. The caller owns it.
CGContextRef create_uikit_context(CGSize size, bool opaque, CGFloat scale);

/// Makes the object around `context`, which the caller owns.
CGContextRef wrap(std::unique_ptr<Context> context);

/// Null for null.
Context *context_of(CGContextRef context);

/// cairo's context, or null for a null context and for one through whose transform nothing can be
/// drawn. The source colour is the caller's to set; red and blue are in their places in every
/// context of UIKit.
cairo_t *cairo_of(CGContextRef context);

/// Makes `color` cairo's source, weakened by the state's alpha.
void use_color(Context &context, const Color &color);

/// Adds a rounded rectangle to the path; `radius` is cut to half the shorter side.
void add_rounded_rect(cairo_t *cairo, CGRect rect, double radius);

/// Draws `pixels`, whose own coordinates run from their top left corner and y downwards, through
/// `placement` into the drawing's coordinates. Keeps the current path.
///
/// The filter of the state's interpolation quality: by default cairo's GOOD, which averages over
/// the whole area that a pixel of the target covers where it reduces, so that nothing aliases, and
/// is bilinear where it enlarges. The edge of the image does not fade.
void draw_pixels(Context &context, const Pixels &pixels, const cairo_matrix_t &placement);

} // namespace veltro::host
