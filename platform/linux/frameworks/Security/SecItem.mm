// SecItemAdd, SecItemCopyMatching, SecItemUpdate and SecItemDelete for generic passwords. Follows
// Apple's Keychain Services reference. Left out: the other classes, references, access controls,
// and the search keys that only certificates have. A process has no entitlements on Linux: it may
// use any access group.

#include "frameworks/Security/item_dictionaries.hpp"
#include "frameworks/Security/operations.hpp"

#include <Security/SecItem.h>

#import <Foundation/Foundation.h>

#include <string_view>

using namespace veltro::host::keychain;

extern "C" {

OSStatus SecItemAdd(CFDictionaryRef attributes, CFTypeRef *result) {
  ItemQuery item;
  OSStatus status = read_item_query(attributes, Use::add, item);
  if (status != errSecSuccess)
    return status;
  const std::string_view secret = item.secret.value_or(std::string_view());
  status = add(item.query.fields, secret);
  if (status != errSecSuccess || result == nullptr)
    return status;
  *result = Results(item.return_attributes)
                .new_result(item.query.fields, item.return_data ? secret_of(secret) : Secret());
  return status;
}

OSStatus SecItemCopyMatching(CFDictionaryRef dictionary, CFTypeRef *result) {
  ItemQuery query;
  OSStatus status = read_item_query(dictionary, Use::search, query);
  if (status != errSecSuccess)
    return status;
  const bool returns = result != nullptr && (query.return_data || query.return_attributes);
  Results results(query.return_attributes);
  id all = nil; // the items that were found, or the one where only one is asked for
  Search search(query.query, returns && query.return_data);
  while (search.next()) {
    if (!returns)
      continue;
    id found = results.new_result(search.fields(), search.take_secret());
    if (!query.many) {
      all = found;
      continue;
    }
    if (all == nil)
      all = [[NSMutableArray alloc] init];
    [all addObject:found];
    [found release];
  }
  status = search.finish();
  if (status == errSecSuccess && result != nullptr) {
    *result = all;
    return status;
  }
  for (id unwanted in query.many ? all : nil) // a search for one does not fail once it has found it
    Results::wipe_secret_of(unwanted);
  [all release];
  return status;
}

OSStatus SecItemUpdate(CFDictionaryRef query, CFDictionaryRef attributesToUpdate) {
  ItemQuery items;
  ItemQuery changes;
  OSStatus status = read_item_query(query, Use::update_query, items);
  if (status == errSecSuccess)
    status = read_item_query(attributesToUpdate, Use::changes, changes);
  return status == errSecSuccess ? update(items.query, changes.query.fields, changes.secret)
                                 : status;
}

OSStatus SecItemDelete(CFDictionaryRef query) {
  ItemQuery items;
  const OSStatus status = read_item_query(query, Use::remove, items);
  return status == errSecSuccess ? remove(items.query) : status;
}

} // extern "C"
