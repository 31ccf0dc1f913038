// Where the tool gets a secret from: never from the command line, which others can see.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace veltro::tool {

/// The bytes of a secret; overwritten when the object goes away.
class SecretBytes {
public:
  SecretBytes() = default;
  ~SecretBytes();
  SecretBytes(const SecretBytes &) = delete;
  SecretBytes &operator=(const SecretBytes &) = delete;

  /// The longest secret. Memory for it is reserved from the start, so that no copy is left behind.
  static constexpr std::size_t kLimit = 1UL << 20;

  std::vector<std::uint8_t> bytes;
};

/// Reads the secret from `file`; where that is empty, from standard input or, if that is a
/// terminal, from a prompt that does not show it. One line end at its end is not part of it.
/// Returns what went wrong, or nothing.
std::string read_secret(const std::string &file, SecretBytes &secret);

} // namespace veltro::tool
