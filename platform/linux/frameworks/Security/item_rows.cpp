#include "frameworks/Security/item_rows.hpp"

#include <string>

namespace veltro::host::keychain {
namespace {

constexpr int checksum_column = static_cast<int>(attributes.size());
constexpr int sealed_column = checksum_column + 1;
constexpr int id_column = checksum_column + 2;

// The keys of prepared statements: what they do, and for queries which attributes they give.
enum Verb : std::uint32_t {
  selecting = Database::first_of_many,
  deleting = 2 * Database::first_of_many
};
enum Fixed : std::uint32_t { selecting_one = 1, inserting = 2, updating = 3 };

constexpr std::uint32_t any_sync_bit = 1U << 15;
constexpr std::uint32_t limit_bit = 1U << 16;

std::uint32_t shape_of(const Query &query) {
  std::uint32_t shape = query.limit > 0 ? limit_bit : 0;
  if (query.any_sync)
    shape |= any_sync_bit;
  for (std::size_t at = 0; at < attributes.size(); ++at)
    if (query.fields[at].present())
      shape |= 1U << at;
  return shape;
}

/// Every parameter has its attribute's number, and the limit the number after them.
std::string parameter(std::size_t at) {
  return "?" + std::to_string(at + 1);
}

std::string condition_of(const Query &query) {
  std::string condition;
  for (std::size_t at = 0; at < attributes.size(); ++at)
    if (query.fields[at].present())
      condition += std::string(condition.empty() ? "" : " AND ") + '"' + attributes[at].key +
                   "\" = " + parameter(at);
  if (!query.any_sync && !query.fields[sync].present())
    condition += std::string(condition.empty() ? "" : " AND ") + "sync = 0";
  std::string clause = condition.empty() ? "" : " WHERE " + condition;
  if (query.limit > 0)
    clause += " LIMIT " + parameter(attributes.size());
  return clause;
}

void bind(sqlite3_stmt *statement, std::size_t at, const Field &field) {
  const int parameter = static_cast<int>(at) + 1;
  // SQLite takes a null pointer for NULL, and an empty view may have one.
  const char *const bytes = field.bytes.empty() ? "" : field.bytes.data();
  switch (field.type) {
  case Field::Type::absent:
    sqlite3_bind_null(statement, parameter);
    break;
  case Field::Type::integer:
    sqlite3_bind_int64(statement, parameter, field.integer);
    break;
  case Field::Type::real:
    sqlite3_bind_double(statement, parameter, field.real);
    break;
  case Field::Type::text:
    sqlite3_bind_text64(statement, parameter, bytes, field.bytes.size(), SQLITE_STATIC,
                        SQLITE_UTF8);
    break;
  case Field::Type::data:
    sqlite3_bind_blob64(statement, parameter, bytes, field.bytes.size(), SQLITE_STATIC);
    break;
  }
}

sqlite3_stmt *with_query(sqlite3_stmt *statement, const Query &query) {
  if (statement == nullptr)
    return nullptr;
  for (std::size_t at = 0; at < attributes.size(); ++at)
    if (query.fields[at].present())
      bind(statement, at, query.fields[at]);
  if (query.limit > 0)
    bind(statement, attributes.size(), Field::of(query.limit));
  return statement;
}

sqlite3_stmt *with_row(sqlite3_stmt *statement, const Row &row) {
  if (statement == nullptr)
    return nullptr;
  for (std::size_t at = 0; at < attributes.size(); ++at)
    bind(statement, at, row.fields[at]);
  bind(statement, checksum_column, Field::data(row.checksum));
  bind(statement, sealed_column, Field::data(row.sealed));
  return statement;
}

std::string columns() {
  std::string names;
  for (const Attribute &attribute : attributes)
    names += std::string("\"") + attribute.key + "\", ";
  return names + "checksum, sealed";
}

std::string_view bytes_of(sqlite3_stmt *statement, int column) {
  const void *const bytes = sqlite3_column_blob(statement, column);
  return {static_cast<const char *>(bytes),
          static_cast<std::size_t>(sqlite3_column_bytes(statement, column))};
}

Field field_of(sqlite3_stmt *statement, int column) {
  switch (sqlite3_column_type(statement, column)) {
  case SQLITE_INTEGER:
    return Field::of(std::int64_t{sqlite3_column_int64(statement, column)});
  case SQLITE_FLOAT:
    return Field::of(sqlite3_column_double(statement, column));
  case SQLITE_TEXT:
    return Field::text(bytes_of(statement, column));
  case SQLITE_BLOB:
    return Field::data(bytes_of(statement, column));
  default:
    return {};
  }
}

} // namespace

std::string selection_of_rows() {
  return "SELECT " + columns() + ", id FROM genp";
}

sqlite3_stmt *select_items(Database &database, const Query &query) {
  return with_query(database.statement(selecting | shape_of(query),
                                       [&] { return selection_of_rows() + condition_of(query); }),
                    query);
}

sqlite3_stmt *delete_items(Database &database, const Query &query) {
  return with_query(
      database.statement(deleting | shape_of(query),
                         [&] {
                           return query.limit > 0
                                      ? "DELETE FROM genp WHERE id IN (SELECT id FROM genp" +
                                            condition_of(query) + ")"
                                      : "DELETE FROM genp" + condition_of(query);
                         }),
      query);
}

sqlite3_stmt *select_item(Database &database, std::int64_t id) {
  sqlite3_stmt *const statement =
      database.statement(selecting_one, [] { return selection_of_rows() + " WHERE id = ?1"; });
  if (statement != nullptr)
    bind(statement, 0, Field::of(id));
  return statement;
}

sqlite3_stmt *insert_item(Database &database, const Row &row) {
  return with_row(database.statement(inserting,
                                     [] {
                                       std::string values;
                                       for (int at = 0; at < id_column; ++at)
                                         values += (at == 0 ? "?" : ", ?") + std::to_string(at + 1);
                                       return "INSERT INTO genp (" + columns() + ") VALUES (" +
                                              values + ")";
                                     }),
                  row);
}

sqlite3_stmt *update_item(Database &database, const Row &row) {
  sqlite3_stmt *const statement =
      with_row(database.statement(updating,
                                  [] {
                                    std::string values;
                                    for (int at = 0; at < id_column; ++at)
                                      values += (at == 0 ? "?" : ", ?") + std::to_string(at + 1);
                                    return "UPDATE genp SET (" + columns() + ") = (" + values +
                                           ") WHERE id = ?" + std::to_string(id_column + 1);
                                  }),
               row);
  if (statement != nullptr)
    bind(statement, id_column, Field::of(row.id));
  return statement;
}

Row row_of(sqlite3_stmt *statement) {
  Row row;
  for (std::size_t at = 0; at < attributes.size(); ++at)
    row.fields[at] = field_of(statement, static_cast<int>(at));
  row.checksum = bytes_of(statement, checksum_column);
  row.sealed = bytes_of(statement, sealed_column);
  row.id = sqlite3_column_int64(statement, id_column);
  return row;
}

} // namespace veltro::host::keychain
