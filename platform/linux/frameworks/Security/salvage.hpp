// What happens to a damaged keychain file: it is set aside, and what is readable in it goes on in a
// new one.
#pragma once

#include "frameworks/Security/folder.hpp"

namespace veltro::host::keychain {

/// Gives the damaged file a name of its own beside the keychain, under which it stays, and puts a
/// new file with the items that still read in its place; logs both. Does nothing where the file is
/// no longer `damaged`, since then somebody else did it. The folder must be locked.
OSStatus set_aside(const Paths &paths, const Identity &damaged, const Keys &keys);

} // namespace veltro::host::keychain
