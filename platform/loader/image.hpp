#pragma once

#include "fixups.hpp"

namespace veltro::loader {

/// What a pointer of the image holds once it is loaded: an address of the image, what an import
/// resolves to, or null.
struct Pointer {
  uint64_t address = 0;
  const Import *import = nullptr;
  explicit operator bool() const { return address != 0 || import; }
};

/// An image in its file, read by the addresses that its parts have in memory. Everything throws
/// Unloadable where the file does not hold what is asked for.
class Image {
public:
  Image(Bytes slice, Processor processor);

  const Header &header() const { return header_; }
  const Fixups &fixups() const { return fixups_; }
  uint64_t word() const { return header_.word; }
  Bytes slice() const { return slice_; }

  /// The `size` bytes at `address`, which the file has to hold.
  Bytes at(uint64_t address, uint64_t size, const char *what) const;

  /// All that the file holds from `address` to the end of its segment.
  Bytes from(uint64_t address, const char *what) const;

  std::string_view text(uint64_t address, const char *what) const {
    return from(address, what).text(0);
  }

  /// The pointer kept at `address`.
  Pointer pointer(uint64_t address, const char *what) const;

  /// The address in a pointer that no import stands in for; 0 is null.
  uint64_t local_pointer(uint64_t address, const char *what) const;

  /// The address in one that must not be null either.
  uint64_t target(uint64_t address, const char *what) const;

  /// Throws unless `size` bytes of executable code are at `address`.
  void check_code(uint64_t address, uint64_t size, const char *what) const;

  /// Throws unless the `size` bytes at `address` may be written.
  void check_data(uint64_t address, uint64_t size, const char *what) const;

  /// The sections of that name in the data segments.
  std::vector<Section> data_sections(std::string_view name) const;

private:
  const Segment &segment_of(uint64_t address, const char *what) const;

  Bytes slice_;
  Header header_;
  Fixups fixups_;
};

} // namespace veltro::loader
