#include "frameworks/Security/database.hpp"

#include "platform/frameworks/Security/keychain.hpp"

namespace veltro::test {
namespace {

using Database = Keychain;

TEST_F(Database, KeepsItsFewStatementsWhateverElseIsPrepared) {
  ASSERT_EQ(add(@"mail", @"ann", "secret"), errSecSuccess);
  let_go();
  keychain::Database database;
  ASSERT_EQ(database.open(paths().database, keychain::Database::Access::read_write), SQLITE_OK);
  const auto statement = [&](std::uint32_t key) {
    return database.statement(key, [] { return std::string("SELECT svce FROM genp"); });
  };
  sqlite3_stmt *const kept = statement(1);
  ASSERT_NE(kept, nullptr);
  const keychain::StatementUse use(kept);
  const std::uint32_t first = keychain::Database::first_of_many;
  for (std::uint32_t key = first; key < first + 200; ++key)
    ASSERT_EQ(statement(key), statement(key)) << "known from now on";
  EXPECT_EQ(statement(1), kept);
}

TEST_F(Database, UndoesATransactionThatIsNotCommitted) {
  ASSERT_EQ(add(@"mail", @"ann", "secret"), errSecSuccess);
  let_go();
  keychain::Database database;
  ASSERT_EQ(database.open(paths().database, keychain::Database::Access::read_write), SQLITE_OK);
  std::int64_t count = -1;
  for (const bool commit : {false, true}) {
    {
      keychain::Transaction transaction(database);
      ASSERT_EQ(transaction.begun(), SQLITE_OK);
      ASSERT_EQ(database.run("DELETE FROM genp"), SQLITE_OK);
      if (commit)
        EXPECT_EQ(transaction.commit(), SQLITE_OK);
    }
    EXPECT_EQ(database.number("SELECT count(*) FROM genp", count), SQLITE_OK);
    EXPECT_EQ(count, commit ? 0 : 1);
  }
}

TEST_F(Database, SaysWhyATransactionCannotBegin) {
  keychain::Database nowhere;
  ASSERT_NE(nowhere.open(paths().database, keychain::Database::Access::read_write), SQLITE_OK);
  EXPECT_NE(keychain::Transaction(nowhere).begun(), SQLITE_OK);
}

} // namespace
} // namespace veltro::test
