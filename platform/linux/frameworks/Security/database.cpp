#include "frameworks/Security/database.hpp"

#include "frameworks/Security/directory.hpp"

#include <Security/SecBase.h>

#include <cerrno>
#include <glib.h>

namespace veltro::host::keychain {
namespace {

// Long enough for any queue of writers; a wait that ends here means a writer that hangs.
constexpr int kBusyTimeout = 60'000; // milliseconds

constexpr std::size_t kMostStatements = 64;

// Generic passwords. The unique index leads with the service, then the account: it serves fetching,
// and listing a service. The columns stand in the order of `kAttributes`.
constexpr const char *kTable = R"(CREATE TABLE genp (
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
  sealed BLOB NOT NULL,
  UNIQUE (svce, acct, agrp, sync)
) STRICT)";

/// `path` as a URI that says that nobody writes the file.
std::string immutable_uri(const std::string &path) {
  const std::unique_ptr<char, decltype(&g_free)> escaped(
      g_uri_escape_string(path.c_str(), "/", FALSE), g_free);
  return "file:" + std::string(escaped.get()) + "?immutable=1";
}

} // namespace

void Database::Close::operator()(sqlite3 *connection) const {
  sqlite3_close_v2(connection);
}

void Database::Close::operator()(sqlite3_stmt *statement) const {
  sqlite3_finalize(statement);
}

int Database::open(const std::string &path, Access access) {
  close();
  const bool immutable = access == Access::immutable;
  const int flags = immutable ? SQLITE_OPEN_READONLY | SQLITE_OPEN_URI : SQLITE_OPEN_READWRITE;
  const std::string name = immutable ? immutable_uri(path) : path;
  sqlite3 *connection = nullptr;
  const int code = sqlite3_open_v2(name.c_str(), &connection, flags | SQLITE_OPEN_NOMUTEX, nullptr);
  connection_.reset(connection);
  if (code != SQLITE_OK)
    return code;
  sqlite3_extended_result_codes(connection, 1);
  sqlite3_busy_timeout(connection, kBusyTimeout);
  sqlite3_db_config(connection, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(connection, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  // The name of a column that is not there, in a foreign schema, is to be an error and no text.
  sqlite3_db_config(connection, SQLITE_DBCONFIG_DQS_DML, 0, nullptr);
  if (access == Access::exclusive)
    run("PRAGMA locking_mode = EXCLUSIVE");
  // The page cache holds 100,000 items; only pages that were read take memory.
  return run("PRAGMA synchronous = FULL; PRAGMA secure_delete = ON; PRAGMA cell_size_check = ON;"
             "PRAGMA cache_size = -65536");
}

void Database::close() {
  if (connection_ != nullptr)
    sqlite3_db_config(connection_.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
  close_with_checkpoint();
}

void Database::close_with_checkpoint() {
  statements_.clear();
  connection_.reset();
}

int Database::check_format(bool &newer) {
  std::int64_t format = 0;
  std::int64_t ours = 0;
  int code = number("PRAGMA user_version", format);
  newer = code == SQLITE_OK && format > kFormat;
  if (code != SQLITE_OK || newer)
    return code;
  code =
      number("SELECT count(*) FROM sqlite_schema WHERE sql = '" + std::string(kTable) + "'", ours);
  return code == SQLITE_OK && (format != kFormat || ours != 1) ? SQLITE_NOTADB : code;
}

int Database::run(const char *sql) {
  return sqlite3_exec(connection_.get(), sql, nullptr, nullptr, nullptr);
}

int Database::number(const std::string &sql, std::int64_t &out) {
  Statement statement(*this, sql);
  const int code = statement.step();
  out = code == SQLITE_ROW ? statement.integer(0) : 0;
  return code == SQLITE_ROW || code == SQLITE_DONE ? SQLITE_OK : code;
}

sqlite3_stmt *Database::prepared(const std::string &sql) {
  if (const auto known = statements_.find(sql); known != statements_.end())
    return known->second.get();
  sqlite3_stmt *statement = nullptr;
  if (sqlite3_prepare_v3(connection_.get(), sql.c_str(), static_cast<int>(sql.size()) + 1,
                         SQLITE_PREPARE_PERSISTENT, &statement, nullptr) == SQLITE_OK)
    statements_.emplace(sql, statement);
  return statement;
}

void Database::trim_statements() {
  if (statements_.size() > kMostStatements)
    statements_.clear();
}

int Database::changes() const {
  return sqlite3_changes(connection_.get());
}

bool Database::is_corrupt(int code) {
  const int kind = code & 0xFF;
  return kind == SQLITE_CORRUPT || kind == SQLITE_NOTADB;
}

bool Database::is_full_disk(int code) const {
  const int kind = code & 0xFF;
  const int error = sqlite3_system_errno(connection_.get());
  return kind == SQLITE_FULL || (kind == SQLITE_IOERR && (error == ENOSPC || error == EDQUOT));
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

Statement::Statement(Database &database, const std::string &sql)
    : statement_(database.prepared(sql)),
      code_(statement_ != nullptr ? SQLITE_OK
                                  : sqlite3_extended_errcode(database.connection_.get())) {}

Statement::~Statement() {
  if (statement_ == nullptr)
    return;
  sqlite3_reset(statement_);
  sqlite3_clear_bindings(statement_);
}

void Statement::bind(int parameter, const Field &value) {
  if (statement_ == nullptr)
    return;
  // SQLite takes a null pointer for NULL, and an empty view may have one.
  const char *const bytes = value.bytes.empty() ? "" : value.bytes.data();
  switch (value.type) {
  case Field::Type::absent:
    sqlite3_bind_null(statement_, parameter);
    break;
  case Field::Type::integer:
    sqlite3_bind_int64(statement_, parameter, value.integer);
    break;
  case Field::Type::real:
    sqlite3_bind_double(statement_, parameter, value.real);
    break;
  case Field::Type::text:
    sqlite3_bind_text64(statement_, parameter, bytes, value.bytes.size(), SQLITE_STATIC,
                        SQLITE_UTF8);
    break;
  case Field::Type::data:
    sqlite3_bind_blob64(statement_, parameter, bytes, value.bytes.size(), SQLITE_STATIC);
    break;
  }
}

int Statement::step() {
  return statement_ != nullptr ? sqlite3_step(statement_) : code_;
}

int Statement::columns() const {
  return sqlite3_column_count(statement_);
}

std::int64_t Statement::integer(int column) const {
  return sqlite3_column_int64(statement_, column);
}

// Nobody else uses the connection meanwhile, so that the value may be looked at as it is.
void Statement::read(int column, Field &out) const {
  sqlite3_value *const value = sqlite3_column_value(statement_, column);
  const int type = sqlite3_value_type(value);
  if (type == SQLITE_NULL) {
    out = {};
  } else if (type == SQLITE_INTEGER) {
    out = Field::of(std::int64_t{sqlite3_value_int64(value)});
  } else if (type == SQLITE_FLOAT) {
    out = Field::of(sqlite3_value_double(value));
  } else {
    const std::string_view bytes(static_cast<const char *>(sqlite3_value_blob(value)),
                                 static_cast<std::size_t>(sqlite3_value_bytes(value)));
    out = type == SQLITE_TEXT ? Field::text(bytes) : Field::data(bytes);
  }
}

OSStatus make_database_file(const std::string &path) {
  remove_database_files(path);
  // SQLite gives its other files the mode of this one.
  if (!File(path, O_RDWR | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR))
    return file_error(errno, path);
  Database database;
  int code = database.open(path, Database::Access::read_write);
  if (code == SQLITE_OK)
    code = database.run(("PRAGMA journal_mode = WAL;" + std::string(kTable) +
                         ";PRAGMA user_version = " + std::to_string(kFormat))
                            .c_str());
  const OSStatus status = database.status_of(code);
  database.close_with_checkpoint();
  if (status != errSecSuccess) {
    log_trouble(path, std::string("cannot be made: ") + sqlite3_errstr(code));
    remove_database_files(path);
  }
  return status;
}

void remove_database_files(const std::string &path) {
  for (const char *suffix : {"", "-wal", "-shm", "-journal"})
    ::unlink((path + suffix).c_str());
}

Transaction::Transaction(Database &database)
    : database_(database), begun_(Statement(database, "BEGIN IMMEDIATE").step()) {
  open_ = begun_ == SQLITE_DONE;
  if (open_)
    begun_ = SQLITE_OK;
}

Transaction::~Transaction() {
  if (open_)
    Statement(database_, "ROLLBACK").step();
}

int Transaction::commit() {
  const int code = Statement(database_, "COMMIT").step();
  open_ = code != SQLITE_DONE;
  return open_ ? code : SQLITE_OK;
}

} // namespace veltro::host::keychain
