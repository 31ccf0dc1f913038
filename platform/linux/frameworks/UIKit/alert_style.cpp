#include "frameworks/UIKit/alert_style.hpp"

namespace veltro::host {
namespace {

constexpr AlertStyle kGlossy{.light = false,
                             .width = 284,
                             .corner_radius = 10,
                             .text_top = 15,
                             .text_margin = 12,
                             .text_gap = 7,
                             .title_size = 18,
                             .message_size = 16,
                             .below_text = 14,
                             .button_size = 18,
                             .button_height = 43,
                             .button_margin = 11,
                             .button_gap = 8,
                             .below_buttons = 16};

constexpr AlertStyle kFlat{.light = true,
                           .width = 270,
                           .corner_radius = 7,
                           .text_top = 20,
                           .text_margin = 16,
                           .text_gap = 4,
                           .title_size = 17,
                           .message_size = 14,
                           .below_text = 20,
                           .button_size = 17,
                           .button_height = 44,
                           .button_margin = 0,
                           .button_gap = 0,
                           .below_buttons = 0};

constexpr AlertStyle with_smaller_message(AlertStyle style) {
  style.message_size = 13;
  return style;
}

constexpr AlertStyle with_rounder_corners(AlertStyle style) {
  style.corner_radius = 13;
  return style;
}

constexpr AlertStyle kFlatFromIOS8 = with_smaller_message(kFlat);
constexpr AlertStyle kFlatFromIOS9 = with_rounder_corners(kFlatFromIOS8);

} // namespace

const AlertStyle &alert_style(double foundation_version) {
  if (foundation_version >= 1240.1)
    return kFlatFromIOS9;
  if (foundation_version >= 1140.11)
    return kFlatFromIOS8;
  return foundation_version >= 1047.2 ? kFlat : kGlossy;
}

std::vector<CGRect> button_frames(const AlertStyle &style, std::size_t count, long cancel,
                                  CGFloat top) {
  std::vector<CGRect> frames(count);
  const CGFloat inner = style.width - 2 * style.button_margin;
  if (count == 2) {
    const CGFloat width = (inner - style.button_gap) / 2;
    for (std::size_t index = 0; index < count; ++index)
      frames[index] =
          CGRectMake(style.button_margin + static_cast<CGFloat>(index) * (width + style.button_gap),
                     top, width, style.button_height);
    return frames;
  }
  auto place = [&, row = top](std::size_t index) mutable {
    frames[index] = CGRectMake(style.button_margin, row, inner, style.button_height);
    row += style.button_height + style.button_gap;
  };
  const auto last = static_cast<std::size_t>(cancel);
  for (std::size_t index = 0; index < count; ++index)
    if (index != last)
      place(index);
  if (last < count)
    place(last);
  return frames;
}

long darker_button(std::size_t count, long cancel) {
  if (count == 2)
    return 0;
  return count > 2 ? cancel : -1;
}

} // namespace veltro::host
