// Items as rows: the statements on the table and what goes in and out of them.
#pragma once

#include "frameworks/Security/attributes.hpp"
#include "frameworks/Security/database.hpp"

#include <cstdint>
#include <string_view>

namespace veltro::host::keychain {

/// Which items are meant: those that have every value present in `fields`.
struct Query {
  Fields fields;
  bool any_sync = false;  ///< synchronised or not; else the flag decides, and its absence means no
  std::int64_t limit = 0; ///< 0 for all
};

/// An item as a statement sees it. The views hold until the statement moves.
struct Row {
  Fields fields;
  std::string_view checksum;
  std::string_view sealed;
  std::int64_t id = 0;
};

/// The statements below have the values of their query bound; null where SQLite refuses them.
sqlite3_stmt *select_items(Database &database, const Query &query);
sqlite3_stmt *select_item(Database &database, std::int64_t id);
sqlite3_stmt *delete_items(Database &database, const Query &query);
sqlite3_stmt *insert_item(Database &database, const Row &row);
sqlite3_stmt *update_item(Database &database, const Row &row);

/// The row that a statement of select_items or select_item stands on.
Row row_of(sqlite3_stmt *statement);

/// The text of a selection of whole rows, to which a condition may be added.
std::string selection_of_rows();

} // namespace veltro::host::keychain
