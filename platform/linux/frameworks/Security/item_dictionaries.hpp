// Items as the dictionaries that the item functions are given, and as the objects that they return.
#pragma once

#include "frameworks/Security/attributes.hpp"
#include "frameworks/Security/sealing.hpp"

#import <Foundation/Foundation.h>

#include <MacTypes.h>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace veltro::host::keychain {

/// What the dictionary is for: it decides which keys may be in it.
enum class Use : std::uint8_t { add, search, remove, update_query, changes };

/// A dictionary, read. The views in it hold as long as it does, and the dictionary's objects.
struct ItemQuery {
  ItemQuery() = default;
  ItemQuery(const ItemQuery &) = delete;
  ItemQuery &operator=(const ItemQuery &) = delete;

  Query query;
  std::optional<std::string_view> secret;
  bool return_data = false;
  bool return_attributes = false;
  bool many = false; ///< whether a search returns an array

  std::array<std::string, kAttributes.size()> texts; ///< that the query's fields are views of
};

/// Reads `dictionary`; errSecParam where it is not what the documentation asks for, and
/// errSecUnimplemented where it asks for references.
OSStatus read_item_query(CFDictionaryRef dictionary, Use use, ItemQuery &out);

/// Makes the results of one call; values that many items share become one object.
class Results {
public:
  explicit Results(bool attributes);
  ~Results();
  Results(const Results &) = delete;
  Results &operator=(const Results &) = delete;

  /// The secret, a dictionary of attributes, or one of both where there is a secret; nil where
  /// neither is wanted. The caller owns it, and the secret's bytes become its own.
  id new_result(const Fields &fields, Secret secret);

  /// Overwrites the secret in a result that nobody gets.
  static void wipe_secret_of(id result);

private:
  /// An object and what it was made of.
  struct Value {
    Field field; ///< its bytes are those of `bytes`
    std::string bytes;
    id object = nil;
  };

  /// The object for a value, which holds until the next item.
  id value(std::size_t at, const Field &field);

  std::vector<Value> last_; ///< of each attribute; none where attributes are not wanted
};

} // namespace veltro::host::keychain
