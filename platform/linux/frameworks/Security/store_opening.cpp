// What must be right before the store runs an operation: the folder, the key and the file.

#include "frameworks/Security/store.hpp"

#include "frameworks/Security/salvage.hpp"
#include "machine/root/device_root.hpp"

#include <Security/SecBase.h>

#include <cerrno>
#include <cstdio>
#include <unistd.h>
#include <utility>

namespace veltro::host::keychain {

bool Store::in_place() const {
  struct stat status{};
  return ::stat(paths_.database.c_str(), &status) == 0 &&
         Identity::of(status) == database_identity_;
}

OSStatus Store::make_ready(Call call) {
  if (std::string root = device_root(); root != root_) {
    database_.close();
    paths_ = Paths::at(root);
    root_ = std::move(root);
  }
  if (database_.is_open() && watch_.holds())
    return errSecSuccess;
  watch_.begin(paths_);
  OSStatus folder = check_folder(paths_);
  if (folder == errSecItemNotFound && call == Call::add) {
    if (const OSStatus made = make_folder(paths_); made != errSecSuccess)
      return made;
    folder = check_folder(paths_);
  }
  if (folder != errSecSuccess)
    return folder;
  Identity key;
  const OSStatus key_status = check_key(paths_, key);
  if (database_.is_open() && key_status == errSecSuccess && key == key_identity_ && in_place()) {
    watch_.trust();
    return errSecSuccess;
  }
  if (key_status != errSecSuccess && key_status != errSecItemNotFound)
    return key_status;
  return open_files(call);
}

OSStatus Store::open_files(Call call) {
  database_.close();
  const FolderLock lock(paths_);
  if (lock.status() != errSecSuccess)
    return lock.status();

  struct stat status{};
  const bool there = ::stat(paths_.database.c_str(), &status) == 0;
  if (!there && errno != ENOENT)
    return file_error(errno, paths_.database);
  if (!there && call != Call::add)
    return errSecItemNotFound;

  OSStatus key = check_key(paths_, key_identity_);
  if (key == errSecItemNotFound && there) {
    // A new key would open none of the items.
    log_trouble(paths_.key, "is missing");
    return errSecNotAvailable;
  }
  if (key == errSecItemNotFound && (key = make_key(paths_)) == errSecSuccess)
    key = check_key(paths_, key_identity_);
  if (key == errSecSuccess)
    key = read_key(paths_, keys_);
  if (key != errSecSuccess)
    return key;

  if (!there) {
    const std::string fresh = paths_.database + ".new";
    if (const OSStatus made = make_database_file(fresh); made != errSecSuccess) {
      log_trouble(paths_.database, "cannot be made");
      return made;
    }
    if (::rename(fresh.c_str(), paths_.database.c_str()) != 0)
      return file_error(errno, paths_.database);
    if (const OSStatus synced = sync_folder(paths_); synced != errSecSuccess)
      return synced;
  }
  return open_database(call);
}

OSStatus Store::open_database(Call call) {
  struct stat status{};
  if (::stat(paths_.database.c_str(), &status) != 0)
    return file_error(errno, paths_.database);
  database_identity_ = Identity::of(status);
  checked_ = false;
  known_.forget();
  const bool left_damaged =
      call != Call::remove && std::exchange(left_damaged_, std::nullopt) == database_identity_;
  if (status.st_size == 0 || left_damaged)
    return set_damaged_aside(call);

  std::int64_t ignored = 0;
  int code = database_.open(paths_.database, Database::Access::read_write);
  if (code == SQLITE_OK)
    code = database_.number("SELECT count(*) FROM sqlite_schema", ignored);
  if (code == SQLITE_OK)
    database_.watch_commits();
  // The index of the log wants room, also to read. Who is alone keeps it in memory.
  if (code != SQLITE_OK && database_.is_full_disk(code)) {
    once_ = true;
    code = database_.open(paths_.database, Database::Access::alone);
    if (code == SQLITE_OK)
      code = database_.number("SELECT count(*) FROM sqlite_schema", ignored);
  }
  // A write-ahead log wants to be written even to be read. Where there is none and nobody may make
  // one, nobody writes the file, for the time of this call.
  struct stat log{};
  if (code != SQLITE_OK && !Database::is_damage(code) &&
      ::access(paths_.folder.c_str(), W_OK) != 0 && (errno == EROFS || errno == EACCES) &&
      (::stat((paths_.database + "-wal").c_str(), &log) != 0 || log.st_size == 0)) {
    once_ = true;
    code = database_.open(paths_.database, Database::Access::immutable);
    if (code == SQLITE_OK)
      code = database_.number("SELECT count(*) FROM sqlite_schema", ignored);
  }
  if (Database::is_damage(code))
    return set_damaged_aside(call);
  OSStatus answer = database_.status_of(code);
  if (answer == errSecSuccess)
    answer = migrate(database_, format_steps(), paths_.database);
  else
    log_trouble(paths_.database, sqlite3_errstr(code));
  if (answer != errSecSuccess)
    database_.close();
  return answer;
}

OSStatus Store::handle_damage(Call call) {
  database_.close();
  const FolderLock lock(paths_);
  return lock.status() != errSecSuccess ? lock.status() : set_damaged_aside(call);
}

// A save deletes before it adds, and hears nothing of what the deletion met: the addition is to
// tell it, and so the damage is left for it.
OSStatus Store::set_damaged_aside(Call call) {
  database_.close();
  if (call == Call::remove) {
    log_trouble(paths_.database, "is damaged; a deletion leaves it as it is");
    left_damaged_ = database_identity_;
    return errSecNotAvailable;
  }
  const OSStatus status = set_aside(paths_, database_identity_, *keys_);
  return status == errSecSuccess ? errSecNotAvailable : status;
}

} // namespace veltro::host::keychain
