#include "support/view_picture.hpp"

#import <VeltroHost/VeltroHost.h>

#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

namespace {

using veltro::test::ink_of;
using veltro::test::Picture;
using veltro::test::picture_of;
using veltro::test::Pixel;

class Spinner : public testing::Test {
protected:
  ~Spinner() override { VHSetAnimationTime(-1); }

  static UIActivityIndicatorView *spinner(UIActivityIndicatorViewStyle style) {
    return [[[UIActivityIndicatorView alloc] initWithActivityIndicatorStyle:style] autorelease];
  }

  /// The opacity in the middle of each of the twelve spokes, clockwise from the top.
  static std::array<int, 12> spokes(UIActivityIndicatorView *view) {
    const Picture picture = picture_of(view, 4);
    const double middle = static_cast<double>(picture.width) / 2;
    std::array<int, 12> alphas{};
    for (std::size_t spoke = 0; spoke < alphas.size(); ++spoke) {
      const double angle = (static_cast<double>(spoke) - 3) * std::numbers::pi / 6;
      alphas[spoke] = picture
                          .at(static_cast<std::size_t>(middle + 0.7 * middle * std::cos(angle)),
                              static_cast<std::size_t>(middle + 0.7 * middle * std::sin(angle)))
                          .alpha;
    }
    return alphas;
  }
};

TEST_F(Spinner, HasTheDevicesNumbersForItsStyles) {
  EXPECT_EQ(UIActivityIndicatorViewStyleWhiteLarge, 0);
  EXPECT_EQ(UIActivityIndicatorViewStyleWhite, 1);
  EXPECT_EQ(UIActivityIndicatorViewStyleGray, 2);
}

TEST_F(Spinner, HasTheSizeOfItsStyle) {
  EXPECT_EQ([spinner(UIActivityIndicatorViewStyleWhiteLarge) frame].size.width, 37);
  EXPECT_EQ([spinner(UIActivityIndicatorViewStyleWhite) frame].size.height, 20);
  EXPECT_EQ([spinner(UIActivityIndicatorViewStyleGray) frame].size.width, 20);
}

TEST_F(Spinner, StartsWhiteAndStill) {
  UIActivityIndicatorView *const view =
      [[[UIActivityIndicatorView alloc] initWithFrame:CGRectMake(1, 2, 3, 4)] autorelease];
  EXPECT_EQ([view activityIndicatorViewStyle], UIActivityIndicatorViewStyleWhite);
  EXPECT_TRUE([view hidesWhenStopped]);
  EXPECT_FALSE([view isAnimating]);
  EXPECT_TRUE([view isHidden]);
  EXPECT_EQ([view frame].size.width, 3);
}

TEST_F(Spinner, HidesWhenStopped) {
  UIActivityIndicatorView *const view = spinner(UIActivityIndicatorViewStyleGray);
  EXPECT_EQ(ink_of(picture_of(view)).pixels, 0U);
  [view startAnimating];
  [view startAnimating];
  EXPECT_TRUE([view isAnimating]);
  EXPECT_FALSE([view isHidden]);
  EXPECT_GT(ink_of(picture_of(view)).pixels, 50U);
  [view stopAnimating];
  EXPECT_FALSE([view isAnimating]);
  EXPECT_TRUE([view isHidden]);
}

TEST_F(Spinner, StaysInSightWhereToldSo) {
  UIActivityIndicatorView *const view = spinner(UIActivityIndicatorViewStyleGray);
  [view setHidesWhenStopped:NO];
  EXPECT_FALSE([view isHidden]);
  [view startAnimating];
  [view stopAnimating];
  EXPECT_FALSE([view isHidden]);
  EXPECT_GT(ink_of(picture_of(view)).pixels, 50U);
  [view setHidesWhenStopped:YES];
  EXPECT_TRUE([view isHidden]);
  [view startAnimating];
  [view setHidesWhenStopped:YES];
  EXPECT_FALSE([view isHidden]);
}

TEST_F(Spinner, HasTwelveSpokesThatFadeBehindTheFirst) {
  VHSetAnimationTime(0);
  UIActivityIndicatorView *const view = spinner(UIActivityIndicatorViewStyleWhiteLarge);
  [view startAnimating];
  const auto alphas = spokes(view);
  EXPECT_EQ(alphas[0], 255);
  // The one before the brightest was brightest just now.
  for (std::size_t spoke = 1; spoke + 1 < alphas.size(); ++spoke)
    EXPECT_LT(alphas[spoke], alphas[spoke + 1]) << spoke;
  EXPECT_GT(alphas[1], 0);
}

TEST_F(Spinner, GoesRoundOnceASecond) {
  UIActivityIndicatorView *const view = spinner(UIActivityIndicatorViewStyleWhiteLarge);
  [view startAnimating];
  VHSetAnimationTime(0);
  const auto start = spokes(view);
  for (std::size_t step = 1; step < 12; ++step) {
    VHSetAnimationTime((static_cast<double>(step) + 0.5) / 12);
    const auto later = spokes(view);
    for (std::size_t spoke = 0; spoke < 12; ++spoke)
      EXPECT_NEAR(later[(spoke + step) % 12], start[spoke], 2) << step << ", " << spoke;
  }
  VHSetAnimationTime(1);
  EXPECT_EQ(spokes(view), start);
}

TEST_F(Spinner, RunsByTheClockAgain) {
  VHSetAnimationTime(-1);
  UIActivityIndicatorView *const view = spinner(UIActivityIndicatorViewStyleWhite);
  [view startAnimating];
  EXPECT_GT(ink_of(picture_of(view)).pixels, 50U);
}

TEST_F(Spinner, HasTheColourOfItsStyle) {
  VHSetAnimationTime(0);
  UIActivityIndicatorView *const view = spinner(UIActivityIndicatorViewStyleWhite);
  [view startAnimating];
  // On the spoke that points up.
  const Pixel white = picture_of(view, 4).at(40, 12);
  EXPECT_EQ(white, (Pixel{255, 255, 255, 255}));
  [view setActivityIndicatorViewStyle:UIActivityIndicatorViewStyleGray];
  const Pixel gray = picture_of(view, 4).at(40, 12);
  EXPECT_NEAR(gray.red, 128, 1);
  EXPECT_EQ(gray.alpha, 255);
}

} // namespace
