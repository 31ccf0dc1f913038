#pragma once

#include "memory.hpp"
#include "objc_metadata.hpp"

namespace veltro::loader::objc {

/// Where this process enters an image's methods. Darwin's code for 64-bit ARM counts on its caller
/// to have widened numbers of less than 32 bits, which Linux's callers do not: methods that take
/// such are entered by way of instructions that widen them. Those for 32-bit ARM are entered by
/// crossings. Elsewhere it is the method's code itself.
class EntryStubs {
public:
  /// The instructions stay in memory for as long as the image.
  EntryStubs(const Metadata &metadata, const Memory &memory);
  void *entry(const Method &method) const;

private:
  using Key = std::pair<uint64_t, std::string_view>; // code and types
  void write(const std::map<Key, std::vector<uint32_t>> &stubs);

  const Memory &memory_;
  std::map<Key, void *> stubs_;
};

} // namespace veltro::loader::objc
