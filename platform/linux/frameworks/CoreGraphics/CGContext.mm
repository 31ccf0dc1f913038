// Drawing, with cairo. Follows Apple's CGContext reference. Left out: gradients, shadows, patterns,
// dashes, text, PDF, transparency layers, image masks, and of the blend modes all but normal, clear
// and copy.

#include "frameworks/CoreGraphics/context.hpp"

#import <Foundation/Foundation.h>

#include <algorithm>

using veltro::host::cairo_of;
using veltro::host::call;
using veltro::host::Color;
using veltro::host::Context;
using veltro::host::context_of;
using veltro::host::GraphicsState;

namespace {

void add_ellipse(cairo_t *cairo, double mid_x, double mid_y, double width, double height) {
  cairo_save(cairo);
  if (veltro::host::transform(cairo, {width / 2, 0, 0, height / 2, mid_x, mid_y})) {
    cairo_new_sub_path(cairo);
    cairo_arc(cairo, 0, 0, 1, 0, 2 * M_PI);
    cairo_close_path(cairo);
  }
  cairo_restore(cairo);
}

void paint(CGContextRef context, Color GraphicsState::*color, void (*how)(cairo_t *)) {
  if (Context *const of = context_of(context)) {
    veltro::host::use_color(*of, of->state().*color);
    how(of->cairo());
  }
}

/// Fills the path, or clips to it.
void use_inside(CGContextRef context, cairo_fill_rule_t rule, void (*how)(cairo_t *)) {
  call(context, cairo_set_fill_rule, rule);
  paint(context, &GraphicsState::fill, how);
}

/// Draws a shape without the current path, which is dropped, as the device documents of
/// CGContextFillRect and its like.
void draw(CGContextRef context, CGRect rect, void (*add)(CGContextRef, CGRect),
          void (*how)(CGContextRef)) {
  CGContextBeginPath(context);
  add(context, rect);
  how(context);
}

CGRect box(CGContextRef context,
           void (*extents)(cairo_t *, double *, double *, double *, double *)) {
  double left = 0;
  double top = 0;
  double right = 0;
  double bottom = 0;
  if (cairo_t *const cairo = cairo_of(context))
    extents(cairo, &left, &top, &right, &bottom);
  return {{left, top}, {right - left, bottom - top}};
}

// What is no number is 0.
double in_unit(CGFloat value) {
  return value > 0 ? std::min<double>(value, 1) : 0;
}

Color color_of(CGColorRef color) {
  if (color == nullptr)
    return {0, 0, 0, 0};
  const CGFloat *const part = CGColorGetComponents(color);
  const bool gray = CGColorGetNumberOfComponents(color) == 2;
  return {part[0], part[gray ? 0 : 1], part[gray ? 0 : 2], CGColorGetAlpha(color)};
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
  if (Context *const of = context_of(context)) {
    cairo_save(of->cairo());
    of->states.push_back(of->state());
  }
}

void CGContextRestoreGState(CGContextRef context) {
  if (Context *const of = context_of(context); of != nullptr && of->states.size() > 1) {
    cairo_restore(of->cairo());
    of->states.pop_back();
  }
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

void CGContextConcatCTM(CGContextRef context, CGAffineTransform step) {
  if (cairo_t *const cairo = cairo_of(context))
    veltro::host::transform(cairo, {step.a, step.b, step.c, step.d, step.tx, step.ty});
}

CGAffineTransform CGContextGetCTM(CGContextRef context) {
  if (context == nullptr)
    return {};
  cairo_matrix_t now;
  cairo_get_matrix(cairo_of(context), &now);
  // cairo's pixels count from the top, those of Core Graphics from the bottom.
  const auto height = static_cast<CGFloat>(context_of(context)->bitmap.height);
  return {now.xx, -now.yx, now.xy, -now.yy, now.x0, height - now.y0};
}

void CGContextBeginPath(CGContextRef context) {
  call(context, cairo_new_path);
}

void CGContextMoveToPoint(CGContextRef context, CGFloat x, CGFloat y) {
  call(context, cairo_move_to, x, y);
}

void CGContextAddLineToPoint(CGContextRef context, CGFloat x, CGFloat y) {
  call(context, cairo_line_to, x, y);
}

void CGContextAddCurveToPoint(CGContextRef context, CGFloat cp1x, CGFloat cp1y, CGFloat cp2x,
                              CGFloat cp2y, CGFloat x, CGFloat y) {
  call(context, cairo_curve_to, cp1x, cp1y, cp2x, cp2y, x, y);
}

void CGContextAddRect(CGContextRef context, CGRect rect) {
  call(context, cairo_rectangle, rect.origin.x, rect.origin.y, rect.size.width, rect.size.height);
}

void CGContextAddEllipseInRect(CGContextRef context, CGRect rect) {
  call(context, add_ellipse, CGRectGetMidX(rect), CGRectGetMidY(rect), CGRectGetWidth(rect),
       CGRectGetHeight(rect));
}

void CGContextAddArc(CGContextRef context, CGFloat x, CGFloat y, CGFloat radius,
                     CGFloat start_angle, CGFloat end_angle, int clockwise) {
  if (radius >= 0 &&
      std::max({radius, std::abs(start_angle), std::abs(end_angle)}) <= veltro::host::kGreatest)
    call(context, clockwise != 0 ? cairo_arc_negative : cairo_arc, x, y, radius, start_angle,
         end_angle);
}

void CGContextClosePath(CGContextRef context) {
  call(context, cairo_close_path);
}

bool CGContextIsPathEmpty(CGContextRef context) {
  return context == nullptr || cairo_has_current_point(cairo_of(context)) == 0;
}

CGRect CGContextGetPathBoundingBox(CGContextRef context) {
  return CGContextIsPathEmpty(context) ? CGRectNull : box(context, cairo_path_extents);
}

void CGContextFillPath(CGContextRef context) {
  use_inside(context, CAIRO_FILL_RULE_WINDING, cairo_fill);
}

void CGContextEOFillPath(CGContextRef context) {
  use_inside(context, CAIRO_FILL_RULE_EVEN_ODD, cairo_fill);
}

void CGContextStrokePath(CGContextRef context) {
  paint(context, &GraphicsState::stroke, cairo_stroke);
}

void CGContextFillRect(CGContextRef context, CGRect rect) {
  draw(context, rect, CGContextAddRect, CGContextFillPath);
}

void CGContextFillEllipseInRect(CGContextRef context, CGRect rect) {
  draw(context, rect, CGContextAddEllipseInRect, CGContextFillPath);
}

void CGContextStrokeRect(CGContextRef context, CGRect rect) {
  draw(context, rect, CGContextAddRect, CGContextStrokePath);
}

void CGContextStrokeEllipseInRect(CGContextRef context, CGRect rect) {
  draw(context, rect, CGContextAddEllipseInRect, CGContextStrokePath);
}

void CGContextClearRect(CGContextRef context, CGRect rect) {
  CGContextSaveGState(context);
  CGContextSetBlendMode(context, kCGBlendModeClear);
  CGContextFillRect(context, rect);
  CGContextRestoreGState(context);
}

void CGContextClip(CGContextRef context) {
  use_inside(context, CAIRO_FILL_RULE_WINDING, cairo_clip);
}

void CGContextEOClip(CGContextRef context) {
  use_inside(context, CAIRO_FILL_RULE_EVEN_ODD, cairo_clip);
}

void CGContextClipToRect(CGContextRef context, CGRect rect) {
  draw(context, rect, CGContextAddRect, CGContextClip);
}

CGRect CGContextGetClipBoundingBox(CGContextRef context) {
  return box(context, cairo_clip_extents);
}

void CGContextSetFillColorWithColor(CGContextRef context, CGColorRef color) {
  if (Context *const of = context_of(context))
    of->state().fill = color_of(color);
}

void CGContextSetStrokeColorWithColor(CGContextRef context, CGColorRef color) {
  if (Context *const of = context_of(context))
    of->state().stroke = color_of(color);
}

void CGContextSetRGBFillColor(CGContextRef context, CGFloat red, CGFloat green, CGFloat blue,
                              CGFloat alpha) {
  if (Context *const of = context_of(context))
    of->state().fill = {in_unit(red), in_unit(green), in_unit(blue), in_unit(alpha)};
}

void CGContextSetRGBStrokeColor(CGContextRef context, CGFloat red, CGFloat green, CGFloat blue,
                                CGFloat alpha) {
  if (Context *const of = context_of(context))
    of->state().stroke = {in_unit(red), in_unit(green), in_unit(blue), in_unit(alpha)};
}

void CGContextSetGrayFillColor(CGContextRef context, CGFloat gray, CGFloat alpha) {
  CGContextSetRGBFillColor(context, gray, gray, gray, alpha);
}

void CGContextSetGrayStrokeColor(CGContextRef context, CGFloat gray, CGFloat alpha) {
  CGContextSetRGBStrokeColor(context, gray, gray, gray, alpha);
}

void CGContextSetAlpha(CGContextRef context, CGFloat alpha) {
  if (Context *const of = context_of(context))
    of->state().alpha = in_unit(alpha);
}

void CGContextSetBlendMode(CGContextRef context, CGBlendMode mode) {
  call(context, cairo_set_operator,
       mode == kCGBlendModeClear  ? CAIRO_OPERATOR_CLEAR
       : mode == kCGBlendModeCopy ? CAIRO_OPERATOR_SOURCE
                                  : CAIRO_OPERATOR_OVER);
}

void CGContextSetLineWidth(CGContextRef context, CGFloat width) {
  if (width >= 0)
    call(context, cairo_set_line_width, width);
}

void CGContextSetLineCap(CGContextRef context, CGLineCap cap) {
  call(context, cairo_set_line_cap,
       cap == kCGLineCapRound    ? CAIRO_LINE_CAP_ROUND
       : cap == kCGLineCapSquare ? CAIRO_LINE_CAP_SQUARE
                                 : CAIRO_LINE_CAP_BUTT);
}

void CGContextSetLineJoin(CGContextRef context, CGLineJoin join) {
  call(context, cairo_set_line_join,
       join == kCGLineJoinRound   ? CAIRO_LINE_JOIN_ROUND
       : join == kCGLineJoinBevel ? CAIRO_LINE_JOIN_BEVEL
                                  : CAIRO_LINE_JOIN_MITER);
}

void CGContextSetShouldAntialias(CGContextRef context, bool should_antialias) {
  call(context, cairo_set_antialias,
       should_antialias ? CAIRO_ANTIALIAS_DEFAULT : CAIRO_ANTIALIAS_NONE);
}

void CGContextSetInterpolationQuality(CGContextRef context, CGInterpolationQuality quality) {
  if (Context *const of = context_of(context))
    of->state().filter = quality == kCGInterpolationNone   ? CAIRO_FILTER_NEAREST
                         : quality == kCGInterpolationLow  ? CAIRO_FILTER_BILINEAR
                         : quality == kCGInterpolationHigh ? CAIRO_FILTER_BEST
                                                           : CAIRO_FILTER_GOOD;
}

} // extern "C"
