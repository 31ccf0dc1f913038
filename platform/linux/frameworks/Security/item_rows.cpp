#include "frameworks/Security/item_rows.hpp"

#include <utility>

namespace veltro::host::keychain {
namespace {

/// `verb` with the condition of a query, whose values are its parameters. The text is the same for
/// all that give the same attributes.
std::string for_rows_of(const Query &query, std::string_view verb) {
  std::string text;
  text.reserve(256); // enough for most
  text = verb;
  std::string_view separator = " WHERE \"";
  const auto add = [&](std::size_t at, std::string_view equals) {
    text.append(std::exchange(separator, " AND \"")).append(kAttributes[at].key).append(equals);
  };
  for (std::size_t at = 0; at < kAttributes.size(); ++at)
    if (query.fields[at].present())
      add(at, "\" = ?");
  if (!query.any_sync && !query.fields[sync].present())
    add(sync, "\" = 0");
  return text;
}

/// Binds the fields that are present, and returns the parameter after theirs.
int bind_present(Statement &statement, const Fields &fields) {
  int parameter = 1;
  for (const Field &field : fields)
    if (field.present())
      statement.bind(parameter++, field);
  return parameter;
}

} // namespace

Selection::Selection(Database &database, const Query &query)
    : Statement(database, for_rows_of(query, "SELECT * FROM genp")) {
  bind_present(*this, query.fields);
}

void read_row(const Statement &statement, Row &out) {
  out.id = statement.integer(0);
  for (std::size_t at = 0; at < kAttributes.size(); ++at)
    statement.read(static_cast<int>(at) + 1, out.fields[at]);
  Field sealed;
  statement.read(statement.columns() - 1, sealed);
  out.sealed = sealed.bytes;
}

int delete_items(Database &database, const Query &query) {
  std::string sql = for_rows_of(query, "DELETE FROM genp");
  if (query.limit > 0)
    sql = for_rows_of(query, "DELETE FROM genp WHERE id IN (SELECT id FROM genp") + " LIMIT ?)";
  Statement statement(database, sql);
  const int limit = bind_present(statement, query.fields);
  if (query.limit > 0)
    statement.bind(limit, Field::of(query.limit));
  return statement.step();
}

int delete_item(Database &database, std::int64_t id) {
  Statement statement(database, "DELETE FROM genp WHERE id = ?");
  statement.bind(1, Field::of(id));
  return statement.step();
}

int insert_item(Database &database, const Row &row) {
  Statement statement(
      database, "INSERT INTO genp VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
  int parameter = 1;
  statement.bind(parameter++, row.id != 0 ? Field::of(row.id) : Field());
  for (const Field &field : row.fields)
    statement.bind(parameter++, field);
  statement.bind(parameter, Field::data(row.sealed));
  return statement.step();
}

} // namespace veltro::host::keychain
