// What roundedImage:width:height: asks of the platform, in which order and with which arguments.
// The functions it calls are defined here.
#import <veltro/veltro.h>

#import <UIKit/UIKit.h>

#include <CoreGraphics/CGContext.h>

#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iomanip>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

namespace {

std::vector<std::string> calls;
UIImage *result;

constexpr int kNotAContext = 0;

CGContextRef the_context() {
  return reinterpret_cast<CGContextRef>(const_cast<int *>(&kNotAContext));
}

/// Appends `name` with its arguments, in as many digits as tell doubles apart.
template <typename... Arguments> void record(const char *name, Arguments... arguments) {
  std::ostringstream line;
  line << std::setprecision(17) << name;
  ((line << ' ' << arguments), ...);
  calls.push_back(line.str());
}

void record_in_context(const char *name, CGContextRef context) {
  record(name);
  EXPECT_EQ(context, the_context()) << name;
}

} // namespace

extern "C" {

void UIGraphicsBeginImageContextWithOptions(CGSize size, BOOL opaque, CGFloat scale) {
  record("begin image", size.width, size.height, static_cast<int>(opaque), scale);
}

CGContextRef UIGraphicsGetCurrentContext(void) {
  record("current context");
  return the_context();
}

UIImage *UIGraphicsGetImageFromCurrentImageContext(void) {
  record("get image");
  return result;
}

void UIGraphicsEndImageContext(void) {
  record("end image");
}

void CGContextBeginPath(CGContextRef context) {
  record_in_context("begin path", context);
}

void CGContextAddArc(CGContextRef context, CGFloat x, CGFloat y, CGFloat radius,
                     CGFloat start_angle, CGFloat end_angle, int clockwise) {
  EXPECT_EQ(context, the_context());
  record("arc", x, y, radius, start_angle, end_angle, clockwise);
}

void CGContextClosePath(CGContextRef context) {
  record_in_context("close path", context);
}

void CGContextClip(CGContextRef context) {
  record_in_context("clip", context);
}

void CGContextScaleCTM(CGContextRef context, CGFloat sx, CGFloat sy) {
  EXPECT_EQ(context, the_context());
  record("scale", sx, sy);
}

} // extern "C"

/// An image that tells what is asked of it.
@interface ToldImage : UIImage {
@public
  CGSize told_size;
}
@end

@implementation ToldImage

- (CGSize)size {
  record("size");
  return told_size;
}

- (void)drawInRect:(CGRect)rect {
  record("draw", rect.origin.x, rect.origin.y, rect.size.width, rect.size.height);
}

- (id)retain {
  record("retain");
  return [super retain];
}

- (oneway void)release {
  record("release");
  [super release];
}

@end

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

auto IsSupersetOf(std::initializer_list<std::string> lines) {
  return testing::IsSupersetOf(lines);
}

/// A number as it is with a CGFloat of 64 bits, or of 32.
std::string number(const char *in_double, const char *in_float) {
  return sizeof(CGFloat) == sizeof(double) ? in_double : in_float;
}

const std::string kTwoPi = number("6.2831853071795862", "6.2831854820251465");

class RoundedImageContract : public testing::Test {
protected:
  void SetUp() override {
    image_ = [[ToldImage alloc] init];
    image_->told_size = CGSizeMake(200, 100);
    result = [[[UIImage alloc] init] autorelease];
    calls.clear();
  }
  void TearDown() override { [image_ release]; }

  ToldImage *image_ = nil;
};

TEST_F(RoundedImageContract, NilOpensNoContext) {
  EXPECT_EQ([ZLTUtils roundedImage:nil width:50 height:50], nil);
  EXPECT_THAT(calls, IsEmpty());
}

TEST_F(RoundedImageContract, DrawsInThisOrder) {
  EXPECT_EQ([ZLTUtils roundedImage:image_ width:50 height:40], result);
  EXPECT_THAT(calls,
              ElementsAre("retain", "begin image 50 40 0 0", "current context", "size",
                          "begin path", "arc 25 20 25 0 " + kTwoPi + " 0", "close path", "clip",
                          "scale 0.25 " + number("0.40000000000000002", "0.40000000596046448"),
                          "draw 0 0 200 100", "get image", "end image", "release"));
}

TEST_F(RoundedImageContract, TakesNilForAResultAndStillCloses) {
  result = nil;
  EXPECT_EQ([ZLTUtils roundedImage:image_ width:50 height:40], nil);
  EXPECT_THAT(calls, IsSupersetOf({"begin image 50 40 0 0", "get image", "end image"}));
}

TEST_F(RoundedImageContract, HalvesInSinglePrecisionAndScalesInDouble) {
  // A tenth is another number in single precision; the quotient by a third of it shows where the
  // widening took place.
  image_->told_size = CGSizeMake(0.3, 0.7);
  [ZLTUtils roundedImage:image_ width:0.1F height:33.3F];
  EXPECT_THAT(calls,
              IsSupersetOf({"begin image 0.10000000149011612 33.299999237060547 0 0",
                            "arc 0.05000000074505806 16.649999618530273 0.05000000074505806 0 " +
                                kTwoPi + " 0",
                            number("scale 0.33333333830038708 47.571427481515073",
                                   "scale 0.33333331346511841 47.571426391601562"),
                            number("draw 0 0 0.29999999999999999 0.69999999999999996",
                                   "draw 0 0 0.30000001192092896 0.69999998807907104")}));
}

TEST_F(RoundedImageContract, HalfOfTheLeastSideIsNothingInSinglePrecision) {
  constexpr float kLeast = std::numeric_limits<float>::denorm_min();
  [ZLTUtils roundedImage:image_ width:kLeast height:1];
  [ZLTUtils roundedImage:image_ width:1 height:kLeast];
  EXPECT_THAT(calls,
              IsSupersetOf({"arc 0 0.5 0 0 " + kTwoPi + " 0", "arc 0.5 0 0.5 0 " + kTwoPi + " 0"}));
}

TEST_F(RoundedImageContract, RadiusIsHalfOfTheWidthOnly) {
  [ZLTUtils roundedImage:image_ width:60 height:40];
  [ZLTUtils roundedImage:image_ width:40 height:60];
  EXPECT_THAT(calls,
              IsSupersetOf({"arc 30 20 30 0 " + kTwoPi + " 0", "arc 20 30 20 0 " + kTwoPi + " 0"}));
}

TEST_F(RoundedImageContract, HandsSizesOfNoUseToThePlatform) {
  [ZLTUtils roundedImage:image_ width:0 height:-5];
  EXPECT_THAT(calls,
              IsSupersetOf({"begin image 0 -5 0 0", "arc 0 -2.5 0 0 " + kTwoPi + " 0",
                            "scale 0 " + number("-0.050000000000000003", "-0.05000000074505806"),
                            "draw 0 0 200 100"}));
}

TEST_F(RoundedImageContract, AnImageWithoutSizeScalesToInfinity) {
  image_->told_size = CGSizeMake(0, 0);
  [ZLTUtils roundedImage:image_ width:50 height:40];
  EXPECT_THAT(calls, IsSupersetOf({"scale inf inf", "draw 0 0 0 0", "get image", "end image"}));
}

} // namespace
