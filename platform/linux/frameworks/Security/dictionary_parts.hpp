// What the dictionaries of the item functions are made of.
#pragma once

#include "frameworks/Security/attributes.hpp"

#include <Security/SecItem.h>

#import <Foundation/Foundation.h>

#include <array>

namespace veltro::host::keychain {

/// The keys that a dictionary may have: those of the attributes, in the order of `kAttributes`, and
/// the others.
inline constexpr std::array<const CFStringRef *, kAttributes.size() + 7> kKeys{
    &kSecAttrService,      &kSecAttrAccount,          &kSecAttrAccessGroup, &kSecAttrSynchronizable,
    &kSecAttrCreationDate, &kSecAttrModificationDate, &kSecAttrAccessible,  &kSecAttrLabel,
    &kSecAttrDescription,  &kSecAttrComment,          &kSecAttrGeneric,     &kSecAttrCreator,
    &kSecAttrType,         &kSecAttrIsInvisible,      &kSecAttrIsNegative,  &kSecClass,
    &kSecValueData,        &kSecMatchLimit,           &kSecReturnData,      &kSecReturnAttributes,
    &kSecReturnRef,        &kSecReturnPersistentRef};

/// The classes of the values, looked up once: the runtime finds them by name each time.
struct Classes {
  Class string = [NSString class];
  Class data = [NSData class];
  Class number = [NSNumber class];
  Class date = [NSDate class];
  Class dictionary = [NSDictionary class];
};

inline const Classes &classes() {
  static const Classes classes;
  return classes;
}

} // namespace veltro::host::keychain
