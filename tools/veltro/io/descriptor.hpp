// Open files by their descriptors.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace veltro::tool {

/// A descriptor, closed with its scope where it is ours.
class Descriptor {
public:
  explicit Descriptor(int number, bool ours = true) : number_(number), ours_(ours) {}
  ~Descriptor();
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;
  [[nodiscard]] int number() const { return number_; }

private:
  int number_;
  bool ours_;
};

/// The file opened for reading, or standard input for "-". The number is below 0 where that failed,
/// for the reason in errno.
Descriptor open_for_reading(const std::string &path);

/// Gives a pipe as much as the system grants anybody, so that the programs at its ends take turns
/// less often; leaves all else as it is.
void widen_pipe(int descriptor);

/// Reads until `bytes` are full or the file ends; returns how many they are. Below 0 and errno
/// where reading failed.
std::ptrdiff_t read_full(int descriptor, std::span<std::uint8_t> bytes);

/// Writes all; false and errno where that failed.
bool write_all(int descriptor, std::span<const std::uint8_t> bytes);

} // namespace veltro::tool
