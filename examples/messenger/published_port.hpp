// Where components find the port: a property list in the preferences of the device.
#pragma once

#include <cstdint>
#include <string>

namespace veltro::messenger {

/// Keeps the port published as long as it lives.
class PublishedPort {
public:
  /// Replaces what was published before, in one step. `published()` tells whether that worked.
  PublishedPort(const std::string &device_root, std::uint16_t port);
  ~PublishedPort();
  PublishedPort(const PublishedPort &) = delete;
  PublishedPort &operator=(const PublishedPort &) = delete;

  [[nodiscard]] bool published() const { return published_; }

private:
  std::string path_;
  bool published_ = false;
};

} // namespace veltro::messenger
