#pragma once

#include "image.hpp"

namespace veltro::loader {

/// The stretch of this process's memory that an image takes, unmapped unless kept.
class Memory {
public:
  /// Maps the image's contents; its writable segments can be written, the others have their own
  /// protection already. Throws Unloadable.
  explicit Memory(const Image &image);
  ~Memory();
  Memory(const Memory &) = delete;
  Memory &operator=(const Memory &) = delete;

  /// Where an address of the image lies. It has to be one: reading has checked all that come here.
  uint8_t *at(uint64_t address) const { return bytes_ + (address - start_); }
  template <class T> T get(uint64_t address) const {
    T value;
    std::memcpy(&value, at(address), sizeof value);
    return value;
  }
  template <class T> void put(uint64_t address, T value) const {
    std::memcpy(at(address), &value, sizeof value);
  }
  void put_pointer(uint64_t address, const void *value) const { put(address, value); }

  /// Points the pointers that are to be rebased to where the image lies now.
  void rebase(const std::vector<uint64_t> &rebases) const;

  /// Takes the right to write from segments that are constant once they are bound.
  void protect_constants(const Header &header) const;

  void keep() { kept_ = true; }

private:
  void protect(const Segment &segment, bool writable) const;

  uint64_t start_;
  size_t size_;
  uint8_t *bytes_ = nullptr;
  bool kept_ = false;
};

} // namespace veltro::loader
