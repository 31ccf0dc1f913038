// One connection to the keychain's SQLite file, and the file's format.
#pragma once

#include "frameworks/Security/attributes.hpp"

#include <MacTypes.h>
#include <cstdint>
#include <memory>
#include <sqlite3.h>
#include <string>
#include <unordered_map>

namespace veltro::host::keychain {

/// The `user_version` of the files that this version reads and writes.
inline constexpr std::int64_t kFormat = 2;

class Database {
public:
  enum class Access : std::uint8_t {
    read_write,
    exclusive, ///< nobody else has a connection, or gets one; needs no disk space to read
    immutable  ///< nobody writes the file
  };

  Database() = default;
  ~Database() { close(); }
  Database(const Database &) = delete;
  Database &operator=(const Database &) = delete;

  /// Opens the file, which must exist. Like all below that return an int, returns SQLite's result
  /// code.
  int open(const std::string &path, Access access);

  /// Closes the connection and leaves the write-ahead log for the next one to read. A connection
  /// whose file was moved away must go so: it would take the log of the file that came in its
  /// place. No statement may be left.
  void close();

  /// Closes the connection; where it is the last one, the log is checkpointed and goes.
  void close_with_checkpoint();

  [[nodiscard]] bool is_open() const { return connection_ != nullptr; }

  /// SQLITE_OK for a file of `kFormat`, SQLITE_NOTADB for a foreign one; `newer` says that the file
  /// is of a newer format, and then is all that is known of it.
  int check_format(bool &newer);

  /// Runs statements whose rows nobody wants.
  int run(const char *sql);

  /// The first column of the first row; zero where there is none.
  int number(const std::string &sql, std::int64_t &out);

  /// Drops the prepared statements when there are many. No statement may be left.
  void trim_statements();

  /// How many rows the last statement changed.
  [[nodiscard]] int changes() const;

  /// The keychain's status for a result code that this connection just returned.
  [[nodiscard]] OSStatus status_of(int code) const;

  /// Whether `code`, which this connection just returned, says that the disk is full or the user's
  /// quota used up.
  [[nodiscard]] bool is_full_disk(int code) const;

  /// Whether `code` says that the file is corrupt.
  static bool is_corrupt(int code);

private:
  friend class Statement;
  struct Close {
    void operator()(sqlite3 *connection) const;
    void operator()(sqlite3_stmt *statement) const;
  };

  /// The statement of this text, which stays prepared; null where SQLite returns an error.
  sqlite3_stmt *prepared(const std::string &sql);

  std::unique_ptr<sqlite3, Close> connection_;
  std::unordered_map<std::string, std::unique_ptr<sqlite3_stmt, Close>> statements_;
};

/// Makes a new keychain file under the name `path`, durable and empty.
OSStatus make_database_file(const std::string &path);

/// Removes the database of this name with its log.
void remove_database_files(const std::string &path);

/// One use of a prepared statement. Parameters count from 1, columns from 0.
class Statement {
public:
  Statement(Database &database, const std::string &sql);
  ~Statement();
  Statement(const Statement &) = delete;
  Statement &operator=(const Statement &) = delete;

  /// Text and data must outlive the statement's use.
  void bind(int parameter, const Field &value);

  /// SQLITE_ROW, SQLITE_DONE or an error, also that of preparing the statement.
  int step();

  [[nodiscard]] int columns() const;
  [[nodiscard]] std::int64_t integer(int column) const;

  /// Replaces `out` by a column's value, which holds until the next step.
  void read(int column, Field &out) const;

private:
  sqlite3_stmt *statement_;
  int code_;
};

/// A write transaction, undone unless it is committed.
class Transaction {
public:
  explicit Transaction(Database &database);
  ~Transaction();
  Transaction(const Transaction &) = delete;
  Transaction &operator=(const Transaction &) = delete;

  /// What beginning it returned.
  [[nodiscard]] int begun() const { return begun_; }
  int commit();

private:
  Database &database_;
  int begun_;
  bool open_;
};

} // namespace veltro::host::keychain
