// Which layout the activity alert takes, by the Foundation version of the running release.
#pragma once

namespace veltro {

/// The Foundation versions of iOS 6.1 and iOS 7.1.
inline constexpr double kFoundationOf6_1 = 993.0;
inline constexpr double kFoundationOf7_1 = 1047.25;

enum class AlertLayout {
  subview,   // the spinner is a plain subview of the alert
  accessory, // the spinner is the alert's accessory view
  container, // the spinner stands in a view that is the accessory view
};

/// A version that is no number takes the oldest layout: it is not greater than any bound.
constexpr AlertLayout alert_layout(double foundation_version) {
  if (!(foundation_version > kFoundationOf6_1))
    return AlertLayout::subview;
  if (!(foundation_version > kFoundationOf7_1))
    return AlertLayout::accessory;
  return AlertLayout::container;
}

} // namespace veltro
