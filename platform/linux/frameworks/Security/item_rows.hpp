// Items as rows: the statements on the table and what goes in and out of them.
#pragma once

#include "frameworks/Security/database.hpp"

#include <cstdint>
#include <string>
#include <string_view>

namespace veltro::host::keychain {

/// An item in the table. The views hold until the statement moves.
struct Row {
  Fields fields;
  std::string_view sealed;
  std::int64_t id = 0; ///< 0 for an item that is not in the table yet
};

/// A selection of the rows that match, whatever the query's limit.
class Selection : public Statement {
public:
  Selection(Database &database, const Query &query);
};

/// Reads the row that a statement stands on that selects every column.
void read_row(const Statement &statement, Row &out);

/// The rest return SQLite's result code; SQLITE_DONE where all went well.
int delete_items(Database &database, const Query &query);
int delete_item(Database &database, std::int64_t id);
int insert_item(Database &database, const Row &row);

} // namespace veltro::host::keychain
