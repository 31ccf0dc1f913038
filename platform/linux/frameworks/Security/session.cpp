#include "frameworks/Security/session.hpp"

#include "frameworks/Security/repair.hpp"
#include "machine/files/file_lock.hpp"
#include "machine/files/watched_path.hpp"
#include "machine/root/device_root.hpp"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <pthread.h>
#include <sodium.h>
#include <string>
#include <unistd.h>
#include <utility>

namespace veltro::host::keychain {
namespace {

/// What a process keeps between its operations. No connection of SQLite may cross a fork: it is
/// closed before, and opened again where it is wanted, on both sides.
class Connection {
public:
  static Connection &shared() {
    // Never destroyed: other threads may still call while the process ends.
    static Connection &connection = *new Connection;
    return connection;
  }

  /// Opens the keychain, or sees that what is open still is the keychain. errSecNotAvailable with
  /// `corrupt` set for a file that was quarantined.
  OSStatus make_ready(bool create, bool &corrupt);

  /// Whether the open file is still the one of its name; where not, all is looked at anew.
  [[nodiscard]] bool in_place() {
    struct stat status{};
    const bool same =
        ::stat(paths_.database.c_str(), &status) == 0 && Identity::of(status) == database_identity_;
    if (!same)
      directory_.reset();
    return same;
  }

  /// Quarantines the open file. The directory must be locked.
  OSStatus quarantine() {
    database.close();
    const OSStatus status = keychain::quarantine(paths_, database_identity_);
    return status == errSecSuccess ? errSecNotAvailable : status;
  }

  /// Ends an operation.
  void leave() {
    if (std::exchange(single_use_, false))
      database.close();
  }

  [[nodiscard]] const Paths &paths() const { return paths_; }

  std::mutex mutex;
  Database database;
  std::optional<SealingKey> key;

private:
  Connection() {
    pthread_atfork(before_fork, after_fork, after_fork);
    std::atexit(at_exit);
  }

  static void before_fork() {
    shared().mutex.lock();
    shared().database.close();
  }
  static void after_fork() { shared().mutex.unlock(); }
  static void at_exit() {
    Connection &connection = shared();
    const std::lock_guard lock(connection.mutex);
    if (connection.database.is_open() && connection.in_place())
      connection.database.close_with_checkpoint();
    connection.database.close();
  }

  OSStatus open_files(bool create, bool &corrupt);
  OSStatus open_key(bool database_is_there);
  OSStatus open_database(bool &corrupt);
  [[nodiscard]] bool is_read_only() const;

  std::string root_;
  Paths paths_;
  std::optional<WatchedPath> directory_; ///< as it was before its files were looked at
  File key_file_;
  Identity database_identity_, key_identity_;
  bool single_use_ = false; ///< others wait for this connection, or may come in spite of it
};

OSStatus Connection::make_ready(bool create, bool &corrupt) {
  if (std::string root = device_root(); root != root_) {
    database.close();
    paths_ = Paths::at(root);
    root_ = std::move(root);
  }
  const auto key_is_as_checked = [&] {
    struct stat status{};
    // A file that loses its name changes, too.
    return ::fstat(key_file_.number(), &status) == 0 &&
           Identity::with_change(status) == key_identity_;
  };
  // Where nothing came to the directory or went, and its mode is the same, the key file is all that
  // may have changed.
  if (database.is_open() && directory_ && directory_->unchanged() && key_is_as_checked())
    return errSecSuccess;
  directory_.emplace(paths_.directory);
  OSStatus status = check_directory(paths_);
  if (database.is_open() && status == errSecSuccess && in_place() && key_is_as_checked())
    return errSecSuccess;
  database.close();
  if (status == errSecItemNotFound && create) {
    status = make_directory(paths_);
    directory_.emplace(paths_.directory);
    if (status == errSecSuccess)
      status = check_directory(paths_);
  }
  return status == errSecSuccess ? open_files(create, corrupt) : status;
}

OSStatus Connection::open_files(bool create, bool &corrupt) {
  const FileLock lock(paths_.directory);
  if (!lock)
    return file_error(lock.error(), paths_.directory);
  struct stat status{};
  const bool there = ::stat(paths_.database.c_str(), &status) == 0;
  if (!there && errno != ENOENT)
    return file_error(errno, paths_.database);
  if (!there && !create)
    return errSecItemNotFound;
  if (const OSStatus opened = open_key(there); opened != errSecSuccess)
    return opened;
  if (!there) {
    // Moved into place when it is whole: who finds the file finds a keychain.
    const std::string fresh = paths_.database + ".new";
    if (const OSStatus made = make_database_file(fresh); made != errSecSuccess)
      return made;
    // No file is ever read with another one's log: that of a file which was removed goes first.
    remove_database_files(paths_.database);
    if (::rename(fresh.c_str(), paths_.database.c_str()) != 0)
      return file_error(errno, paths_.database);
    if (const OSStatus synced = sync_directory(paths_); synced != errSecSuccess)
      return synced;
  }
  return open_database(corrupt);
}

OSStatus Connection::open_key(bool database_is_there) {
  if (sodium_init() < 0)
    return errSecNotAvailable;
  OSStatus status = check_key(paths_, key_file_, key_identity_);
  if (status == errSecItemNotFound && database_is_there) {
    // A new key would unseal none of the items.
    log_trouble(paths_.key, "is missing");
    return errSecNotAvailable;
  }
  if (status == errSecItemNotFound && (status = make_key(paths_)) == errSecSuccess)
    status = check_key(paths_, key_file_, key_identity_);
  return status == errSecSuccess ? read_key(paths_, key) : status;
}

OSStatus Connection::open_database(bool &corrupt) {
  struct stat status{};
  if (::stat(paths_.database.c_str(), &status) != 0)
    return file_error(errno, paths_.database);
  database_identity_ = Identity::of(status);
  bool newer = false;
  const auto attempt = [&](Database::Access access) {
    single_use_ = access != Database::Access::read_write;
    const int code = database.open(paths_.database, access);
    return code == SQLITE_OK ? database.check_format(newer) : code;
  };
  int code = attempt(Database::Access::read_write);
  // The index of the log needs disk space, also to read. An exclusive connection has it in memory.
  if (code != SQLITE_OK && database.is_full_disk(code))
    code = attempt(Database::Access::exclusive);
  else if (code != SQLITE_OK && !Database::is_corrupt(code) && is_read_only())
    code = attempt(Database::Access::immutable);
  corrupt = Database::is_corrupt(code);
  if (corrupt)
    return quarantine();
  OSStatus opened = database.status_of(code);
  if (opened != errSecSuccess)
    log_trouble(paths_.database, sqlite3_errstr(code));
  else if (newer) {
    log_trouble(paths_.database, "has a newer format than this version reads");
    opened = errSecNotAvailable;
  }
  if (opened != errSecSuccess)
    database.close();
  return opened;
}

/// A write-ahead log must be written even to read. Where there is none and nobody may make one,
/// nobody writes the file, for the time of one operation.
bool Connection::is_read_only() const {
  struct stat log{};
  return ::access(paths_.directory.c_str(), W_OK) != 0 && (errno == EROFS || errno == EACCES) &&
         (::stat((paths_.database + "-wal").c_str(), &log) != 0 || log.st_size == 0);
}

} // namespace

Session::Session(Purpose purpose) : lock_(Connection::shared().mutex) {
  Connection &connection = Connection::shared();
  connection.database.trim_statements();
  do {
    transaction_.reset();
    status_ = connection.make_ready(purpose == Purpose::create, met_corruption_);
    if (status_ != errSecSuccess || purpose == Purpose::read)
      return;
    transaction_.emplace(connection.database);
    if (transaction_->begun() != SQLITE_OK) {
      status_ = finish(transaction_->begun());
      return;
    }
    // While this writer waited, the file may have been quarantined: what is written to it is lost.
  } while (!connection.in_place());
}

Session::~Session() {
  transaction_.reset();
  Connection::shared().leave();
}

Database &Session::database() const {
  return Connection::shared().database;
}

const SealingKey &Session::key() const {
  return *Connection::shared().key;
}

OSStatus Session::finish(int code, OSStatus status) {
  Connection &connection = Connection::shared();
  Database &database = connection.database;
  if (transaction_ && database.status_of(code) == errSecSuccess && status == errSecSuccess)
    code = transaction_->commit();
  if ((code & 0xFF) == SQLITE_ERROR) {
    // Our fixed statements fail so where the schema was changed behind our back.
    bool newer = false;
    if (Database::is_corrupt(database.check_format(newer)))
      code = SQLITE_NOTADB;
  }
  if (Database::is_corrupt(code)) {
    met_corruption_ = true;
    transaction_.reset();
    database.close();
    const FileLock lock(connection.paths().directory);
    return lock ? connection.quarantine() : file_error(lock.error(), connection.paths().directory);
  }
  const OSStatus failure = database.status_of(code);
  if (failure == errSecSuccess)
    return status;
  if (failure == errSecDuplicateItem)
    return failure;
  log(sqlite3_errstr(code));
  // Without memory even a rollback may fail; closing undoes what is not committed all the same.
  transaction_.reset();
  database.close();
  return failure;
}

void Session::log(const std::string &trouble) const {
  log_trouble(Connection::shared().paths().database, trouble);
}

} // namespace veltro::host::keychain
