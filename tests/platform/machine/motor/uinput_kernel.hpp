// The kernel's side of a force-feedback device made with uinput: control calls handled as the
// kernel handles them, requests put before the device's program.
#pragma once

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <gtest/gtest.h>
#include <linux/uinput.h>
#include <mutex>
#include <set>
#include <unistd.h>

namespace veltro::test {

class UinputKernel {
public:
  /// `fifo` is where the program reads what it is asked.
  explicit UinputKernel(int fifo) : fifo_(fifo) {}

  /// What uinput and the input layer return; less than 0 is an error's number.
  int control(unsigned long request, void *argument) {
    const auto number = static_cast<int>(reinterpret_cast<std::intptr_t>(argument));
    switch (request) {
    case UI_SET_EVBIT:
      can_feed_back_ = number == EV_FF;
      return 0;
    case UI_SET_FFBIT:
      can_rumble_ = number == FF_RUMBLE;
      return 0;
    case UI_DEV_SETUP: {
      const auto *const setup = static_cast<const uinput_setup *>(argument);
      effects_max_ = static_cast<int>(setup->ff_effects_max);
      return setup->name[0] != '\0' ? 0 : -EINVAL;
    }
    case UI_DEV_CREATE:
      return can_feed_back_ && can_rumble_ && effects_max_ > 0 ? 0 : -EINVAL;
    case UI_GET_SYSNAME(63):
      std::memcpy(argument, "input7", sizeof "input7");
      return 0;
    case EVIOCGBIT(EV_FF, FF_MAX / 8 + 1):
      static_cast<unsigned char *>(argument)[FF_RUMBLE / 8] |= 1U << (FF_RUMBLE % 8);
      return 0;
    case EVIOCSFF:
      return upload(*static_cast<ff_effect *>(argument));
    case EVIOCRMFF:
      return erase(number);
    default:
      return serve(request, argument);
    }
  }

private:
  void send(unsigned type, int code, int value) const {
    input_event event{};
    event.type = static_cast<std::uint16_t>(type);
    event.code = static_cast<std::uint16_t>(code);
    event.value = value;
    EXPECT_EQ(write(fifo_, &event, sizeof event), static_cast<ssize_t>(sizeof event));
  }

  /// Has the device's program serve what is asked; its result.
  int ask(int code) {
    std::unique_lock lock(mutex_);
    done_ = false;
    send(EV_UINPUT, code, ++request_);
    EXPECT_TRUE(changed_.wait_for(lock, std::chrono::seconds(30), [&] { return done_; }));
    return result_;
  }

  int upload(ff_effect &effect) {
    EXPECT_EQ(effect.id, -1);
    effect.id = 0;
    while (!used_.insert(effect.id).second)
      ++effect.id;
    effect_ = effect;
    return ask(UI_FF_UPLOAD);
  }

  int erase(int effect) {
    send(EV_FF, effect, 0);
    effect_.id = static_cast<std::int16_t>(effect);
    return used_.erase(effect_.id) == 1 ? ask(UI_FF_ERASE) : -EINVAL;
  }

  int serve(unsigned long request, void *argument) {
    const std::lock_guard lock(mutex_);
    auto *const upload = static_cast<uinput_ff_upload *>(argument);
    auto *const erase = static_cast<uinput_ff_erase *>(argument);
    const bool uploads = request == UI_BEGIN_FF_UPLOAD || request == UI_END_FF_UPLOAD;
    if (static_cast<int>(uploads ? upload->request_id : erase->request_id) != request_)
      return -EINVAL;
    if (request == UI_BEGIN_FF_UPLOAD)
      upload->effect = effect_;
    else if (request == UI_BEGIN_FF_ERASE)
      erase->effect_id = static_cast<std::uint32_t>(effect_.id);
    else {
      result_ = uploads ? upload->retval : erase->retval;
      done_ = true;
      changed_.notify_one();
    }
    return 0;
  }

  int fifo_;
  bool can_feed_back_ = false;
  bool can_rumble_ = false;
  int effects_max_ = 0;
  std::set<std::int16_t> used_;
  std::mutex mutex_;
  std::condition_variable changed_;
  ff_effect effect_{};
  int request_ = 0;
  int result_ = 0;
  bool done_ = false;
};

} // namespace veltro::test
