#pragma once

#include "objc_metadata.hpp"

namespace veltro::loader::objc {

/// Reads the lists that classes, categories and protocols hold. All of them together may take no
/// more bytes than the image has, so that lists that share theirs cannot make a small file a long
/// work.
class Lists {
public:
  explicit Lists(const Image &image) : image_(image), left_(image.slice().size()) {}

  /// Each takes the address of a pointer to the list, which may be null.
  std::vector<Method> methods(uint64_t slot, bool with_code = true);
  std::vector<InstanceVariable> variables(uint64_t slot);
  std::vector<uint64_t> protocols(uint64_t slot);

private:
  struct Entries {
    uint64_t address = 0, size = 0; // of each entry
    uint32_t count = 0;
    bool relative = false;
  };
  Entries entries(uint64_t slot, uint64_t smallest, const char *what);
  void charge(uint64_t bytes);
  Method absolute_method(uint64_t at);
  Method relative_method(uint64_t at);

  const Image &image_;
  uint64_t left_;
};

} // namespace veltro::loader::objc
