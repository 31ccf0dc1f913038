#include "frameworks/Security/database.hpp"

#include <Security/SecBase.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace veltro::host::keychain {
namespace {

// Long enough for any queue of writers; a wait that ends here means a writer that hangs.
constexpr std::chrono::microseconds patience = std::chrono::minutes(1);
constexpr std::chrono::microseconds longest_nap = std::chrono::milliseconds(5);

/// Waits for another writer: in short naps, since a save is short, which grow with the wait.
int nap(void *waited, int count) {
  auto &so_far = *static_cast<std::chrono::microseconds *>(waited);
  if (count == 0)
    so_far = {};
  const auto nap = std::min(longest_nap, std::chrono::microseconds(100) * (count + 1));
  std::this_thread::sleep_for(nap);
  so_far += nap;
  return so_far < patience ? 1 : 0;
}

constexpr std::size_t most_statements = 64;

/// Keys of statements; beside those of the statements on items.
enum : std::uint32_t { beginning = 101, committing = 102, undoing = 103 };

constexpr std::array format{
    // 1: generic passwords. The unique index leads with the service, then the account: it serves
    // fetching, and listing a service.
    R"(CREATE TABLE genp (
         id     INTEGER PRIMARY KEY,
         "svce" TEXT NOT NULL,
         "acct" TEXT NOT NULL,
         "agrp" TEXT NOT NULL,
         "sync" INTEGER NOT NULL,
         "cdat" REAL NOT NULL,
         "mdat" REAL NOT NULL,
         "pdmn" TEXT NOT NULL,
         "labl" TEXT,
         "desc" TEXT,
         "icmt" TEXT,
         "gena" BLOB,
         "crtr" INTEGER,
         "type" INTEGER,
         "invi" INTEGER,
         "nega" INTEGER,
         checksum BLOB NOT NULL,
         sealed   BLOB NOT NULL,
         UNIQUE (svce, acct, agrp, sync)
       ) STRICT)",
};

/// `path` as a URI that says that nobody writes the file.
std::string immutable_uri(const std::string &path) {
  std::string uri = "file:";
  for (const char character : path) {
    if (character == '%' || character == '?' || character == '#') {
      std::array<char, 4> escape{};
      std::snprintf(escape.data(), escape.size(), "%%%02X", static_cast<unsigned>(character));
      uri += escape.data();
    } else
      uri += character;
  }
  return uri + "?immutable=1";
}

} // namespace

std::span<const char *const> format_steps() {
  return format;
}

void Database::Close::operator()(sqlite3 *connection) const {
  sqlite3_close_v2(connection);
}

void Database::Close::operator()(sqlite3_stmt *statement) const {
  sqlite3_finalize(statement);
}

int Database::open(const std::string &path, Access access) {
  close();
  const int flags = access == Access::create      ? SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE
                    : access == Access::immutable ? SQLITE_OPEN_READONLY | SQLITE_OPEN_URI
                                                  : SQLITE_OPEN_READWRITE;
  const std::string name = access == Access::immutable ? immutable_uri(path) : path;
  sqlite3 *connection = nullptr;
  const int code = sqlite3_open_v2(name.c_str(), &connection, flags | SQLITE_OPEN_NOMUTEX, nullptr);
  connection_.reset(connection);
  if (code != SQLITE_OK)
    return code;
  sqlite3_extended_result_codes(connection, 1);
  sqlite3_busy_handler(connection, nap, &waited_);
  sqlite3_db_config(connection, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(connection, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  // The name of a column that is not there, in a damaged schema, is to be an error and no text.
  sqlite3_db_config(connection, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
  if (access == Access::alone)
    run("PRAGMA locking_mode = EXCLUSIVE");
  // The cache has room for 100,000 items; only pages that were read take memory.
  return run("PRAGMA synchronous = FULL; PRAGMA secure_delete = ON; PRAGMA cell_size_check = ON;"
             "PRAGMA cache_size = -65536");
}

void Database::close() {
  if (connection_ != nullptr)
    sqlite3_db_config(connection_.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
  close_and_fold_log();
}

void Database::close_and_fold_log() {
  stamps_.detach();
  few_.clear();
  many_.clear();
  connection_.reset();
}

int Database::run(const char *sql) {
  return sqlite3_exec(connection_.get(), sql, nullptr, nullptr, nullptr);
}

sqlite3_stmt *Database::statement(std::uint32_t key, const std::function<std::string()> &sql) {
  Statements &statements = key < first_of_many ? few_ : many_;
  if (const auto known = statements.find(key); known != statements.end())
    return known->second.get();
  if (statements.size() >= most_statements)
    statements.clear();
  const std::string text = sql();
  sqlite3_stmt *statement = nullptr;
  if (sqlite3_prepare_v3(connection_.get(), text.c_str(), static_cast<int>(text.size()) + 1,
                         SQLITE_PREPARE_PERSISTENT, &statement, nullptr) != SQLITE_OK)
    return nullptr;
  statements.emplace(key, statement);
  return statement;
}

int Database::run(std::uint32_t key, const char *sql) {
  sqlite3_stmt *const statement = this->statement(key, [&] { return std::string(sql); });
  if (statement == nullptr)
    return sqlite3_errcode(connection_.get());
  const int code = sqlite3_step(statement);
  sqlite3_reset(statement);
  return code == SQLITE_DONE ? SQLITE_OK : code;
}

int Database::number(const char *sql, std::int64_t &out) {
  sqlite3_stmt *statement = nullptr;
  int code = sqlite3_prepare_v2(connection_.get(), sql, -1, &statement, nullptr);
  const std::unique_ptr<sqlite3_stmt, Close> owned(statement);
  if (code != SQLITE_OK)
    return code;
  code = sqlite3_step(statement);
  if (code != SQLITE_ROW)
    return code == SQLITE_DONE ? SQLITE_CORRUPT : code;
  out = sqlite3_column_int64(statement, 0);
  return SQLITE_OK;
}

int Database::check_soundness() {
  std::int64_t sound = 0;
  const int code =
      number("SELECT integrity_check = 'ok' FROM pragma_integrity_check('genp') LIMIT 1", sound);
  return code == SQLITE_OK && sound == 0 ? SQLITE_CORRUPT : code;
}

int Database::changes() const {
  return sqlite3_changes(connection_.get());
}

bool Database::is_damage(int code) {
  // SQLITE_ERROR comes of our own fixed statements only where the schema does not read as ours.
  const int kind = code & 0xFF;
  return kind == SQLITE_CORRUPT || kind == SQLITE_NOTADB || kind == SQLITE_ERROR;
}

bool Database::is_full_disk(int code) const {
  const int kind = code & 0xFF;
  return kind == SQLITE_FULL ||
         (kind == SQLITE_IOERR && sqlite3_system_errno(connection_.get()) == ENOSPC);
}

OSStatus Database::status_of(int code) const {
  if (is_full_disk(code))
    return errSecDiskFull;
  switch (code & 0xFF) {
  case SQLITE_OK:
  case SQLITE_ROW:
  case SQLITE_DONE:
    return errSecSuccess;
  case SQLITE_CONSTRAINT:
    return errSecDuplicateItem;
  case SQLITE_READONLY:
    return errSecWrPerm;
  case SQLITE_NOMEM:
  case SQLITE_TOOBIG:
    return errSecAllocate;
  case SQLITE_IOERR:
    return errSecIO;
  default:
    return errSecNotAvailable;
  }
}

OSStatus migrate(Database &database, std::span<const char *const> steps, const std::string &path) {
  std::int64_t reached = 0;
  const auto newest = static_cast<std::int64_t>(steps.size());
  int code = database.number("PRAGMA user_version", reached);
  if (code == SQLITE_OK && reached > newest) {
    log_trouble(path, "has a newer format than this version reads");
    return errSecNotAvailable;
  }
  if (code != SQLITE_OK || reached == newest)
    return database.status_of(code);

  Transaction transaction(database);
  code = transaction.begun();
  // Another process may have been quicker.
  if (code == SQLITE_OK)
    code = database.number("PRAGMA user_version", reached);
  while (code == SQLITE_OK && reached < newest)
    code = database.run(steps[static_cast<std::size_t>(reached++)]);
  if (code == SQLITE_OK)
    code = database.run(("PRAGMA user_version = " + std::to_string(newest)).c_str());
  if (code == SQLITE_OK)
    code = transaction.commit();
  return database.status_of(code);
}

OSStatus make_database_file(const std::string &path) {
  for (const char *suffix : {"", "-wal", "-shm", "-journal"})
    ::unlink((path + suffix).c_str());
  // SQLite gives its other files the mode of this one.
  const int file = ::open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (file < 0)
    return file_error(errno, path);
  ::close(file);

  Database database;
  int code = database.open(path, Database::Access::create);
  if (code == SQLITE_OK)
    code = database.run("PRAGMA journal_mode = WAL");
  const OSStatus status =
      code == SQLITE_OK ? migrate(database, format, path) : database.status_of(code);
  database.close_and_fold_log();
  if (status != errSecSuccess)
    for (const char *suffix : {"", "-wal", "-shm", "-journal"})
      ::unlink((path + suffix).c_str());
  return status;
}

Transaction::Transaction(Database &database)
    : database_(database), begun_(database.run(beginning, "BEGIN IMMEDIATE")),
      open_(begun_ == SQLITE_OK) {}

Transaction::~Transaction() {
  if (open_)
    database_.run(undoing, "ROLLBACK");
}

int Transaction::commit() {
  const int code = database_.run(committing, "COMMIT");
  open_ = code != SQLITE_OK;
  return code;
}

StatementUse::~StatementUse() {
  sqlite3_reset(statement_);
  sqlite3_clear_bindings(statement_);
}

} // namespace veltro::host::keychain
