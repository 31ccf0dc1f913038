// Drawing, with cairo. Follows Apple's CGContext reference. Left out: gradients, shadows, patterns,
// dashes, text, PDF, transparency layers, image masks, and of the blend modes all but normal, clear
// and copy.

#include "frameworks/CoreGraphics/context.hpp"

#import <Foundation/Foundation.h>

#include <algorithm>
#include <cmath>

using veltro::host::cairo_of;
using veltro::host::Color;
using veltro::host::Context;
using veltro::host::context_of;

namespace {

template <typename... Numbers> bool finite(Numbers... numbers) {
  return (std::isfinite(numbers) && ...);
}

void add_ellipse(cairo_t *cairo, CGRect rect) {
  if (!finite(rect.origin.x, rect.origin.y, rect.size.width, rect.size.height) ||
      CGRectIsEmpty(rect))
    return;
  cairo_matrix_t before;
  cairo_get_matrix(cairo, &before);
  cairo_translate(cairo, CGRectGetMidX(rect), CGRectGetMidY(rect));
  cairo_scale(cairo, CGRectGetWidth(rect) / 2, CGRectGetHeight(rect) / 2);
  cairo_new_sub_path(cairo);
  cairo_arc(cairo, 0, 0, 1, 0, 2 * M_PI);
  cairo_close_path(cairo);
  cairo_set_matrix(cairo, &before);
}

void add_rect(cairo_t *cairo, CGRect rect) {
  if (!CGRectIsNull(rect))
    cairo_rectangle(cairo, rect.origin.x, rect.origin.y, rect.size.width, rect.size.height);
}

/// Paints a path of its own, without touching the current one, which Core Graphics keeps or drops
/// as it says for each function.
using Paint = void (*)(cairo_t *);

void paint(CGContextRef context, const Color &color, Paint how) {
  if (cairo_t *const cairo = cairo_of(context)) {
    veltro::host::use_color(*context_of(context), color);
    how(cairo);
  } else if (Context *const of = context_of(context)) {
    cairo_new_path(of->peek());
  }
}

void fill(CGContextRef context, cairo_fill_rule_t rule) {
  if (Context *const of = context_of(context)) {
    cairo_set_fill_rule(of->peek(), rule);
    paint(context, of->state().fill, cairo_fill);
  }
}

void clip(CGContextRef context, cairo_fill_rule_t rule) {
  if (cairo_t *const cairo = cairo_of(context)) {
    cairo_set_fill_rule(cairo, rule);
    cairo_clip(cairo);
  }
}

CGRect box(void (*extents)(cairo_t *, double *, double *, double *, double *), cairo_t *cairo) {
  double left = 0;
  double top = 0;
  double right = 0;
  double bottom = 0;
  extents(cairo, &left, &top, &right, &bottom);
  return {{left, top}, {right - left, bottom - top}};
}

} // namespace

extern "C" {

CGContextRef CGContextRetain(CGContextRef context) {
  return reinterpret_cast<CGContextRef>([reinterpret_cast<id>(context) retain]);
}

void CGContextRelease(CGContextRef context) {
  [reinterpret_cast<id>(context) release];
}

void CGContextSaveGState(CGContextRef context) {
  if (Context *const of = context_of(context))
    of->save();
}

void CGContextRestoreGState(CGContextRef context) {
  if (Context *const of = context_of(context))
    of->restore();
}

void CGContextScaleCTM(CGContextRef context, CGFloat sx, CGFloat sy) {
  CGContextConcatCTM(context, {sx, 0, 0, sy, 0, 0});
}

void CGContextTranslateCTM(CGContextRef context, CGFloat tx, CGFloat ty) {
  CGContextConcatCTM(context, {1, 0, 0, 1, tx, ty});
}

void CGContextRotateCTM(CGContextRef context, CGFloat angle) {
  CGContextConcatCTM(context, CGAffineTransformMakeRotation(angle));
}

void CGContextConcatCTM(CGContextRef context, CGAffineTransform transform) {
  if (Context *const of = context_of(context))
    of->transform(transform);
}

CGAffineTransform CGContextGetCTM(CGContextRef context) {
  Context *const of = context_of(context);
  if (of == nullptr)
    return {};
  cairo_matrix_t now;
  cairo_get_matrix(of->peek(), &now);
  // cairo's pixels count from the top, those of Core Graphics from the bottom.
  const auto height = static_cast<CGFloat>(of->bitmap().height());
  return {now.xx, -now.yx, now.xy, -now.yy, now.x0, height - now.y0};
}

void CGContextBeginPath(CGContextRef context) {
  if (Context *const of = context_of(context))
    cairo_new_path(of->peek());
}

void CGContextMoveToPoint(CGContextRef context, CGFloat x, CGFloat y) {
  if (cairo_t *const cairo = cairo_of(context); cairo != nullptr && finite(x, y))
    cairo_move_to(cairo, x, y);
}

void CGContextAddLineToPoint(CGContextRef context, CGFloat x, CGFloat y) {
  if (cairo_t *const cairo = cairo_of(context); cairo != nullptr && finite(x, y))
    cairo_line_to(cairo, x, y);
}

void CGContextAddCurveToPoint(CGContextRef context, CGFloat cp1x, CGFloat cp1y, CGFloat cp2x,
                              CGFloat cp2y, CGFloat x, CGFloat y) {
  if (cairo_t *const cairo = cairo_of(context);
      cairo != nullptr && finite(cp1x, cp1y, cp2x, cp2y, x, y))
    cairo_curve_to(cairo, cp1x, cp1y, cp2x, cp2y, x, y);
}

void CGContextAddRect(CGContextRef context, CGRect rect) {
  if (cairo_t *const cairo = cairo_of(context))
    add_rect(cairo, rect);
}

void CGContextAddEllipseInRect(CGContextRef context, CGRect rect) {
  if (cairo_t *const cairo = cairo_of(context))
    add_ellipse(cairo, rect);
}

void CGContextAddArc(CGContextRef context, CGFloat x, CGFloat y, CGFloat radius,
                     CGFloat start_angle, CGFloat end_angle, int clockwise) {
  cairo_t *const cairo = cairo_of(context);
  if (cairo == nullptr || !finite(x, y, radius, start_angle, end_angle) || radius < 0)
    return;
  if (clockwise != 0)
    cairo_arc_negative(cairo, x, y, radius, start_angle, end_angle);
  else
    cairo_arc(cairo, x, y, radius, start_angle, end_angle);
}

void CGContextClosePath(CGContextRef context) {
  if (cairo_t *const cairo = cairo_of(context))
    cairo_close_path(cairo);
}

bool CGContextIsPathEmpty(CGContextRef context) {
  Context *const of = context_of(context);
  return of == nullptr || cairo_has_current_point(of->peek()) == 0;
}

CGRect CGContextGetPathBoundingBox(CGContextRef context) {
  return CGContextIsPathEmpty(context) ? CGRectNull
                                       : box(cairo_path_extents, context_of(context)->peek());
}

void CGContextFillPath(CGContextRef context) {
  fill(context, CAIRO_FILL_RULE_WINDING);
}

void CGContextEOFillPath(CGContextRef context) {
  fill(context, CAIRO_FILL_RULE_EVEN_ODD);
}

void CGContextStrokePath(CGContextRef context) {
  if (Context *const of = context_of(context))
    paint(context, of->state().stroke, cairo_stroke);
}

// The next four drop the current path, as the device documents of CGContextFillRect and its like.

void CGContextFillRect(CGContextRef context, CGRect rect) {
  CGContextBeginPath(context);
  CGContextAddRect(context, rect);
  CGContextFillPath(context);
}

void CGContextFillEllipseInRect(CGContextRef context, CGRect rect) {
  CGContextBeginPath(context);
  CGContextAddEllipseInRect(context, rect);
  CGContextFillPath(context);
}

void CGContextStrokeRect(CGContextRef context, CGRect rect) {
  CGContextBeginPath(context);
  CGContextAddRect(context, rect);
  CGContextStrokePath(context);
}

void CGContextStrokeEllipseInRect(CGContextRef context, CGRect rect) {
  CGContextBeginPath(context);
  CGContextAddEllipseInRect(context, rect);
  CGContextStrokePath(context);
}

void CGContextClearRect(CGContextRef context, CGRect rect) {
  if (cairo_t *const cairo = cairo_of(context)) {
    const cairo_operator_t before = cairo_get_operator(cairo);
    cairo_set_operator(cairo, CAIRO_OPERATOR_CLEAR);
    cairo_new_path(cairo);
    add_rect(cairo, rect);
    cairo_fill(cairo);
    cairo_set_operator(cairo, before);
  }
}

void CGContextClip(CGContextRef context) {
  clip(context, CAIRO_FILL_RULE_WINDING);
}

void CGContextEOClip(CGContextRef context) {
  clip(context, CAIRO_FILL_RULE_EVEN_ODD);
}

void CGContextClipToRect(CGContextRef context, CGRect rect) {
  CGContextBeginPath(context);
  CGContextAddRect(context, rect);
  CGContextClip(context);
}

CGRect CGContextGetClipBoundingBox(CGContextRef context) {
  Context *const of = context_of(context);
  return of != nullptr ? box(cairo_clip_extents, of->peek()) : CGRectZero;
}

} // extern "C"
