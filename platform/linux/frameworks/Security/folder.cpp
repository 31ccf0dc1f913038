#include "frameworks/Security/folder.hpp"

#include "frameworks/Security/file.hpp"

#include <Security/SecBase.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <system_error>
#include <unistd.h>

namespace veltro::host::keychain {
namespace {

bool is_looser(mode_t mode, mode_t allowed) {
  return (mode & (S_IRWXU | S_IRWXG | S_IRWXO) & ~allowed) != 0;
}

OSStatus refuse_mode(const std::string &path, mode_t mode) {
  std::array<char, 8> octal{};
  std::snprintf(octal.data(), octal.size(), "%04o", static_cast<unsigned>(mode & 07777));
  log_trouble(path, std::string("is not private (mode ") + octal.data() + ")");
  return errSecNotAvailable;
}

bool write_whole(int file, const unsigned char *bytes, std::size_t length) {
  while (length > 0) {
    const ssize_t written = ::write(file, bytes, length);
    if (written < 0 && errno == EINTR)
      continue;
    if (written <= 0)
      return false;
    bytes += written;
    length -= static_cast<std::size_t>(written);
  }
  return true;
}

/// Makes the names in a folder durable.
bool sync_names_in(const std::string &path) {
  const File folder(path, O_RDONLY | O_DIRECTORY);
  return folder && ::fsync(folder.number()) == 0;
}

} // namespace

Paths Paths::at(const std::string &device_root) {
  Paths paths;
  paths.folder = (device_root == "/" ? std::string() : device_root) + "/var/Keychains";
  paths.database = paths.folder + "/keychain.db";
  paths.key = paths.folder + "/keychain.key";
  paths.lock = paths.folder + "/keychain.lock";
  return paths;
}

bool Identity::operator==(const Identity &other) const {
  return device == other.device && number == other.number &&
         changed.tv_sec == other.changed.tv_sec && changed.tv_nsec == other.changed.tv_nsec;
}

Identity Identity::of(const struct stat &status) {
  return {status.st_dev, status.st_ino, {}};
}

Identity Identity::with_change(const struct stat &status) {
  return {status.st_dev, status.st_ino, status.st_ctim};
}

OSStatus file_error(int error, std::string_view file) {
  log_trouble(file, std::generic_category().message(error));
  switch (error) {
  case ENOSPC:
  case EDQUOT:
    return errSecDiskFull;
  case EROFS:
  case EACCES:
  case EPERM:
    return errSecWrPerm;
  default:
    return errSecNotAvailable;
  }
}

OSStatus check_folder(const Paths &paths) {
  struct stat status{};
  if (::stat(paths.folder.c_str(), &status) != 0) {
    if (errno == ENOENT)
      return errSecItemNotFound;
    log_trouble(paths.folder, std::generic_category().message(errno));
    return errSecNotAvailable;
  }
  if (!S_ISDIR(status.st_mode)) {
    log_trouble(paths.folder, "is not a folder");
    return errSecNotAvailable;
  }
  return is_looser(status.st_mode, S_IRWXU) ? refuse_mode(paths.folder, status.st_mode)
                                            : errSecSuccess;
}

OSStatus make_folder(const Paths &paths) {
  namespace files = std::filesystem;
  std::error_code error;
  const files::path above = files::absolute(paths.folder, error).parent_path();
  files::path known = above;
  while (!files::exists(known, error) && known.has_relative_path())
    known = known.parent_path();
  files::create_directories(above, error);
  if (error)
    return file_error(error.value(), paths.folder);
  if (::mkdir(paths.folder.c_str(), S_IRWXU) != 0 && errno != EEXIST)
    return file_error(errno, paths.folder);
  for (files::path changed = above; sync_names_in(changed) && changed != known;)
    changed = changed.parent_path();
  return errSecSuccess;
}

OSStatus check_key(const Paths &paths, Identity &identity) {
  struct stat status{};
  if (::stat(paths.key.c_str(), &status) != 0) {
    if (errno == ENOENT)
      return errSecItemNotFound;
    log_trouble(paths.key, std::generic_category().message(errno));
    return errSecNotAvailable;
  }
  if (is_looser(status.st_mode, S_IRUSR | S_IWUSR))
    return refuse_mode(paths.key, status.st_mode);
  identity = Identity::with_change(status);
  return errSecSuccess;
}

OSStatus read_key(const Paths &paths, std::optional<Keys> &keys) {
  const File file(paths.key, O_RDONLY);
  // One byte more than a key has, so that a longer file shows.
  std::array<unsigned char, master_key_length + 1> bytes{};
  const ssize_t length = file ? ::read(file.number(), bytes.data(), bytes.size()) : -1;
  MasterKey master;
  std::memcpy(master.data(), bytes.data(), master.size());
  wipe(bytes);
  if (length == static_cast<ssize_t>(master.size()))
    keys.emplace(master);
  wipe(master);
  if (length == static_cast<ssize_t>(master.size()))
    return errSecSuccess;
  log_trouble(paths.key, length < 0 ? "cannot be read" : "is not a key");
  return errSecNotAvailable;
}

OSStatus make_key(const Paths &paths) {
  // Written aside and moved into place: a key file is whole or not there.
  const std::string fresh = paths.key + ".new";
  ::unlink(fresh.c_str());
  const File file(fresh, O_WRONLY | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR);
  if (!file)
    return file_error(errno, fresh);
  MasterKey key = new_master_key();
  const bool written =
      write_whole(file.number(), key.data(), key.size()) && ::fsync(file.number()) == 0;
  wipe(key);
  if (!written || ::rename(fresh.c_str(), paths.key.c_str()) != 0) {
    const int error = errno;
    ::unlink(fresh.c_str());
    return file_error(error, paths.key);
  }
  return sync_folder(paths);
}

OSStatus sync_folder(const Paths &paths) {
  return sync_names_in(paths.folder) ? errSecSuccess : file_error(errno, paths.folder);
}

FolderLock::FolderLock(const Paths &paths)
    : file_(::open(paths.lock.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR)) {
  if (file_ < 0 && (errno == EROFS || errno == EACCES)) {
    // Nothing can change places on a read-only file system, or in a folder that nobody may write
    // to; a lock that may only be read can still be held.
    file_ = ::open(paths.lock.c_str(), O_RDONLY | O_CLOEXEC);
    if (file_ < 0) {
      status_ = errSecSuccess;
      return;
    }
  }
  int held = file_ < 0 ? -1 : 0;
  while (held == 0 && (held = ::flock(file_, LOCK_EX)) != 0 && errno == EINTR)
    held = 0;
  status_ = held == 0 ? errSecSuccess : file_error(errno, paths.lock);
}

FolderLock::~FolderLock() {
  if (file_ >= 0)
    ::close(file_);
}

} // namespace veltro::host::keychain
