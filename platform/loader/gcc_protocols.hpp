#pragma once

#include "objc_metadata.hpp"

#include <unordered_map>
extern "C" {
#include <objc/runtime.h>
}

namespace veltro::loader::objc {

/// The runtime's protocols for those of an image: the process's own where it declares one of that
/// name, else one made here, which stays. GCC's runtime has no call that makes one.
class GccProtocols {
public:
  explicit GccProtocols(const Metadata &metadata);
  ::Protocol *at(uint64_t address) const { return protocols_.at(address); }

private:
  std::unordered_map<uint64_t, ::Protocol *> protocols_;
};

} // namespace veltro::loader::objc
