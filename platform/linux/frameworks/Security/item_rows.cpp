#include "frameworks/Security/item_rows.hpp"

#include <utility>

namespace veltro::host::keychain {
namespace {

/// The parameter of an attribute; those of the rest come after.
constexpr int parameter_of(std::size_t attribute) {
  return static_cast<int>(attribute) + 1;
}
constexpr int kSealedParameter = parameter_of(kAttributes.size());
constexpr int kLimitParameter = kSealedParameter; // of other statements
constexpr int kIdParameter = kSealedParameter + 1;

/// `verb` with the condition of a query. The text is the same for all that give the same
/// attributes.
std::string for_rows_of(const Query &query, std::string_view verb) {
  std::string text;
  text.reserve(256); // enough for most
  text = verb;
  const char *separator = " WHERE \"";
  const auto add = [&](std::size_t at, const std::string &value) {
    text.append(std::exchange(separator, " AND \"")).append(kAttributes[at].key);
    text.append("\" = ").append(value);
  };
  for (std::size_t at = 0; at < kAttributes.size(); ++at)
    if (query.fields[at].present())
      add(at, "?" + std::to_string(parameter_of(at)));
  if (!query.any_sync && !query.fields[sync].present())
    add(sync, "0");
  return text;
}

void bind_present(Statement &statement, const Fields &fields) {
  for (std::size_t at = 0; at < fields.size(); ++at)
    if (fields[at].present())
      statement.bind(parameter_of(at), fields[at]);
}

} // namespace

Selection::Selection(Database &database, const Query &query)
    : Statement(database, for_rows_of(query, "SELECT * FROM genp")) {
  bind_present(*this, query.fields);
}

Row row_of(const Statement &statement) {
  Row row;
  row.id = statement.field(0).integer;
  for (std::size_t at = 0; at < kAttributes.size(); ++at)
    row.fields[at] = statement.field(static_cast<int>(at) + 1);
  row.sealed = statement.field(statement.columns() - 1).bytes;
  return row;
}

int delete_items(Database &database, const Query &query) {
  std::string sql = for_rows_of(query, "DELETE FROM genp");
  if (query.limit > 0)
    sql = for_rows_of(query, "DELETE FROM genp WHERE id IN (SELECT id FROM genp") + " LIMIT ?" +
          std::to_string(kLimitParameter) + ")";
  Statement statement(database, sql);
  bind_present(statement, query.fields);
  if (query.limit > 0)
    statement.bind(kLimitParameter, Field::of(query.limit));
  return statement.step();
}

int delete_item(Database &database, std::int64_t id) {
  Statement statement(database, "DELETE FROM genp WHERE id = ?1");
  statement.bind(1, Field::of(id));
  return statement.step();
}

int insert_item(Database &database, const Row &row) {
  static const std::string text = [] {
    std::string values = "?" + std::to_string(kIdParameter);
    for (int parameter = 1; parameter <= kSealedParameter; ++parameter)
      values += ", ?" + std::to_string(parameter);
    return "INSERT INTO genp VALUES (" + values + ")";
  }();
  Statement statement(database, text);
  bind_present(statement, row.fields);
  statement.bind(kSealedParameter, Field::data(row.sealed));
  if (row.id != 0)
    statement.bind(kIdParameter, Field::of(row.id));
  return statement.step();
}

} // namespace veltro::host::keychain
