// What SQLite cannot do for want of memory, disk or time is told, and says nothing against the
// file: it stays where it is.

#include "platform/frameworks/Security/keychain.hpp"

#include <array>
#include <cstring>
#include <dlfcn.h>
#include <functional>
#include <sqlite3.h>
#include <utility>

namespace {

/// The result code that the next statements with `failing_text` in them get; SQLITE_OK for none.
int failure = SQLITE_OK;
std::string failing_text;
bool fails_to_prepare = false;
int failures = 0;

int statements = 0; ///< that are prepared now
bool reading_fails = false;
bool quota_is_used_up = false;
std::function<void()> before_begin; ///< what happens once while a writer waits for its turn
int busy_timeout = -1;

template <typename Function> Function real(const char *name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

bool is_to_fail(const char *sql) {
  const bool fails =
      failure != SQLITE_OK && sql != nullptr && std::strstr(sql, failing_text.c_str()) != nullptr;
  failures += fails;
  return fails;
}

} // namespace

extern "C" {

int sqlite3_prepare_v3(sqlite3 *connection, const char *sql, int length, unsigned flags,
                       sqlite3_stmt **statement, const char **rest) {
  static const auto prepare = real<decltype(&sqlite3_prepare_v3)>("sqlite3_prepare_v3");
  if (fails_to_prepare && is_to_fail(sql))
    return failure;
  const int code = prepare(connection, sql, length, flags, statement, rest);
  statements += code == SQLITE_OK;
  return code;
}

int sqlite3_finalize(sqlite3_stmt *statement) {
  static const auto finalize = real<decltype(&sqlite3_finalize)>("sqlite3_finalize");
  statements -= statement != nullptr;
  return finalize(statement);
}

int sqlite3_extended_errcode(sqlite3 *connection) {
  static const auto code = real<decltype(&sqlite3_extended_errcode)>("sqlite3_extended_errcode");
  return fails_to_prepare && failure != SQLITE_OK ? failure : code(connection);
}

int sqlite3_step(sqlite3_stmt *statement) {
  static const auto step = real<decltype(&sqlite3_step)>("sqlite3_step");
  static const auto text = real<decltype(&sqlite3_sql)>("sqlite3_sql");
  if (!fails_to_prepare && is_to_fail(text(statement)))
    return failure;
  if (before_begin && text(statement) == std::string_view("BEGIN IMMEDIATE"))
    std::exchange(before_begin, nullptr)();
  return step(statement);
}

int sqlite3_busy_timeout(sqlite3 *connection, int milliseconds) {
  static const auto set = real<decltype(&sqlite3_busy_timeout)>("sqlite3_busy_timeout");
  busy_timeout = milliseconds;
  return set(connection, 1);
}

ssize_t pread64(int file, void *bytes, size_t length, off64_t at) {
  static const auto read = real<decltype(&pread64)>("pread64");
  if (reading_fails) {
    errno = EIO;
    return -1;
  }
  return read(file, bytes, length, at);
}

ssize_t pwrite64(int file, const void *bytes, size_t length, off64_t at) {
  static const auto write = real<decltype(&pwrite64)>("pwrite64");
  if (quota_is_used_up) {
    errno = EDQUOT;
    return -1;
  }
  return write(file, bytes, length, at);
}

} // extern "C"

namespace veltro::test {
namespace {

class KeychainFailures : public Keychain {
protected:
  void SetUp() override {
    Keychain::SetUp();
    ASSERT_EQ(add(@"mail", @"ann", "one"), errSecSuccess);
    failures = 0;
  }
  void TearDown() override { failure = SQLITE_OK; }

  /// Lets the statements with this text fail while `operation` runs.
  static OSStatus failing(int code, const char *text, const std::function<OSStatus()> &operation) {
    close_keychain(); // so that every statement is prepared anew
    failing_text = text;
    failure = code;
    const OSStatus status = operation();
    failure = SQLITE_OK;
    return status;
  }

  static void expect_all_is_well() {
    EXPECT_EQ(quarantined_files(), 0);
    EXPECT_TRUE([secret(item(@"mail", @"ann")) isEqual:bytes("one")]);
    EXPECT_EQ([list(item(nil, nil)) count], 1U);
  }
};

TEST_F(KeychainFailures, OfAnyKindHaveTheirStatusAndQuarantineNothing) {
  const std::array<std::pair<int, OSStatus>, 9> codes{{
      {SQLITE_NOMEM, -108},
      {SQLITE_BUSY, -25291},
      {SQLITE_BUSY_SNAPSHOT, -25291},
      {SQLITE_LOCKED, -25291},
      {SQLITE_IOERR_READ, -36},
      {SQLITE_FULL, -34},
      {SQLITE_READONLY, -61},
      {SQLITE_CANTOPEN, -25291},
      {SQLITE_ERROR, -25291},
  }};
  Entries *const ann = item(@"mail", @"ann");
  Entries *const label = with([Entries dictionary], kSecAttrLabel, @"label");
  const std::array<std::pair<const char *, std::function<OSStatus()>>, 10> operations{{
      {"user_version", [&] { return status_of_search(ann); }},
      {"sqlite_schema", [&] { return status_of_search(ann); }},
      {"SELECT *", [&] { return status_of_search(ann); }},
      {"SELECT *", [&] { return update(ann, label); }},
      {"DELETE", [&] { return remove(ann); }},
      {"INSERT", [&] { return add(@"mail", @"bob", "two"); }},
      {"INSERT", [&] { return update(ann, label); }},
      {"BEGIN", [&] { return add(@"mail", @"bob", "two"); }},
      {"COMMIT", [&] { return remove(ann); }},
      {"COMMIT", [&] { return add(@"mail", @"bob", "two"); }},
  }};
  for (const bool preparing : {true, false})
    for (const auto &[code, status] : codes)
      for (const auto &[text, operation] : operations) {
        SCOPED_TRACE(std::string(text) + ", code " + std::to_string(code) +
                     (preparing ? ", prepared" : ", run"));
        fails_to_prepare = preparing;
        failures = 0;
        // A full disk has a second way to read, which fails here as well.
        EXPECT_EQ(failing(code, text, operation), status);
        EXPECT_GT(failures, 0);
        status_of_search(ann); // lets no failed deletion speak for the next addition
        expect_all_is_well();
      }
}

TEST_F(KeychainFailures, ATransactionThatCannotBeRolledBackHoldsUpNobody) {
  fails_to_prepare = true;
  OSStatus status = 0;
  close_keychain();
  failing_text = "";
  ASSERT_EQ(status_of_search(item(@"mail", @"ann")), errSecSuccess);
  failing_text = "O"; // INTO, ROLLBACK; not BEGIN IMMEDIATE
  failure = SQLITE_NOMEM;
  status = add(@"mail", @"bob", "two");
  failure = SQLITE_OK;
  EXPECT_EQ(status, errSecAllocate);
  EXPECT_EQ(add(@"mail", @"cid", "three"), errSecSuccess);
  EXPECT_EQ([list(item(nil, nil)) count], 2U);
}

TEST_F(KeychainFailures, WithoutMemory) {
  close_keychain();
  status_of_search(item(@"mail", @"ann"));
  const auto limit = real<decltype(&sqlite3_hard_heap_limit64)>("sqlite3_hard_heap_limit64");
  limit(real<decltype(&sqlite3_memory_used)>("sqlite3_memory_used")());
  Entries *const labelled =
      with(item(@"mail", nil), kSecAttrLabel, @"a query that is prepared anew");
  const OSStatus status = status_of_search(labelled);
  close_keychain();
  const OSStatus when_opened = status_of_search(item(@"mail", @"ann"));
  limit(0);
  EXPECT_EQ(status, errSecAllocate);
  EXPECT_EQ(when_opened, errSecAllocate);
  expect_all_is_well();
}

TEST_F(KeychainFailures, WhereTheDiskDoesNotRead) {
  checkpoint();
  reading_fails = true;
  const OSStatus status = status_of_search(item(@"mail", @"ann"));
  reading_fails = false;
  EXPECT_EQ(status, errSecIO);
  expect_all_is_well();
}

TEST_F(KeychainFailures, WhatIsThereIsReadWhereTheQuotaIsUsedUp) {
  close_keychain();
  files::remove(paths().database + "-shm"); // which takes disk space to make
  quota_is_used_up = true;
  const OSStatus status = status_of_search(item(@"mail", @"ann"));
  quota_is_used_up = false;
  EXPECT_EQ(status, errSecSuccess);
  expect_all_is_well();
}

TEST_F(KeychainFailures, WhereAnotherProgramKeepsTheFile) {
  close_keychain();
  std::array<int, 2> pipe{};
  ASSERT_EQ(::pipe(pipe.data()), 0);
  const pid_t other = start_child([&] {
    keychain::Database database;
    database.open(paths().database, keychain::Database::Access::exclusive);
    const char held = database.run("BEGIN EXCLUSIVE") == SQLITE_OK ? 'y' : 'n';
    while (write(pipe[1], &held, 1) == 1)
      pause();
    return 1;
  });
  char held = 'n';
  ASSERT_EQ(read(pipe[0], &held, 1), 1);
  ASSERT_EQ(held, 'y');
  EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecNotAvailable);
  EXPECT_EQ(add(@"mail", @"bob", "two"), errSecNotAvailable);
  EXPECT_EQ(busy_timeout, 60'000);
  kill(other, SIGKILL);
  wait_for(other);
  for (const int end : pipe)
    close(end);
  expect_all_is_well();
}

TEST_F(KeychainFailures, ASaveSaysWhyTheOldItemIsInItsWay) {
  fails_to_prepare = false;
  EXPECT_EQ(failing(SQLITE_FULL, "DELETE", [] { return remove(item(@"mail", @"ann")); }),
            errSecDiskFull);
  EXPECT_EQ(add(@"mail", @"ann", "two"), errSecDiskFull);
  EXPECT_EQ(add(@"mail", @"ann", "two"), errSecDuplicateItem);
  expect_all_is_well();
}

TEST_F(KeychainFailures, AWriterThatWaitedWritesToTheFileThatIsThereThen) {
  checkpoint();
  ASSERT_EQ(status_of_search(item(@"mail", @"ann")), errSecSuccess);
  const std::string copy = paths().database + ".copy";
  before_begin = [&] {
    write_file(copy, contents(paths().database));
    for (const char *suffix : {"-wal", "-shm"})
      files::remove(paths().database + suffix);
    files::rename(copy, paths().database);
  };
  EXPECT_EQ(add(@"mail", @"bob", "two"), errSecSuccess);
  EXPECT_FALSE(before_begin);
  close_keychain();
  EXPECT_EQ([list(item(nil, nil)) count], 2U);
}

TEST_F(KeychainFailures, StatementsOfManyQueriesDoNotPileUp) {
  const std::array<std::pair<CFStringRef, id>, 8> values{{{kSecAttrService, @"mail"},
                                                          {kSecAttrAccount, @"ann"},
                                                          {kSecAttrLabel, @"x"},
                                                          {kSecAttrComment, @"x"},
                                                          {kSecAttrDescription, @"x"},
                                                          {kSecAttrIsInvisible, yes()},
                                                          {kSecAttrAccessGroup, @"x"},
                                                          {kSecAttrSynchronizable, yes()}}};
  int most = 0;
  for (unsigned shape = 0; shape < 256; ++shape) {
    Entries *query = item(nil, nil);
    for (std::size_t at = 0; at < values.size(); ++at)
      if ((shape >> at & 1) != 0)
        query = with(query, values[at].first, values[at].second);
    status_of_search(query);
    most = std::max(most, statements);
  }
  EXPECT_GT(most, 32) << "they stay prepared";
  EXPECT_LT(most, 100);
}

} // namespace
} // namespace veltro::test
