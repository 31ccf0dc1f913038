// What happens to a corrupt keychain file: it is quarantined, and what SQLite still reads of it
// is carried over to a new one.
#pragma once

#include "frameworks/Security/directory.hpp"

namespace veltro::host::keychain {

/// Gives the corrupt file a name of its own beside the keychain, under which it stays as it is, and
/// puts a new file with the items that still read in its place; logs both. Does nothing where the
/// file is no longer `corrupt`, since then somebody else did it. The directory must be locked.
OSStatus quarantine(const Paths &paths, const Identity &corrupt);

} // namespace veltro::host::keychain
