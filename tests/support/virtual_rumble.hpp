// A force-feedback device that the kernel's uinput makes for a test, and what it is asked for.
#pragma once

#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace veltro::test {

/// Serves the kernel's requests in a thread until served() or the end; the device is there as long
/// as the object.
class VirtualRumble {
public:
  /// `devices` is where the system describes virtual input devices.
  explicit VirtualRumble(const std::filesystem::path &uinput = "/dev/uinput",
                         const std::filesystem::path &devices = "/sys/devices/virtual/input");
  ~VirtualRumble();
  VirtualRumble(const VirtualRumble &) = delete;
  VirtualRumble &operator=(const VirtualRumble &) = delete;

  /// Why this machine has no such device for this user; empty where there is one.
  [[nodiscard]] const std::string &missing() const { return missing_; }

  /// The name of the device's file in /dev/input, such as "event5".
  [[nodiscard]] const std::string &event_name() const { return event_name_; }

  /// What was asked, in order, such as "upload 0: rumble 65535 and 0, 300 ms after 0 ms", "play 0",
  /// "stop 0" and "erase 0". Nothing is served afterwards.
  const std::vector<std::string> &served();

private:
  [[nodiscard]] bool create() const;
  [[nodiscard]] std::string find_event_name(const std::filesystem::path &devices) const;
  void serve();
  void upload(int request);
  void erase(int request);

  int uinput_;
  int stop_ = -1;
  std::string missing_;
  std::string event_name_;
  std::vector<std::string> served_;
  std::thread server_;
};

} // namespace veltro::test
