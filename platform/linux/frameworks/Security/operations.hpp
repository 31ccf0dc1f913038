// The four operations on items.
#pragma once

#include "frameworks/Security/item_rows.hpp"
#include "frameworks/Security/session.hpp"

#include <optional>
#include <string_view>
#include <utility>

namespace veltro::host::keychain {

/// Adds an item; group, accessibility and dates that are absent are filled in, also in `fields`.
OSStatus add(Fields &fields, std::string_view secret);

/// Puts the fields that are present in `changes`, and the secret, into every item that matches.
OSStatus update(const Query &query, const Fields &changes, std::optional<std::string_view> secret);

OSStatus remove(const Query &query);

/// Finds items, one after the other. An item that does not unseal ends a search for one item; a
/// search for more skips it.
class Search {
public:
  /// Unseals secrets where `with_secrets` says so, else only verifies them.
  Search(const Query &query, bool with_secrets);

  /// Whether there is another item; no call may follow one that returned false.
  bool next();

  [[nodiscard]] const Fields &fields() const { return row_.fields; } ///< hold until next()
  [[nodiscard]] Secret take_secret() { return std::move(secret_); }

  /// What the search came to; to be asked at its end.
  OSStatus finish();

private:
  Session session_;
  std::optional<Selection> selection_;
  std::int64_t limit_;
  bool with_secrets_;
  int code_ = SQLITE_DONE;
  std::int64_t found_ = 0;
  std::int64_t skipped_ = 0;
  Row row_;
  Secret secret_;
};

} // namespace veltro::host::keychain
