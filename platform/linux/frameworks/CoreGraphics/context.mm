#include "frameworks/CoreGraphics/context.hpp"

#import <Foundation/Foundation.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

/// The object behind a CGContextRef.
@interface VHContext : NSObject {
@public
  veltro::host::Context *context_;
}
@end

@implementation VHContext

- (void)dealloc {
  delete context_;
  [super dealloc];
}

@end

namespace veltro::host {
namespace {

cairo_surface_t *surface_over(const Bitmap &bitmap) {
  return cairo_image_surface_create_for_data(
      bitmap.data(), bitmap.opaque() ? CAIRO_FORMAT_RGB24 : CAIRO_FORMAT_ARGB32,
      static_cast<int>(bitmap.width()), static_cast<int>(bitmap.height()),
      static_cast<int>(bitmap.stride()));
}

bool is_degenerate(const cairo_matrix_t &matrix) {
  const double determinant = matrix.xx * matrix.yy - matrix.xy * matrix.yx;
  return !std::isfinite(determinant) || determinant == 0 || !std::isfinite(matrix.x0) ||
         !std::isfinite(matrix.y0);
}

/// Sets the current path aside while something is drawn without it.
class AsidePath {
public:
  explicit AsidePath(cairo_t *cairo)
      : cairo_(cairo),
        path_(cairo_has_current_point(cairo) != 0 ? cairo_copy_path(cairo) : nullptr) {
    cairo_new_path(cairo);
  }
  ~AsidePath() {
    cairo_new_path(cairo_);
    if (path_ != nullptr) {
      cairo_append_path(cairo_, path_);
      cairo_path_destroy(path_);
    }
  }
  AsidePath(const AsidePath &) = delete;
  AsidePath &operator=(const AsidePath &) = delete;

private:
  cairo_t *cairo_;
  cairo_path_t *path_;
};

std::shared_ptr<Bitmap> with_red_and_blue_swapped(const Bitmap &bitmap) {
  std::shared_ptr<Bitmap> other = bitmap.copy();
  for (std::size_t y = 0; y < other->height(); ++y) {
    unsigned char *at = other->row(y);
    for (std::size_t x = 0; x < other->width(); ++x, at += 4)
      std::swap(at[0], at[2]);
  }
  return other;
}

void draw_bitmap(Context &context, const Bitmap &bitmap, const cairo_matrix_t &placement) {
  cairo_t *cairo = context.cairo();
  const AsidePath path(cairo);
  cairo_save(cairo);
  cairo_transform(cairo, &placement);
  // A surface of this drawing's own: cairo's surfaces do not stand being drawn by several threads.
  cairo_surface_t *source = surface_over(bitmap);
  cairo_set_source_surface(cairo, source, 0, 0);
  cairo_pattern_set_filter(cairo_get_source(cairo), context.state().filter);
  cairo_pattern_set_extend(cairo_get_source(cairo), CAIRO_EXTEND_PAD);
  cairo_rectangle(cairo, 0, 0, static_cast<double>(bitmap.width()),
                  static_cast<double>(bitmap.height()));
  if (context.state().alpha == 1) {
    cairo_fill(cairo);
  } else {
    cairo_clip(cairo);
    cairo_paint_with_alpha(cairo, context.state().alpha);
  }
  cairo_restore(cairo);
  cairo_surface_destroy(source);
}

} // namespace

Context::Context(std::shared_ptr<Bitmap> bitmap, const cairo_matrix_t &base, bool swapped,
                 bool exposed)
    : bitmap_(std::move(bitmap)), swapped_(swapped), exposed_(exposed) {
  cairo_surface_t *surface = surface_over(*bitmap_);
  cairo_ = cairo_create(surface);
  cairo_surface_destroy(surface);
  cairo_set_matrix(cairo_, &base);
  cairo_set_line_width(cairo_, 1);
  // cairo's own tolerance, a tenth of a pixel, shows at the edge of a circle.
  cairo_set_tolerance(cairo_, 0.02);
}

Context::~Context() {
  cairo_destroy(cairo_);
}

cairo_t *Context::cairo() {
  if (shared_ != nullptr) {
    if (shared_.use_count() > 1)
      shared_->detach();
    shared_.reset();
  }
  return cairo_;
}

void Context::save() {
  cairo_save(cairo_);
  states_.push_back(states_.back());
}

void Context::restore() {
  if (states_.size() == 1)
    return;
  cairo_restore(cairo_);
  states_.pop_back();
}

void Context::transform(const CGAffineTransform &step) {
  const cairo_matrix_t matrix{step.a, step.b, step.c, step.d, step.tx, step.ty};
  cairo_matrix_t now;
  cairo_get_matrix(cairo_, &now);
  cairo_matrix_multiply(&now, &matrix, &now);
  // cairo would refuse this matrix and everything after it.
  if (is_degenerate(now))
    state().degenerate = true;
  else if (!state().degenerate)
    cairo_set_matrix(cairo_, &now);
}

std::shared_ptr<Pixels> Context::pixels() {
  cairo_surface_flush(cairo_get_target(cairo_));
  if (swapped_)
    return std::make_shared<Pixels>(with_red_and_blue_swapped(*bitmap_));
  if (exposed_)
    return std::make_shared<Pixels>(bitmap_->copy());
  if (shared_ == nullptr)
    shared_ = std::make_shared<Pixels>(bitmap_);
  return shared_;
}

void *Context::expose() {
  cairo_surface_flush(cairo_get_target(cairo()));
  exposed_ = true;
  return bitmap_->data();
}

CGContextRef create_uikit_context(CGSize size, bool opaque, CGFloat scale) {
  const double width = std::ceil(size.width * scale);
  const double height = std::ceil(size.height * scale);
  const auto fits = [](double side) { return side >= 1 && side <= static_cast<double>(kMaxSide); };
  if (!fits(width) || !fits(height) || scale <= 0)
    return nullptr;
  std::shared_ptr<Bitmap> bitmap =
      Bitmap::create(static_cast<std::size_t>(width), static_cast<std::size_t>(height), opaque);
  if (bitmap == nullptr)
    return nullptr;
  const cairo_matrix_t base{scale, 0, 0, scale, 0, 0};
  return wrap(std::make_unique<Context>(std::move(bitmap), base));
}

CGContextRef wrap(std::unique_ptr<Context> context) {
  VHContext *const object = [[VHContext alloc] init];
  object->context_ = context.release();
  return reinterpret_cast<CGContextRef>(object);
}

Context *context_of(CGContextRef context) {
  return context != nullptr ? reinterpret_cast<VHContext *>(context)->context_ : nullptr;
}

cairo_t *cairo_of(CGContextRef context) {
  Context *const of = context_of(context);
  return of != nullptr && !of->state().degenerate ? of->cairo() : nullptr;
}

void use_color(Context &context, const Color &color) {
  const double alpha = color.alpha * context.state().alpha;
  if (context.swapped())
    cairo_set_source_rgba(context.cairo(), color.blue, color.green, color.red, alpha);
  else
    cairo_set_source_rgba(context.cairo(), color.red, color.green, color.blue, alpha);
}

void add_rounded_rect(cairo_t *cairo, CGRect rect, double radius) {
  constexpr double kRightAngle = std::numbers::pi / 2;
  const double shorter = std::min(CGRectGetWidth(rect), CGRectGetHeight(rect));
  const double r = std::clamp(radius, 0.0, shorter / 2);
  if (r == 0) {
    cairo_rectangle(cairo, CGRectGetMinX(rect), CGRectGetMinY(rect), CGRectGetWidth(rect),
                    CGRectGetHeight(rect));
    return;
  }
  const double left = CGRectGetMinX(rect) + r;
  const double right = CGRectGetMaxX(rect) - r;
  const double top = CGRectGetMinY(rect) + r;
  const double bottom = CGRectGetMaxY(rect) - r;
  cairo_new_sub_path(cairo);
  cairo_arc(cairo, right, top, r, -kRightAngle, 0);
  cairo_arc(cairo, right, bottom, r, 0, kRightAngle);
  cairo_arc(cairo, left, bottom, r, kRightAngle, 2 * kRightAngle);
  cairo_arc(cairo, left, top, r, 2 * kRightAngle, 3 * kRightAngle);
  cairo_close_path(cairo);
}

void draw_pixels(Context &context, const Pixels &pixels, const cairo_matrix_t &placement) {
  if (context.state().degenerate || is_degenerate(placement))
    return;
  // A context may draw what was taken from it: it must let go of those pixels before they are read.
  context.cairo();
  pixels.read([&](const Bitmap &bitmap) {
    if (context.swapped())
      draw_bitmap(context, *with_red_and_blue_swapped(bitmap), placement);
    else
      draw_bitmap(context, bitmap, placement);
  });
}

} // namespace veltro::host
