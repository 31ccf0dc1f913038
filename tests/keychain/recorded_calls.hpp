// The keychain as the contract tests see it: every call is written down, and answered as the test
// says. Included by one file of a test program, since it defines the item functions themselves.
#pragma once

#include <Security/Security.h>

#import <Foundation/Foundation.h>

#include <string>
#include <vector>

namespace veltro::test {

struct Call {
  std::string function;
  NSDictionary *dictionary; ///< a copy, never released
  bool wants_result;
  bool result_was_null;
};

inline std::vector<Call> calls;
inline OSStatus answer_to_add = errSecSuccess;
inline OSStatus answer_to_delete = errSecSuccess;
inline OSStatus answer_to_search = errSecSuccess;
inline id found = nil;

inline void forget_calls() {
  calls.clear();
  answer_to_add = answer_to_delete = answer_to_search = errSecSuccess;
  found = nil;
}

inline void record(const char *function, CFDictionaryRef dictionary, const CFTypeRef *result) {
  calls.push_back({function, [(NSDictionary *)dictionary copy], result != nullptr,
                   result != nullptr && *result == nullptr});
}

} // namespace veltro::test

extern "C" {

OSStatus SecItemAdd(CFDictionaryRef attributes, CFTypeRef *result) {
  veltro::test::record("SecItemAdd", attributes, result);
  return veltro::test::answer_to_add;
}

OSStatus SecItemDelete(CFDictionaryRef query) {
  veltro::test::record("SecItemDelete", query, nullptr);
  return veltro::test::answer_to_delete;
}

OSStatus SecItemCopyMatching(CFDictionaryRef query, CFTypeRef *result) {
  veltro::test::record("SecItemCopyMatching", query, result);
  if (veltro::test::answer_to_search == errSecSuccess && result != nullptr)
    *result = (CFTypeRef)[veltro::test::found retain];
  return veltro::test::answer_to_search;
}

} // extern "C"
