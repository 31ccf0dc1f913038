// What a process remembers of the keychain, and that it forgets it in time.

#include "frameworks/Security/known_rows.hpp"

#include "frameworks/Security/sealing.hpp"
#include "platform/frameworks/Security/keychain.hpp"

#include <array>
#include <set>

namespace veltro::test {
namespace {

using keychain::CommitStamp;
using keychain::Field;
using keychain::KnownRow;
using keychain::KnownRows;

KnownRows::Recording recording(std::size_t rows, std::size_t length) {
  KnownRows::Recording recording;
  for (std::size_t row = 0; row < rows; ++row)
    recording.add("bound", std::string(length, 'x'));
  return recording;
}

TEST(KnownRows, AreKnownUntilTheNextCommit) {
  KnownRows known;
  const CommitStamp first{1};
  const CommitStamp second{2};
  EXPECT_EQ(known.find(first, "search"), nullptr);
  known.keep(first, "search", recording(2, 3));
  known.keep(first, "nothing", {});
  const std::vector<KnownRow> *const rows = known.find(first, "search");
  ASSERT_NE(rows, nullptr);
  ASSERT_EQ(rows->size(), 2U);
  EXPECT_EQ(rows->front().bound, "bound");
  EXPECT_EQ(rows->front().sealed, "xxx");
  ASSERT_NE(known.find(first, "nothing"), nullptr);
  EXPECT_TRUE(known.find(first, "nothing")->empty());
  EXPECT_EQ(known.find(first, "other"), nullptr);
  EXPECT_EQ(known.find(second, "search"), nullptr);
  known.keep(second, "other", recording(1, 1));
  EXPECT_EQ(known.find(second, "search"), nullptr) << "of the commit before";
  known.forget();
  EXPECT_EQ(known.find(second, "other"), nullptr);
}

TEST(KnownRows, AreWantedAtTheSecondTime) {
  KnownRows known;
  EXPECT_FALSE(known.is_repeated("one"));
  EXPECT_FALSE(known.is_repeated("two"));
  EXPECT_TRUE(known.is_repeated("one"));
  EXPECT_TRUE(known.is_repeated("one"));
  int repeated = 0;
  for (int search = 0; search < 10'000; ++search)
    repeated += known.is_repeated(std::to_string(search));
  EXPECT_LT(repeated, 10);
}

TEST(KnownRows, KeepNoLongAnswersAndNotTooMany) {
  KnownRows known;
  const CommitStamp commit{1};
  known.keep(commit, "long", recording(1000, 100));
  EXPECT_EQ(known.find(commit, "long"), nullptr);
  known.keep(commit, "large", recording(1, 100'000));
  EXPECT_EQ(known.find(commit, "large"), nullptr);
  int kept = 0;
  for (int search = 0; search < 10'000; ++search)
    known.keep(commit, std::to_string(search), recording(1, 1000));
  for (int search = 0; search < 10'000; ++search)
    kept += known.find(commit, std::to_string(search)) != nullptr;
  EXPECT_GT(kept, 0);
  EXPECT_LT(kept, 2000);
  EXPECT_NE(known.find(commit, "9999"), nullptr);
}

TEST(KnownRows, SearchesThatDifferHaveNamesThatDiffer) {
  std::vector<keychain::Query> queries(9);
  queries[1].limit = 1;
  queries[2].any_sync = true;
  queries[3].fields[keychain::service] = Field::text("ab");
  queries[4].fields[keychain::account] = Field::text("ab");
  queries[5].fields[keychain::service] = Field::text("a");
  queries[6].fields[keychain::sync] = Field::of(std::int64_t{1});
  queries[7].fields[keychain::created] = Field::of(1.0);
  queries[8].fields[keychain::service] = Field::text("a");
  queries[8].fields[keychain::account] = Field::text("b");
  std::set<std::string> names;
  std::string name;
  for (const keychain::Query &query : queries)
    for (const bool with_secrets : {false, true}) {
      write_name(query, with_secrets, name);
      EXPECT_TRUE(names.insert(name).second);
    }
}

TEST(BoundForm, GivesTheAttributesBack) {
  keychain::Fields fields;
  fields[keychain::service] = Field::text("mail");
  fields[keychain::account] = Field::text("");
  fields[keychain::sync] = Field::of(std::int64_t{-2});
  fields[keychain::created] = Field::of(1.5);
  fields[10] = Field::data(std::string_view("\0\1", 2));
  std::string form;
  write_bound_form(fields, form);
  const keychain::Fields again = keychain::fields_of_bound_form(form);
  for (std::size_t at = 0; at < fields.size(); ++at) {
    EXPECT_EQ(again[at].type, fields[at].type) << at;
    EXPECT_EQ(again[at].integer, fields[at].integer) << at;
    EXPECT_EQ(again[at].real, fields[at].real) << at;
    EXPECT_EQ(again[at].bytes, fields[at].bytes) << at;
  }
}

using CommitStamps = Keychain;

TEST_F(CommitStamps, ChangeWithEveryCommitOfAnyConnection) {
  ASSERT_EQ(add(@"mail", @"ann", "secret"), errSecSuccess);
  let_go();
  keychain::Database watching;
  keychain::Database writing;
  std::int64_t ignored = 0;
  for (keychain::Database *const database : {&watching, &writing})
    ASSERT_EQ(database->open(paths().database, keychain::Database::Access::read_write), SQLITE_OK);
  EXPECT_FALSE(watching.last_commit());
  ASSERT_EQ(watching.number("SELECT count(*) FROM genp", ignored), SQLITE_OK);
  watching.watch_commits();
  std::set<CommitStamp> seen;
  for (int commit = 0; commit < 5; ++commit) {
    ASSERT_TRUE(watching.last_commit());
    EXPECT_TRUE(seen.insert(*watching.last_commit()).second);
    EXPECT_EQ(watching.last_commit(), watching.last_commit());
    ASSERT_EQ(writing.run("UPDATE genp SET cdat = cdat + 1"), SQLITE_OK);
  }
  watching.close();
  EXPECT_FALSE(watching.last_commit());
}

/// Moves the log of the keychain under `root` into its file.
void fold(const files::path &root) {
  let_go();
  keychain::Database database;
  ASSERT_EQ(database.open(keychain::Paths::at(root.string()).database,
                          keychain::Database::Access::read_write),
            SQLITE_OK);
  ASSERT_EQ(database.run("PRAGMA wal_checkpoint(TRUNCATE)"), SQLITE_OK);
  database.close_and_fold_log();
}

// Logs that are empty look all the same.
TEST_F(CommitStamps, DoNotPassFromOneKeychainToAnother) {
  const files::path second = scratch() / "second";
  ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
  fold(device_root());
  setenv("VELTRO_ROOT", second.c_str(), 1);
  ASSERT_EQ(add(@"mail", @"ann", "two"), errSecSuccess);
  fold(second);
  for (int again = 0; again < 3; ++again)
    EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("one")]);
  setenv("VELTRO_ROOT", second.c_str(), 1);
  for (int again = 0; again < 3; ++again)
    EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("two")]);
  let_go();
  files::remove_all(second);
}

/// Another process, which runs one action each time that it is told to.
class Other {
public:
  explicit Other(const std::vector<std::function<int()>> &actions) {
    if (pipe(orders_.data()) != 0 || pipe(answers_.data()) != 0)
      std::abort();
    child_ = start_child([&] {
      for (const auto &action : actions) {
        char order = 0;
        const int answer = read(orders_[0], &order, 1) == 1 ? action() : -1;
        if (write(answers_[1], &answer, sizeof answer) != sizeof answer)
          return 1;
      }
      return 0;
    });
  }
  ~Other() {
    EXPECT_EQ(wait_for(child_), 0);
    for (const int end : {orders_[0], orders_[1], answers_[0], answers_[1]})
      close(end);
  }
  Other(const Other &) = delete;
  Other &operator=(const Other &) = delete;

  int act() {
    int answer = -1;
    return write(orders_[1], "x", 1) == 1 &&
                   read(answers_[0], &answer, sizeof answer) == sizeof answer
               ? answer
               : -1;
  }

private:
  std::array<int, 2> orders_{}, answers_{};
  pid_t child_ = 0;
};

// The other process is there before this one opens the keychain, since a fork closes it.
TEST_F(CommitStamps, AProcessForgetsWhatAnotherChanges) {
  Other other({[] { return add(@"mail", @"ann", "one"); },
               [] {
                 return update(item(@"mail", @"ann"),
                               with([Entries dictionary], kSecValueData, bytes("two")));
               },
               [] { return remove(item(@"mail", @"ann")); }});
  ASSERT_EQ(add(@"mail", @"bob", "other"), errSecSuccess);
  const auto expect = [](const char *found, NSUInteger listed) {
    for (int again = 0; again < 3; ++again) {
      NSData *const data = found != nullptr ? bytes(found) : nil;
      NSData *const stored = secret(item(@"mail", @"ann"));
      EXPECT_TRUE(stored == data || [stored isEqual:data]) << again;
      EXPECT_EQ([list(item(@"mail", nil)) count], listed) << again;
    }
  };
  expect(nullptr, 1);
  EXPECT_EQ(other.act(), errSecSuccess);
  expect("one", 2);
  EXPECT_EQ(other.act(), errSecSuccess);
  expect("two", 2);
  EXPECT_EQ(other.act(), errSecSuccess);
  expect(nullptr, 1);
}

} // namespace
} // namespace veltro::test
