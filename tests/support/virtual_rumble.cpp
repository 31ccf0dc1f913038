// Follows the kernel's documentation of uinput (input/uinput) and the notes on force feedback in
// linux/uinput.h.

#include "support/virtual_rumble.hpp"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/uinput.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace veltro::test {

namespace fs = std::filesystem;

VirtualRumble::VirtualRumble(const fs::path &uinput, const fs::path &devices)
    : uinput_(open(uinput.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC)) {
  if (uinput_ < 0 || !create()) {
    missing_ = uinput.string() + ": " + std::strerror(errno);
    return;
  }
  event_name_ = find_event_name(devices);
  if (event_name_.empty()) {
    missing_ = "the virtual device has no event file";
    return;
  }
  stop_ = eventfd(0, EFD_CLOEXEC);
  server_ = std::thread([this] { serve(); });
}

VirtualRumble::~VirtualRumble() {
  served();
  for (const int file : {stop_, uinput_}) // closing uinput takes the device away
    if (file >= 0)
      close(file);
}

const std::vector<std::string> &VirtualRumble::served() {
  if (server_.joinable()) {
    eventfd_write(stop_, 1);
    server_.join();
  }
  return served_;
}

bool VirtualRumble::create() const {
  uinput_setup setup{};
  setup.id.bustype = BUS_VIRTUAL;
  std::strncpy(setup.name, "veltro rumble", sizeof setup.name - 1);
  setup.ff_effects_max = 16;
  return ioctl(uinput_, UI_SET_EVBIT, EV_FF) == 0 && ioctl(uinput_, UI_SET_FFBIT, FF_RUMBLE) == 0 &&
         ioctl(uinput_, UI_DEV_SETUP, &setup) == 0 && ioctl(uinput_, UI_DEV_CREATE) == 0;
}

std::string VirtualRumble::find_event_name(const fs::path &devices) const {
  std::array<char, 64> name{};
  if (ioctl(uinput_, UI_GET_SYSNAME(name.size() - 1), name.data()) < 0)
    return "";
  std::error_code error;
  for (const auto &entry : fs::directory_iterator(devices / name.data(), error))
    if (const std::string file = entry.path().filename(); file.starts_with("event"))
      return file;
  return "";
}

/// Until it is stopped, and then all that was asked before.
void VirtualRumble::serve() {
  std::array<pollfd, 2> waits{{{uinput_, POLLIN, 0}, {stop_, POLLIN, 0}}};
  do {
    poll(waits.data(), waits.size(), -1);
    for (input_event event{}; read(uinput_, &event, sizeof event) == sizeof event;) {
      if (event.type == EV_FF)
        served_.push_back((event.value != 0 ? "play " : "stop ") + std::to_string(event.code));
      else if (event.type == EV_UINPUT && event.code == UI_FF_UPLOAD)
        upload(event.value);
      else if (event.type == EV_UINPUT && event.code == UI_FF_ERASE)
        erase(event.value);
    }
  } while ((waits[1].revents & POLLIN) == 0);
}

void VirtualRumble::upload(int request) {
  uinput_ff_upload upload{};
  upload.request_id = static_cast<std::uint32_t>(request);
  if (ioctl(uinput_, UI_BEGIN_FF_UPLOAD, &upload) < 0)
    return;
  const ff_effect &effect = upload.effect;
  served_.push_back("upload " + std::to_string(effect.id) + ": " +
                    (effect.type == FF_RUMBLE ? "rumble " : "other ") +
                    std::to_string(effect.u.rumble.strong_magnitude) + " and " +
                    std::to_string(effect.u.rumble.weak_magnitude) + ", " +
                    std::to_string(effect.replay.length) + " ms after " +
                    std::to_string(effect.replay.delay) + " ms");
  upload.retval = 0;
  ioctl(uinput_, UI_END_FF_UPLOAD, &upload);
}

void VirtualRumble::erase(int request) {
  uinput_ff_erase erase{};
  erase.request_id = static_cast<std::uint32_t>(request);
  if (ioctl(uinput_, UI_BEGIN_FF_ERASE, &erase) < 0)
    return;
  served_.push_back("erase " + std::to_string(erase.effect_id));
  erase.retval = 0;
  ioctl(uinput_, UI_END_FF_ERASE, &erase);
}

} // namespace veltro::test
