// SecItemAdd, SecItemCopyMatching, SecItemUpdate and SecItemDelete for generic passwords. Follows
// Apple's Keychain Services reference. Left out: the other classes, references, access controls,
// and the search keys that only certificates have. A process has no entitlements on Linux: it may
// use any access group.

#include "frameworks/Security/item_query.hpp"
#include "frameworks/Security/results.hpp"
#include "frameworks/Security/store.hpp"

#include <Security/SecItem.h>

#import <Foundation/Foundation.h>

#include <cstring>
#include <utility>

using veltro::host::keychain::Fields;
using veltro::host::keychain::ItemQuery;
using veltro::host::keychain::Results;
using veltro::host::keychain::sealing_is_ready;
using veltro::host::keychain::Secret;
using veltro::host::keychain::Store;
using veltro::host::keychain::Use;

namespace {

/// Reads the dictionary, once it is sure that secrets can be sealed.
OSStatus read(CFDictionaryRef dictionary, Use use, ItemQuery &out) {
  return sealing_is_ready() ? read_item_query(dictionary, use, out) : errSecNotAvailable;
}

/// A copy of a secret that the caller gave.
Secret copy_of(std::string_view bytes) {
  Secret copy(bytes.size());
  if (copy && !bytes.empty())
    std::memcpy(copy.bytes(), bytes.data(), bytes.size());
  return copy;
}

OSStatus add(CFDictionaryRef attributes, CFTypeRef *result) {
  ItemQuery item;
  if (const OSStatus read_status = read(attributes, Use::add, item); read_status != errSecSuccess)
    return read_status;
  const std::string_view secret = item.secret.value_or(std::string_view());
  const OSStatus status = Store::shared().add(item.query.fields, secret);
  if (status != errSecSuccess || result == nullptr)
    return status;
  *result = item.return_data || item.return_attributes
                ? Results(item.return_data, item.return_attributes)
                      .new_answer(item.query.fields, item.return_data ? copy_of(secret) : Secret())
                : nil;
  return status;
}

OSStatus copy_matching(CFDictionaryRef dictionary, CFTypeRef *result) {
  ItemQuery query;
  if (const OSStatus status = read(dictionary, Use::search, query); status != errSecSuccess)
    return status;
  const bool answers = result != nullptr && (query.return_data || query.return_attributes);
  Results results(query.return_data, query.return_attributes);
  NSMutableArray *many = nil;
  id one = nil;
  const OSStatus status = Store::shared().search(
      query.query, answers && query.return_data, [&](const Fields &fields, Secret secret) {
        if (!answers)
          return;
        id answer = results.new_answer(fields, std::move(secret));
        if (!query.many) {
          one = answer;
          return;
        }
        if (many == nil)
          many = [[NSMutableArray alloc] init];
        [many addObject:answer];
        [answer release];
      });
  if (status == errSecSuccess && result != nullptr)
    *result = query.many ? many : one;
  else {
    for (id unwanted in many)
      Results::wipe_secret_of(unwanted);
    Results::wipe_secret_of(one);
    [many release];
    [one release];
  }
  return status;
}

} // namespace

extern "C" {

OSStatus SecItemAdd(CFDictionaryRef attributes, CFTypeRef *result) {
  return add(attributes, result);
}

OSStatus SecItemCopyMatching(CFDictionaryRef query, CFTypeRef *result) {
  return copy_matching(query, result);
}

OSStatus SecItemUpdate(CFDictionaryRef query, CFDictionaryRef attributesToUpdate) {
  ItemQuery items;
  ItemQuery changes;
  OSStatus status = read(query, Use::update_query, items);
  if (status == errSecSuccess)
    status = read(attributesToUpdate, Use::changes, changes);
  return status == errSecSuccess
             ? Store::shared().update(items.query, changes.query.fields, changes.secret)
             : status;
}

OSStatus SecItemDelete(CFDictionaryRef query) {
  ItemQuery items;
  const OSStatus status = read(query, Use::remove, items);
  return status == errSecSuccess ? Store::shared().remove(items.query) : status;
}

} // extern "C"
