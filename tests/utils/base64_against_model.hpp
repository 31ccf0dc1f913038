// One input through every form of the codecs, compared with the model.
#pragma once

#include "base64_model.hpp"
#include "utils/base64.hpp"

#include <cstdlib>
#include <memory>

namespace veltro::test {

/// A block of exactly `size` bytes, so that a sanitizer sees a single byte too many.
struct Block {
  explicit Block(std::size_t size) : bytes(static_cast<std::uint8_t *>(std::malloc(size))) {}
  ~Block() { std::free(bytes); }
  Block(const Block &) = delete;
  Block &operator=(const Block &) = delete;
  std::uint8_t *bytes;
};

inline std::string encoded(const Bytes &bytes) {
  const std::size_t size = base64::encoded_length(bytes.size());
  const Block text(size);
  base64::encode(bytes.data(), bytes.size(), reinterpret_cast<char *>(text.bytes));
  return {reinterpret_cast<const char *>(text.bytes), size};
}

inline std::optional<Bytes> decoded_dropping(const std::string &text) {
  const Block to(text.size());
  const auto result = base64::decode_dropping(text.c_str(), text.size(), to.bytes);
  if (!result.valid)
    return std::nullopt;
  return Bytes(to.bytes, to.bytes + result.length);
}

inline std::optional<Bytes> decoded_refusing(const std::string &text) {
  std::uint8_t table[256];
  base64::make_table(table);
  const Block to(base64::decoded_capacity(text.size()));
  const auto result = base64::decode_refusing(text.c_str(), text.size(), table, to.bytes);
  if (!result.valid)
    return std::nullopt;
  return Bytes(to.bytes, to.bytes + result.length);
}

/// Whether all forms agree with the model on `input`, taken as bytes and as text. The text ends at
/// its first zero, as a C string does.
inline bool agrees_with_model(const std::uint8_t *input, std::size_t size) {
  const Bytes bytes(input, input + size);
  std::string text(reinterpret_cast<const char *>(input), size);
  text.resize(std::min(text.size(), text.find('\0')));
  const std::string code = model_encode(bytes);
  return encoded(bytes) == code && decoded_dropping(code) == bytes &&
         decoded_refusing(code) == bytes && decoded_dropping(text) == model_decode_dropping(text) &&
         decoded_refusing(text) == model_decode_refusing(text);
}

} // namespace veltro::test
