#include "frameworks/Security/database.hpp"

#include "platform/frameworks/Security/keychain.hpp"

namespace veltro::test {
namespace {

using Database = Keychain;

TEST_F(Database, UndoesATransactionThatIsNotCommitted) {
  ASSERT_EQ(add(@"mail", @"ann", "secret"), errSecSuccess);
  close_keychain();
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
