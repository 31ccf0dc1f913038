// Shorthand of the keychain tests: dictionaries of items, and what the item functions return.
#pragma once

#include <Security/Security.h>

#import <Foundation/Foundation.h>

#include <filesystem>

namespace veltro::test {

using Entries = NSMutableDictionary;

inline NSData *bytes(const char *text) {
  return [NSData dataWithBytes:text length:strlen(text)];
}

/// The class, the service and the account of an item; either may be nil.
inline Entries *item(NSString *service, NSString *account) {
  Entries *const entries = [Entries dictionary];
  [entries setObject:(id)kSecClassGenericPassword forKey:(id)kSecClass];
  if (service != nil)
    [entries setObject:service forKey:(id)kSecAttrService];
  if (account != nil)
    [entries setObject:account forKey:(id)kSecAttrAccount];
  return entries;
}

/// The same entries with one more.
inline Entries *with(Entries *entries, CFStringRef key, id value) {
  Entries *const more = [Entries dictionaryWithDictionary:entries];
  [more setObject:value forKey:(id)key];
  return more;
}

inline id yes() {
  return (id)kCFBooleanTrue;
}

inline id no() {
  return (id)kCFBooleanFalse;
}

inline OSStatus add(Entries *entries) {
  return SecItemAdd((CFDictionaryRef)entries, nullptr);
}

inline OSStatus add(NSString *service, NSString *account, const char *secret) {
  return add(with(item(service, account), kSecValueData, bytes(secret)));
}

inline OSStatus remove(Entries *entries) {
  return SecItemDelete((CFDictionaryRef)entries);
}

inline OSStatus update(Entries *entries, Entries *changes) {
  return SecItemUpdate((CFDictionaryRef)entries, (CFDictionaryRef)changes);
}

/// The result, autoreleased; nil where there is none.
inline id search(Entries *entries, OSStatus &status) {
  CFTypeRef result = nullptr;
  status = SecItemCopyMatching((CFDictionaryRef)entries, &result);
  return [(id)result autorelease];
}

inline OSStatus status_of_search(Entries *entries) {
  OSStatus status = 0;
  search(entries, status);
  return status;
}

inline NSData *secret(Entries *entries) {
  OSStatus status = 0;
  return search(with(entries, kSecReturnData, yes()), status);
}

inline NSDictionary *attributes(Entries *entries) {
  OSStatus status = 0;
  return search(with(entries, kSecReturnAttributes, yes()), status);
}

inline NSArray *list(Entries *entries) {
  OSStatus status = 0;
  return search(
      with(with(entries, kSecReturnAttributes, yes()), kSecMatchLimit, (id)kSecMatchLimitAll),
      status);
}

} // namespace veltro::test
