#pragma once

#include "unloadable.hpp"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>

namespace veltro::loader {

/// A stretch of a file that cannot be read past its end. `what` names it in errors ("the rebase
/// opcodes"), and outlives it.
class Bytes {
public:
  Bytes() = default;
  Bytes(std::span<const uint8_t> bytes, const char *what) : bytes_(bytes), what_(what) {}

  size_t size() const { return bytes_.size(); }
  const uint8_t *data() const { return bytes_.data(); }
  const char *what() const { return what_; }

  Bytes part(uint64_t offset, uint64_t size, const char *what) const {
    if (offset > bytes_.size() || size > bytes_.size() - offset)
      throw Unloadable(std::string("truncated: ") + what + " past the end");
    return {bytes_.subspan(size_t(offset), size_t(size)), what};
  }

  /// A number in the byte order of this processor, which is that of every image it runs.
  template <class T> T get(uint64_t offset) const {
    if (offset > bytes_.size() || sizeof(T) > bytes_.size() - offset)
      ends_too_early();
    T value;
    std::memcpy(&value, bytes_.data() + offset, sizeof value);
    return value;
  }

  /// A number of `word` bytes, 4 or 8.
  uint64_t word(uint64_t offset, uint64_t word) const {
    return word == 8 ? get<uint64_t>(offset) : get<uint32_t>(offset);
  }

  /// A text that ends with a zero.
  std::string_view text(uint64_t offset) const {
    if (offset >= bytes_.size())
      ends_too_early();
    const auto *const start = bytes_.data() + offset;
    const void *const end = std::memchr(start, 0, bytes_.size() - size_t(offset));
    if (!end)
      ends_too_early();
    return {reinterpret_cast<const char *>(start),
            size_t(static_cast<const uint8_t *>(end) - start)};
  }

  /// A name in a field of `size` bytes, with a zero behind it where there is place.
  std::string_view padded_text(uint64_t offset, uint64_t size) const {
    const Bytes field = part(offset, size, what_);
    const auto *const start = reinterpret_cast<const char *>(field.data());
    return {start, strnlen(start, field.size())};
  }

  [[noreturn]] void ends_too_early() const {
    throw Unloadable(std::string("truncated: within ") + what_);
  }

private:
  std::span<const uint8_t> bytes_;
  const char *what_ = "";
};

/// Reads on through a stretch of bytes.
class Cursor {
public:
  explicit Cursor(Bytes bytes, uint64_t offset = 0) : bytes_(bytes), offset_(offset) {}

  bool at_end() const { return offset_ >= bytes_.size(); }
  uint64_t offset() const { return offset_; }
  uint8_t byte() { return bytes_.get<uint8_t>(offset_++); }

  std::string_view text() {
    const std::string_view text = bytes_.text(offset_);
    offset_ += text.size() + 1;
    return text;
  }

  /// Numbers in groups of seven bits, the lowest first.
  uint64_t uleb() {
    uint64_t value = 0;
    for (unsigned shift = 0;; shift += 7) {
      const uint8_t next = byte();
      const uint64_t bits = next & 0x7fu;
      if (shift > 63 || bits << shift >> shift != bits)
        throw Unloadable(std::string("broken: a number of more than 64 bits in ") + bytes_.what());
      value |= bits << shift;
      if (!(next & 0x80))
        return value;
    }
  }

  int64_t sleb() {
    uint64_t value = 0;
    for (unsigned shift = 0;; shift += 7) {
      const uint8_t next = byte();
      if (shift > 63)
        throw Unloadable(std::string("broken: a number of more than 64 bits in ") + bytes_.what());
      value |= uint64_t(next & 0x7fu) << shift;
      if (!(next & 0x80)) {
        if (shift + 7 < 64 && (next & 0x40))
          value |= ~uint64_t(0) << (shift + 7);
        return int64_t(value);
      }
    }
  }

private:
  Bytes bytes_;
  uint64_t offset_;
};

} // namespace veltro::loader
