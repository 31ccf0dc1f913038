#include "machine/motor/vibration.hpp"

#import <AudioToolbox/AudioToolbox.h>
#import <CoreMedia/CoreMedia.h>

#include "support/captured_log.hpp"

#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace veltro::host {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using namespace std::chrono_literals;

class VibrationServices : public testing::Test {
protected:
  VibrationServices() {
    use_motor(&motor_);
    test::clear_log();
  }
  ~VibrationServices() override { use_motor(nullptr); }

  static NSNumber *number(double value) { return [NSNumber numberWithDouble:value]; }

  static void play(NSArray *steps, double intensity) {
    AudioServicesPlaySystemSoundWithVibration(
        4095, nil,
        [NSDictionary dictionaryWithObjectsAndKeys:steps, @"VibePattern", number(intensity),
                                                   @"Intensity", nil]);
  }

  static void drive(double on, double off, double total) {
    NSDictionary *const description =
        [NSDictionary dictionaryWithObjectsAndKeys:number(on), @"OnDuration", number(off),
                                                   @"OffDuration", number(total), @"TotalDuration",
                                                   number(0.25), @"Intensity", nil];
    FigVibratorInitialize();
    FigVibratorPlayVibrationWithDictionary(reinterpret_cast<CFDictionaryRef>(description), 0, 0,
                                           nullptr, nullptr);
  }

  Vibration last_;
  bool works_ = true;
  Motor motor_ = [this](const Vibration &vibration) {
    last_ = vibration;
    return works_;
  };
};

TEST_F(VibrationServices, PlaysTheStepsOfAPattern) {
  play([NSArray arrayWithObjects:[NSNumber numberWithBool:YES], number(100),
                                 [NSNumber numberWithBool:NO], number(50),
                                 [NSNumber numberWithBool:YES], number(200), nil],
       0.5);
  EXPECT_THAT(last_.pulses, ElementsAre(Pulse{0ms, 100ms}, Pulse{150ms, 200ms}));
  EXPECT_EQ(last_.intensity, 0.5);
  EXPECT_THAT(test::logged_lines(),
              ElementsAre("Vibration: 100 ms, after 150 ms 200 ms, intensity 0.50"));
}

TEST_F(VibrationServices, PlaysNothingOfAnEmptyPattern) {
  play([NSArray array], 1);
  EXPECT_THAT(last_.pulses, IsEmpty());
  AudioServicesPlaySystemSoundWithVibration(4095, nil, nil);
  EXPECT_THAT(test::logged_lines(),
              ElementsAre("Vibration: none, intensity 1.00", "Vibration: none, intensity 0.00"));
}

TEST_F(VibrationServices, RepeatsACycleUntilTheTotal) {
  drive(0.5, 0.1, 0.6);
  EXPECT_THAT(last_.pulses, ElementsAre(Pulse{0ms, 500ms}));
  EXPECT_EQ(last_.intensity, 0.25);
  drive(0.5, 0.1, 1.4);
  EXPECT_THAT(last_.pulses,
              ElementsAre(Pulse{0ms, 500ms}, Pulse{600ms, 500ms}, Pulse{1200ms, 200ms}));
  drive(0, 0.1, 1);
  EXPECT_THAT(last_.pulses, IsEmpty());
}

TEST_F(VibrationServices, TakesADurationThatIsNoNumberForNone) {
  drive(0.5, std::nan(""), 0.6);
  EXPECT_THAT(last_.pulses, ElementsAre(Pulse{0ms, 500ms}, Pulse{500ms, 100ms}));
  drive(std::nan(""), 0.1, 0.6);
  EXPECT_THAT(last_.pulses, IsEmpty());
  drive(-1, -1, -1);
  EXPECT_THAT(last_.pulses, IsEmpty());
}

TEST_F(VibrationServices, SaysThatThereIsNoMotor) {
  works_ = false;
  drive(0.5, 0.1, 0.6);
  EXPECT_THAT(test::logged_lines(), ElementsAre("Vibration: 500 ms, intensity 0.25 (no motor)"));
}

} // namespace
} // namespace veltro::host
