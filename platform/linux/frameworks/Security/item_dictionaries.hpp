// What the dictionaries of the item functions say.
#pragma once

#include "frameworks/Security/attributes.hpp"

#include <CoreFoundation/CFBase.h>
#include <MacTypes.h>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

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

} // namespace veltro::host::keychain
