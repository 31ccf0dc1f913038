#include "frameworks/UIKit/alert_style.hpp"

#include "machine/device/release.hpp"

#include <utility>

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

} // namespace

AlertStyle alert_style() {
  const double foundation = foundation_version_number(system_version());
  AlertStyle style = foundation >= 1047.2 ? kFlat : kGlossy;
  if (foundation >= 1140.11)
    style.message_size = 13;
  if (foundation >= 1240.1)
    style.corner_radius = 13;
  return style;
}

std::vector<CGRect> button_frames(const AlertStyle &style, std::size_t count, long cancel,
                                  CGFloat top) {
  const bool beside = count == 2;
  const CGFloat inner = style.width - 2 * style.button_margin;
  const CGFloat width = beside ? (inner - style.button_gap) / 2 : inner;
  std::vector<CGRect> frames;
  for (long index = 0; std::cmp_less(index, count); ++index) {
    long row = cancel >= 0 && index > cancel ? index - 1 : index;
    if (index == cancel)
      row = static_cast<long>(count) - 1;
    const auto column_step = static_cast<CGFloat>(beside ? index : 0);
    const auto row_step = static_cast<CGFloat>(beside ? 0 : row);
    frames.push_back({{style.button_margin + column_step * (width + style.button_gap),
                       top + row_step * (style.button_height + style.button_gap)},
                      {width, style.button_height}});
  }
  return frames;
}

} // namespace veltro::host
