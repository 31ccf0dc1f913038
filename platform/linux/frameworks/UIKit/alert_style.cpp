#include "frameworks/UIKit/alert_style.hpp"

#include "machine/device/release.hpp"

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
                           .button_height = 44};

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

} // namespace veltro::host
