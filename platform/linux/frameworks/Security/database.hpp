// One connection to the keychain's SQLite file, and the file's format.
#pragma once

#include "frameworks/Security/commit_stamp.hpp"
#include "frameworks/Security/folder.hpp"

#include <MacTypes.h>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <sqlite3.h>
#include <string>
#include <unordered_map>

namespace veltro::host::keychain {

/// The statements that lift a file from format n to format n + 1, from an empty file on.
std::span<const char *const> format_steps();

class Database {
public:
  enum class Access : std::uint8_t {
    read_write,
    create,
    immutable, ///< nobody writes the file
    alone      ///< nobody else has a connection, or gets one; needs no room for the log's index
  };

  /// Opens the file; answers SQLite's result code. The file must exist, except to create it.
  int open(const std::string &path, Access access);

  /// Closes the connection and leaves the write-ahead log for the next one to read. A connection
  /// whose file was moved away must go so: it would take the log of the file that came in its
  /// place.
  void close();

  /// Closes the connection; where it is the last one, moves the log into the file.
  void close_and_fold_log();

  [[nodiscard]] bool is_open() const { return connection_ != nullptr; }

  /// Runs statements that answer nothing; answers SQLite's result code.
  int run(const char *sql);

  /// The statement of `key`, prepared from what `sql` answers when it is wanted for the first time;
  /// null where SQLite refuses it. It is reset and has no values bound. Those with keys below
  /// `first_of_many` stay; there may be any number of others, of which one is in use at a time.
  sqlite3_stmt *statement(std::uint32_t key, const std::function<std::string()> &sql);
  static constexpr std::uint32_t first_of_many = 1U << 24;

  /// Runs a statement of `key` that answers nothing.
  int run(std::uint32_t key, const char *sql);

  /// The first column of the first row that `sql` answers.
  int number(const char *sql, std::int64_t &out);

  /// Whether every page and every index is sound; SQLite's result code.
  int check_soundness();

  /// How many rows the last statement changed.
  [[nodiscard]] int changes() const;

  /// The stamp of the last commit that any process made; none where it cannot be told.
  [[nodiscard]] std::optional<CommitStamp> last_commit() const { return stamps_.last(); }

  /// Lets last_commit tell, from the first reading of the file on.
  void watch_commits() { stamps_.attach(connection_.get()); }

  /// The keychain's status for a result code of SQLite.
  [[nodiscard]] OSStatus status_of(int code) const;

  /// Whether `code` says that the file is damaged.
  static bool is_damage(int code);

  /// Whether `code`, which this connection just answered, says that the disk is full.
  [[nodiscard]] bool is_full_disk(int code) const;

private:
  struct Close {
    void operator()(sqlite3 *connection) const;
    void operator()(sqlite3_stmt *statement) const;
  };

  std::chrono::microseconds waited_{}; ///< in the current wait for another writer
  CommitStamps stamps_;
  std::unique_ptr<sqlite3, Close> connection_;
  using Statements = std::unordered_map<std::uint32_t, std::unique_ptr<sqlite3_stmt, Close>>;
  Statements few_, many_;
};

/// Brings the file up to the format that has all of `steps`; errSecNotAvailable for a newer one.
OSStatus migrate(Database &database, std::span<const char *const> steps, const std::string &path);

/// Makes a new keychain file under the name `path`, durable and in the newest format.
OSStatus make_database_file(const std::string &path);

/// A write transaction, undone unless it is committed.
class Transaction {
public:
  explicit Transaction(Database &database);
  ~Transaction();
  Transaction(const Transaction &) = delete;
  Transaction &operator=(const Transaction &) = delete;

  /// What beginning it answered.
  [[nodiscard]] int begun() const { return begun_; }
  int commit();

private:
  Database &database_;
  int begun_;
  bool open_;
};

/// Leaves a statement ready for its next use, and lets go of what was bound to it.
class StatementUse {
public:
  explicit StatementUse(sqlite3_stmt *statement) : statement_(statement) {}
  ~StatementUse();
  StatementUse(const StatementUse &) = delete;
  StatementUse &operator=(const StatementUse &) = delete;

private:
  sqlite3_stmt *statement_;
};

} // namespace veltro::host::keychain
