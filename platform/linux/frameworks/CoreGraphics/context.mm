#include "frameworks/CoreGraphics/context.hpp"

#import <Foundation/Foundation.h>

#include <algorithm>
#include <numbers>

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
      reinterpret_cast<unsigned char *>(bitmap.words.get()),
      bitmap.opaque ? CAIRO_FORMAT_RGB24 : CAIRO_FORMAT_ARGB32, static_cast<int>(bitmap.width),
      static_cast<int>(bitmap.height), static_cast<int>(bitmap.stride));
}

/// Does something that has a path of its own, or none, and then brings the current path back.
template <typename Action> void beside_path(cairo_t *cairo, Action &&action) {
  cairo_path_t *const path = cairo_copy_path(cairo);
  cairo_new_path(cairo);
  action();
  cairo_new_path(cairo);
  cairo_append_path(cairo, path);
  cairo_path_destroy(path);
}

void draw_bitmap(cairo_t *cairo, const Bitmap &bitmap, const GraphicsState &state) {
  // A surface of this drawing's own: cairo's surfaces do not stand being drawn by several threads.
  cairo_surface_t *const source = surface_over(bitmap);
  cairo_set_source_surface(cairo, source, 0, 0);
  cairo_pattern_set_filter(cairo_get_source(cairo), state.filter);
  cairo_pattern_set_extend(cairo_get_source(cairo), CAIRO_EXTEND_PAD);
  cairo_rectangle(cairo, 0, 0, static_cast<double>(bitmap.width),
                  static_cast<double>(bitmap.height));
  cairo_clip(cairo);
  cairo_paint_with_alpha(cairo, state.alpha);
  cairo_surface_destroy(source);
}

} // namespace

Context::Context(Bitmap pixels, const cairo_matrix_t &base, bool swapped, bool exposed)
    : bitmap(std::move(pixels)), swapped(swapped), exposed_(exposed) {
  cairo_surface_t *surface = surface_over(bitmap);
  cairo_.reset(cairo_create(surface));
  cairo_surface_destroy(surface);
  cairo_set_matrix(cairo_.get(), &base);
  cairo_set_line_width(cairo_.get(), 1);
  // cairo's own tolerance, a tenth of a pixel, shows at the edge of a circle.
  cairo_set_tolerance(cairo_.get(), 0.02);
}

cairo_t *Context::cairo() {
  if (shared_.use_count() > 1)
    shared_->detach();
  shared_.reset();
  return cairo_.get();
}

std::shared_ptr<Pixels> Context::pixels() {
  cairo_surface_flush(cairo_get_target(cairo_.get()));
  if (swapped || exposed_)
    return std::make_shared<Pixels>(clone(bitmap, swapped));
  if (shared_ == nullptr)
    shared_ = std::make_shared<Pixels>(bitmap);
  return shared_;
}

void *Context::expose() {
  cairo_surface_flush(cairo_get_target(cairo()));
  exposed_ = true;
  return bitmap.words.get();
}

CGContextRef create_context(Bitmap bitmap, const cairo_matrix_t &base, bool swapped, bool exposed) {
  if (bitmap.words == nullptr)
    return nullptr;
  VHContext *const object = [[VHContext alloc] init];
  object->context_ = new Context(std::move(bitmap), base, swapped, exposed);
  return reinterpret_cast<CGContextRef>(object);
}

Context *context_of(CGContextRef context) {
  return context != nullptr ? reinterpret_cast<VHContext *>(context)->context_ : nullptr;
}

cairo_t *cairo_of(CGContextRef context) {
  return context != nullptr ? context_of(context)->cairo() : nullptr;
}

void use_color(Context &context, const Color &color) {
  const double alpha = color.alpha * context.state().alpha;
  if (context.swapped)
    cairo_set_source_rgba(context.cairo(), color.blue, color.green, color.red, alpha);
  else
    cairo_set_source_rgba(context.cairo(), color.red, color.green, color.blue, alpha);
}

double scale_of(const cairo_matrix_t &matrix) {
  return std::hypot(matrix.xx, matrix.xy, std::hypot(matrix.yx, matrix.yy));
}

bool transform(cairo_t *cairo, const cairo_matrix_t &step) {
  cairo_matrix_t matrix;
  cairo_get_matrix(cairo, &matrix);
  cairo_matrix_multiply(&matrix, &step, &matrix);
  const double determinant = matrix.xx * matrix.yy - matrix.xy * matrix.yx;
  constexpr double kLeastDeterminant = 1e-100; // for an inverse of finite numbers
  const bool usable = std::abs(determinant) > kLeastDeterminant && scale_of(matrix) <= kGreatest &&
                      std::isfinite(matrix.x0) && std::isfinite(matrix.y0);
  if (usable)
    cairo_set_matrix(cairo, &matrix);
  else
    beside_path(cairo, [cairo] { cairo_clip(cairo); });
  return usable;
}

void rounded_rect(cairo_t *cairo, CGRect rect, double radius) {
  constexpr double kRightAngle = std::numbers::pi / 2;
  const double shorter = std::min(CGRectGetWidth(rect), CGRectGetHeight(rect));
  const double r = std::clamp(radius, 0.0, std::min(shorter / 2, kGreatest));
  const CGRect inner = CGRectInset(rect, r, r);
  cairo_new_path(cairo);
  if (r == 0) {
    cairo_rectangle(cairo, inner.origin.x, inner.origin.y, inner.size.width, inner.size.height);
    return;
  }
  cairo_arc(cairo, CGRectGetMaxX(inner), CGRectGetMinY(inner), r, -kRightAngle, 0);
  cairo_arc(cairo, CGRectGetMaxX(inner), CGRectGetMaxY(inner), r, 0, kRightAngle);
  cairo_arc(cairo, CGRectGetMinX(inner), CGRectGetMaxY(inner), r, kRightAngle, 2 * kRightAngle);
  cairo_arc(cairo, CGRectGetMinX(inner), CGRectGetMinY(inner), r, 2 * kRightAngle, 3 * kRightAngle);
  cairo_close_path(cairo);
}

void draw_pixels(Context &context, const Pixels &pixels, const cairo_matrix_t &placement) {
  // A context may draw what was taken from it: it must let go of those pixels before they are read.
  cairo_t *const cairo = context.cairo();
  beside_path(cairo, [&] {
    cairo_save(cairo);
    transform(cairo, placement);
    transform(cairo, {1 / static_cast<double>(pixels.shape().width), 0, 0,
                      1 / static_cast<double>(pixels.shape().height), 0, 0});
    pixels.read([&](const Bitmap &bitmap) {
      draw_bitmap(cairo, context.swapped ? clone(bitmap, true) : bitmap, context.state());
    });
    cairo_restore(cairo);
  });
}

} // namespace veltro::host
