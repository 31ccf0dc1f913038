// The keys of attributes as the constants that stand for them.
#pragma once

#include "frameworks/Security/attributes.hpp"

#include <Security/SecItem.h>
#include <array>

namespace veltro::host::keychain {

/// In the order of `attributes`.
inline constexpr std::array<const CFStringRef *, attributes.size()> keys_of_attributes{
    &kSecAttrService,      &kSecAttrAccount,          &kSecAttrAccessGroup, &kSecAttrSynchronizable,
    &kSecAttrCreationDate, &kSecAttrModificationDate, &kSecAttrAccessible,  &kSecAttrLabel,
    &kSecAttrDescription,  &kSecAttrComment,          &kSecAttrGeneric,     &kSecAttrCreator,
    &kSecAttrType,         &kSecAttrIsInvisible,      &kSecAttrIsNegative};

} // namespace veltro::host::keychain
