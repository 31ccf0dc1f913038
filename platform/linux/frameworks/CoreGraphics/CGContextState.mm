// The graphics state of a context: colours, lines, blending, quality. What CGContext.mm leaves out
// is left out here too.

#include "frameworks/CoreGraphics/context.hpp"

#import <Foundation/Foundation.h>

#include <algorithm>

using veltro::host::cairo_of;
using veltro::host::call;
using veltro::host::Color;
using veltro::host::Context;
using veltro::host::context_of;

namespace {

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

cairo_operator_t operator_of(CGBlendMode mode) {
  if (mode == kCGBlendModeClear)
    return CAIRO_OPERATOR_CLEAR;
  return mode == kCGBlendModeCopy ? CAIRO_OPERATOR_SOURCE : CAIRO_OPERATOR_OVER;
}

cairo_filter_t filter_of(CGInterpolationQuality quality) {
  switch (quality) {
  case kCGInterpolationNone:
    return CAIRO_FILTER_NEAREST;
  case kCGInterpolationLow:
    return CAIRO_FILTER_BILINEAR;
  case kCGInterpolationHigh:
    return CAIRO_FILTER_BEST;
  default:
    return CAIRO_FILTER_GOOD;
  }
}

} // namespace

extern "C" {

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
  if (cairo_t *const cairo = cairo_of(context))
    cairo_set_operator(cairo, operator_of(mode));
}

void CGContextSetLineWidth(CGContextRef context, CGFloat width) {
  if (width >= 0)
    call(context, cairo_set_line_width, width);
}

void CGContextSetLineCap(CGContextRef context, CGLineCap cap) {
  if (cairo_t *const cairo = cairo_of(context))
    cairo_set_line_cap(cairo, cap == kCGLineCapRound    ? CAIRO_LINE_CAP_ROUND
                              : cap == kCGLineCapSquare ? CAIRO_LINE_CAP_SQUARE
                                                        : CAIRO_LINE_CAP_BUTT);
}

void CGContextSetLineJoin(CGContextRef context, CGLineJoin join) {
  if (cairo_t *const cairo = cairo_of(context))
    cairo_set_line_join(cairo, join == kCGLineJoinRound   ? CAIRO_LINE_JOIN_ROUND
                               : join == kCGLineJoinBevel ? CAIRO_LINE_JOIN_BEVEL
                                                          : CAIRO_LINE_JOIN_MITER);
}

void CGContextSetShouldAntialias(CGContextRef context, bool should_antialias) {
  if (cairo_t *const cairo = cairo_of(context))
    cairo_set_antialias(cairo, should_antialias ? CAIRO_ANTIALIAS_DEFAULT : CAIRO_ANTIALIAS_NONE);
}

void CGContextSetInterpolationQuality(CGContextRef context, CGInterpolationQuality quality) {
  if (Context *const of = context_of(context))
    of->state().filter = filter_of(quality);
}

} // extern "C"
