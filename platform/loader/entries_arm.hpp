#pragma once

#include "exports.hpp"
#include "memory.hpp"

#include <map>

namespace veltro::loader {

// Of images for 32-bit ARM; message_send_arm.S says why.

/// Puts in place of the imports that are functions of Linux what an image calls for them.
void make_exits(std::vector<void *> &imports);

/// Makes what this process calls for functions of an image: puts it in place of those that
/// constants point to, and returns it for those that are exported, by address.
std::map<uint64_t, void *> make_entries(const Image &image, const Exports &exports,
                                        const Memory &memory);

} // namespace veltro::loader
