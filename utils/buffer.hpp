// A block of malloc's, freed when the scope ends.
#pragma once

#include <cstdlib>
#include <utility>

namespace veltro {

class Buffer {
public:
  /// Adopts `block`, which may be null.
  explicit Buffer(void *block) : block_(block) {}
  ~Buffer() { std::free(block_); }
  Buffer(const Buffer &) = delete;
  Buffer &operator=(const Buffer &) = delete;
  Buffer &operator=(Buffer &&other) noexcept {
    std::swap(block_, other.block_);
    return *this;
  }

  explicit operator bool() const { return block_ != nullptr; }

  template <typename Item> [[nodiscard]] Item *as() const { return static_cast<Item *>(block_); }

  /// Gives the block to the caller.
  [[nodiscard]] void *take() { return std::exchange(block_, nullptr); }

private:
  void *block_;
};

} // namespace veltro
