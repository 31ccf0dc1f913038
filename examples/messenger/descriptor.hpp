#pragma once

#include <unistd.h>
#include <utility>

namespace veltro::messenger {

/// Owns a file descriptor, or none.
class Descriptor {
public:
  explicit Descriptor(int number = -1) : number_(number) {}
  Descriptor(Descriptor &&other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;
  Descriptor &operator=(Descriptor &&other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Descriptor() {
    if (number_ >= 0)
      close(number_);
  }

  [[nodiscard]] int get() const { return number_; }

private:
  int number_;
};

} // namespace veltro::messenger
