// The keychain as the contract tests see it: every call is written down, and returns as the test
// says. Included by one file of a test program, since it defines the item functions themselves.
#pragma once

#include <Security/Security.h>

#import <Foundation/Foundation.h>

#include <string>
#include <utility>
#include <vector>

namespace veltro::test {

/// A copy of what a call was given.
class Given {
public:
  explicit Given(CFDictionaryRef dictionary) : copy_([(NSDictionary *)dictionary copy]) {}
  ~Given() { [copy_ release]; }
  Given(const Given &other) : copy_([other.copy_ retain]) {}
  Given &operator=(Given other) {
    std::swap(copy_, other.copy_);
    return *this;
  }

  operator NSDictionary *() const { return copy_; }

private:
  NSDictionary *copy_;
};

struct Call {
  std::string function;
  Given dictionary;
  bool wants_result;
  bool result_was_null;
};

inline std::vector<Call> calls;
inline OSStatus result_of_add = errSecSuccess;
inline OSStatus result_of_delete = errSecSuccess;
inline OSStatus result_of_search = errSecSuccess;
inline id found = nil;
inline bool returns_though_it_fails = false;

inline void reset_calls() {
  calls.clear();
  result_of_add = result_of_delete = result_of_search = errSecSuccess;
  found = nil;
  returns_though_it_fails = false;
}

inline void record(const char *function, CFDictionaryRef dictionary, const CFTypeRef *result) {
  calls.push_back(
      {function, Given(dictionary), result != nullptr, result != nullptr && *result == nullptr});
}

} // namespace veltro::test

extern "C" {

OSStatus SecItemAdd(CFDictionaryRef attributes, CFTypeRef *result) {
  veltro::test::record("SecItemAdd", attributes, result);
  return veltro::test::result_of_add;
}

OSStatus SecItemDelete(CFDictionaryRef query) {
  veltro::test::record("SecItemDelete", query, nullptr);
  return veltro::test::result_of_delete;
}

OSStatus SecItemCopyMatching(CFDictionaryRef query, CFTypeRef *result) {
  veltro::test::record("SecItemCopyMatching", query, result);
  if ((veltro::test::result_of_search == errSecSuccess || veltro::test::returns_though_it_fails) &&
      result != nullptr)
    *result = (CFTypeRef)[veltro::test::found retain];
  return veltro::test::result_of_search;
}

} // extern "C"
