#include "support/view_picture.hpp"

#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

namespace {

using veltro::test::difference;
using veltro::test::Picture;
using veltro::test::picture_of;
using veltro::test::Pixel;

/// The last bit may be rounded either way.
void expect_pixel(const Picture &picture, std::size_t x, std::size_t y, const Pixel &expected) {
  EXPECT_LE(difference(picture.at(x, y), expected), 1)
      << "at " << x << ", " << y << ": " << testing::PrintToString(picture.at(x, y)) << " and not "
      << testing::PrintToString(expected);
}

class AlertLook : public testing::Test {
protected:
  ~AlertLook() override {
    unsetenv("VELTRO_SYSTEM_VERSION");
    unsetenv("VELTRO_SCREEN_SCALE");
  }

  static void play(const char *release) { setenv("VELTRO_SYSTEM_VERSION", release, 1); }

  /// An alert without title and message: where its parts stand does not depend on a font.
  static UIAlertView *alert(int buttons, NSString *cancel = nil) {
    UIAlertView *const view = [[[UIAlertView alloc] initWithTitle:nil
                                                          message:nil
                                                         delegate:nil
                                                cancelButtonTitle:cancel
                                                otherButtonTitles:nil] autorelease];
    while ([view numberOfButtons] < buttons)
      [view addButtonWithTitle:@"."];
    return view;
  }

  /// The same with a view of 80 points above the buttons.
  static UIAlertView *high_alert(int buttons, NSString *cancel = nil) {
    UIAlertView *const view = alert(buttons, cancel);
    [view addSubview:[[[UIView alloc] initWithFrame:CGRectMake(0, 0, 10, 80)] autorelease]];
    return view;
  }

  static Picture shown(UIAlertView *view, int scale = 1) {
    setenv("VELTRO_SCREEN_SCALE", std::to_string(scale).c_str(), 1);
    [view show];
    Picture picture = picture_of(view, scale);
    [view dismissWithClickedButtonIndex:0 animated:NO];
    return picture;
  }
};

// The light style. -------------------------------------------------------------------------------

constexpr Pixel kLight{240, 240, 240, 247};
constexpr Pixel kHairline{192, 192, 192, 249};

TEST_F(AlertLook, HasAHairlineOfOnePixelAboveAButtonFromIOS7On) {
  for (const char *release : {"7.0", "8.0", "9.3"})
    for (const std::size_t scale : {1U, 2U, 3U}) {
      play(release);
      const Picture picture = shown(alert(1), static_cast<int>(scale));
      ASSERT_EQ(picture.width, 270 * scale);
      ASSERT_EQ(picture.height, 84 * scale);
      for (const std::size_t x : {std::size_t{0}, 100 * scale, 270 * scale - 1}) {
        expect_pixel(picture, x, 40 * scale - 1, kLight);
        expect_pixel(picture, x, 40 * scale, kHairline);
        expect_pixel(picture, x, 40 * scale + 1, kLight);
      }
    }
}

TEST_F(AlertLook, HasAHairlineOfOnePixelBetweenTwoButtons) {
  for (const std::size_t scale : {1U, 2U, 3U}) {
    const Picture picture = shown(alert(2), static_cast<int>(scale));
    ASSERT_EQ(picture.height, 84 * scale);
    expect_pixel(picture, 135 * scale, 40 * scale - 1, kLight);
    // No darker where the two lines meet.
    for (const std::size_t y : {40 * scale, 40 * scale + 1, 84 * scale - 1})
      expect_pixel(picture, 135 * scale, y, kHairline);
    for (const std::size_t x : {135 * scale - 1, 135 * scale + 1}) {
      expect_pixel(picture, x, 40 * scale, kHairline);
      expect_pixel(picture, x, 60 * scale, kLight);
      expect_pixel(picture, x, 84 * scale - 1, kLight);
    }
  }
}

TEST_F(AlertLook, HasAHairlineAboveEachOfMoreButtons) {
  const Picture picture = shown(alert(3));
  ASSERT_EQ(picture.height, 172U);
  for (std::size_t y = 20; y < 150; ++y)
    expect_pixel(picture, 50, y, y == 40 || y == 84 || y == 128 ? kHairline : kLight);
}

TEST_F(AlertLook, KeepsHairlinesOnTheGridBelowAViewOfAnyHeight) {
  UIAlertView *const view = alert(1);
  [view addSubview:[[[UIView alloc] initWithFrame:CGRectMake(0, 0, 10, 50.3)] autorelease]];
  const Picture picture = shown(view);
  expect_pixel(picture, 50, 70, kLight);
  expect_pixel(picture, 50, 71, kHairline);
  expect_pixel(picture, 50, 72, kLight);
}

TEST_F(AlertLook, HasNoHairlineWithoutButtons) {
  const Picture picture = shown(alert(0));
  ASSERT_EQ(picture.height, 40U);
  for (std::size_t y = 0; y < 40; ++y)
    expect_pixel(picture, 135, y, kLight);
}

TEST_F(AlertLook, HasRounderCornersFromIOS9On) {
  // The point lies outside of a corner of 13 points and inside of one of 7.
  for (const auto &[release, alpha] : {std::pair{"7.1", 247}, {"8.4", 247}, {"9.0", 0}}) {
    play(release);
    EXPECT_EQ(shown(alert(0)).at(2, 2).alpha, alpha) << release;
    EXPECT_EQ(shown(alert(0)).at(0, 0).alpha, 0) << release;
  }
}

// The style of iOS 6. ----------------------------------------------------------------------------

constexpr Pixel kPanel{16, 35, 80, 242};

TEST_F(AlertLook, HasARimAndAShadowUpToIOS6) {
  play("6.1");
  const Picture picture = shown(high_alert(1));
  ASSERT_EQ(picture.width, 284U);
  ASSERT_EQ(picture.height, 153U);
  expect_pixel(picture, 0, 0, {0, 0, 0, 0});
  // From the left: the outline in the shadow, the rim, two points wide, and the panel.
  expect_pixel(picture, 3, 70, {0, 0, 0, 155});
  expect_pixel(picture, 4, 70, {207, 211, 220, 252});
  expect_pixel(picture, 5, 70, {207, 211, 220, 252});
  expect_pixel(picture, 6, 70, kPanel);
  expect_pixel(picture, 277, 70, kPanel);
  expect_pixel(picture, 278, 70, {207, 211, 220, 252});
  expect_pixel(picture, 279, 70, {207, 211, 220, 252});
  expect_pixel(picture, 142, 4, {207, 211, 220, 252});
  expect_pixel(picture, 142, 146, {207, 211, 220, 252});
  // The corners are round, and the shadow falls downwards and fades.
  EXPECT_LT(picture.at(4, 4).alpha, 100);
  expect_pixel(picture, 142, 150, {0, 0, 0, 69});
  expect_pixel(picture, 142, 152, {0, 0, 0, 26});
}

TEST_F(AlertLook, HasAGlossThatEndsInAnArcUpToIOS6) {
  play("6.1");
  const Picture picture = shown(high_alert(0));
  // It gets weaker downwards.
  expect_pixel(picture, 142, 20, {91, 104, 135, 246});
  expect_pixel(picture, 142, 34, {54, 70, 107, 243});
  expect_pixel(picture, 142, 37, kPanel);
  // It is not as deep at the sides.
  expect_pixel(picture, 20, 20, {91, 104, 135, 246});
  expect_pixel(picture, 20, 25, kPanel);
  expect_pixel(picture, 263, 25, kPanel);
}

TEST_F(AlertLook, HasRaisedButtonsUpToIOS6) {
  play("6.1");
  const Picture picture = shown(high_alert(1));
  const auto expect_rgb = [&](std::size_t x, std::size_t y, int red, int green, int blue) {
    expect_pixel(picture, x, y, {red, green, blue, picture.at(x, y).alpha});
  };
  // From 94 to 137: an outline, the light on its edge, the upper half, which is lighter than the
  // lower one, and light again below the button.
  expect_pixel(picture, 40, 93, kPanel);
  expect_rgb(40, 94, 58, 63, 76);
  expect_rgb(40, 95, 139, 149, 170);
  expect_rgb(40, 114, 82, 96, 128);
  expect_rgb(40, 116, 60, 76, 112);
  expect_rgb(40, 137, 59, 75, 111);
  expect_pixel(picture, 40, 138, kPanel);
  // From 11 to 273, with round corners.
  expect_pixel(picture, 10, 116, kPanel);
  EXPECT_NE(picture.at(11, 116), picture.at(10, 116));
  expect_pixel(picture, 273, 116, kPanel);
  EXPECT_NE(picture.at(272, 116), picture.at(273, 116));
  expect_pixel(picture, 11, 94, kPanel);
  expect_pixel(picture, 272, 94, kPanel);
}

TEST_F(AlertLook, HasTheDarkerOfTwoButtonsOnTheLeftUpToIOS6) {
  play("6.1");
  const Picture picture = shown(high_alert(2));
  ASSERT_EQ(picture.height, 153U);
  expect_pixel(picture, 20, 116, {24, 43, 86, 242});
  expect_pixel(picture, 260, 116, {60, 76, 112, 244});
  expect_pixel(picture, 142, 116, kPanel);
}

TEST_F(AlertLook, HasTheDarkerCancelButtonBelowMoreThanOneOtherUpToIOS6) {
  play("6.1");
  const Picture picture = shown(high_alert(3, @"Cancel"));
  ASSERT_EQ(picture.height, 255U);
  for (const std::size_t top : {94U, 145U})
    expect_pixel(picture, 40, top + 22, {60, 76, 112, 244});
  expect_pixel(picture, 40, 196 + 22, {24, 43, 86, 242});
  const Picture without = shown(high_alert(3));
  expect_pixel(without, 40, 196 + 22, {60, 76, 112, 244});
}

// Both. ------------------------------------------------------------------------------------------

TEST_F(AlertLook, HasTheCancelButtonBelowMoreThanOneOther) {
  for (const char *release : {"6.1", "9.3"}) {
    play(release);
    UIAlertView *const view = alert(3, @"Cancel");
    [view show];
    NSArray *const buttons = [view subviews];
    ASSERT_EQ([buttons count], 3U);
    EXPECT_STREQ([[[buttons objectAtIndex:0] text] UTF8String], "Cancel");
    const CGFloat top = CGRectGetMinY([[buttons objectAtIndex:1] frame]);
    const CGFloat step = [[buttons objectAtIndex:2] frame].origin.y - top;
    EXPECT_EQ(top, std::string(release) == "6.1" ? 29 : 40);
    EXPECT_EQ(step, std::string(release) == "6.1" ? 51 : 44);
    EXPECT_EQ([[buttons objectAtIndex:0] frame].origin.y, top + 2 * step);
    [view dismissWithClickedButtonIndex:0 animated:NO];
  }
}

TEST_F(AlertLook, HasTheFontSizesOfTheRelease) {
  struct Case {
    const char *release;
    CGFloat title;
    CGFloat message;
    CGFloat button;
  };
  for (const Case &set :
       {Case{"6.1", 18, 16, 18}, {"7.1", 17, 14, 17}, {"8.0", 17, 13, 17}, {"9.3", 17, 13, 17}}) {
    play(set.release);
    UIAlertView *const view = alert(1);
    [view setTitle:@"Title"];
    [view setMessage:@"Message"];
    [view show];
    NSArray *const labels = [view subviews];
    ASSERT_EQ([labels count], 3U);
    EXPECT_EQ([[[labels objectAtIndex:0] font] pointSize], set.title) << set.release;
    EXPECT_EQ([[[labels objectAtIndex:1] font] pointSize], set.message) << set.release;
    EXPECT_EQ([[[labels objectAtIndex:2] font] pointSize], set.button) << set.release;
    [view dismissWithClickedButtonIndex:0 animated:NO];
  }
}

TEST_F(AlertLook, DrawsNothingBeforeItShows) {
  for (const char *release : {"6.1", "9.3"}) {
    play(release);
    UIAlertView *const view = alert(2);
    [view setFrame:CGRectMake(0, 0, 284, 100)];
    EXPECT_EQ(veltro::test::ink_of(picture_of(view)).pixels, 0U) << release;
  }
}

TEST_F(AlertLook, BreaksLinesAsHelveticaDoes) {
  struct Case {
    const char *release;
    NSString *message;
    CGFloat width;
    CGFloat height;
  };
  // One line each in Helvetica; the usual sans-serif fonts run wider and take two.
  for (const Case &set : {Case{"6.1", @"Three messages are on their way.", 260, 18},
                          {"9.3", @"Three messages are on their way now.", 238, 15}}) {
    play(set.release);
    UIAlertView *const view = alert(0);
    [view setMessage:set.message];
    [view show];
    const CGRect line = [[[view subviews] lastObject] frame];
    EXPECT_EQ(line.size.width, set.width) << set.release;
    EXPECT_EQ(line.size.height, set.height) << set.release;
    [view dismissWithClickedButtonIndex:0 animated:NO];
  }
}

} // namespace
