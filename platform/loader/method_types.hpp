#pragma once

#include <cstdint>
#include <string_view>

namespace veltro::loader::objc {

/// What a type of a method's means to those who pass it.
struct Type {
  char kind = 0;     // as it is encoded; '{' for unions too
  uint64_t size = 0; // bytes
  uint64_t alignment = 1;
  uint64_t packed_size = 0; // where nothing is aligned to more than four bytes
  unsigned floats = 0; // that all of it consists of, of `float_size` bytes each; 0 for other types
  uint64_t float_size = 0;
};

/// Reads a method's types: that of the result, then those of the arguments. Throws Unloadable for
/// what it cannot read.
class TypeReader {
public:
  /// `pointer_size` is in bytes, 4 or 8.
  TypeReader(std::string_view types, uint64_t pointer_size)
      : rest_(types), pointer_size_(pointer_size) {}

  bool at_end() const { return rest_.empty(); }

  /// A type and the place in an argument frame behind it, which old compilers counted.
  Type argument();

private:
  char take();
  bool take_if(char c);
  void skip_past(char c);
  uint64_t number();
  Type next(unsigned depth);
  Type pointer_or_number(char kind) const;
  Type aggregate(char end, unsigned depth);
  Type array(unsigned depth);

  std::string_view rest_;
  uint64_t pointer_size_;
};

} // namespace veltro::loader::objc
