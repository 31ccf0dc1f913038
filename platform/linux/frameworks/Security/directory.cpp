#include "frameworks/Security/directory.hpp"

#include "machine/files/file.hpp"
#include "machine/log/log_line.hpp"

#include <Security/SecBase.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <sodium.h>
#include <span>
#include <system_error>

namespace veltro::host::keychain {
namespace {

/// The status of a file that should be there, and open to nobody but its owner: at most `allowed`.
OSStatus check_private(const std::string &path, mode_t allowed, struct stat &status) {
  if (::stat(path.c_str(), &status) != 0) {
    if (errno == ENOENT)
      return errSecItemNotFound;
    log_trouble(path, std::generic_category().message(errno));
    return errSecNotAvailable;
  }
  if ((status.st_mode & (S_IRWXU | S_IRWXG | S_IRWXO) & ~allowed) == 0)
    return errSecSuccess;
  std::array<char, 8> octal{};
  std::snprintf(octal.data(), octal.size(), "%04o", static_cast<unsigned>(status.st_mode & 07777));
  log_trouble(path, std::string("is not private (mode ") + octal.data() + ")");
  return errSecNotAvailable;
}

bool sync_names_in(const std::string &path) {
  const File directory(path, O_RDONLY | O_DIRECTORY);
  return directory && ::fsync(directory.number()) == 0;
}

} // namespace

Paths Paths::at(const std::string &device_root) {
  const std::string directory = (device_root == "/" ? "" : device_root) + "/var/Keychains";
  return {directory, directory + "/keychain.db", directory + "/keychain.key"};
}

Identity Identity::of(const struct stat &status) {
  return {status.st_dev, status.st_ino, 0, 0};
}

Identity Identity::with_change(const struct stat &status) {
  constexpr std::int64_t kSecond = 1'000'000'000;
  return {status.st_dev, status.st_ino, status.st_ctim.tv_sec * kSecond + status.st_ctim.tv_nsec,
          status.st_mode};
}

void log_trouble(std::string_view file, std::string_view trouble) {
  log_line("keychain: " + std::string(file) + " " + std::string(trouble));
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

OSStatus check_directory(const Paths &paths) {
  struct stat status{};
  const OSStatus checked = check_private(paths.directory, S_IRWXU, status);
  if (checked != errSecSuccess || S_ISDIR(status.st_mode))
    return checked;
  log_trouble(paths.directory, "is not a directory");
  return errSecNotAvailable;
}

OSStatus make_directory(const Paths &paths) {
  namespace files = std::filesystem;
  std::error_code error;
  const files::path above = files::absolute(paths.directory, error).parent_path();
  files::path known = above;
  while (!files::exists(known, error) && known.has_relative_path())
    known = known.parent_path();
  files::create_directories(above, error);
  if (error)
    return file_error(error.value(), paths.directory);
  if (::mkdir(paths.directory.c_str(), S_IRWXU) != 0 && errno != EEXIST)
    return file_error(errno, paths.directory);
  for (files::path changed = above; sync_names_in(changed) && changed != known;)
    changed = changed.parent_path();
  return errSecSuccess;
}

OSStatus sync_directory(const Paths &paths) {
  return sync_names_in(paths.directory) ? errSecSuccess : file_error(errno, paths.directory);
}

OSStatus check_key(const Paths &paths, File &key, Identity &identity) {
  struct stat status{};
  key = File(paths.key, O_PATH);
  const OSStatus checked = check_private(paths.key, S_IRUSR | S_IWUSR, status);
  if (checked == errSecSuccess)
    identity = Identity::with_change(status);
  return checked;
}

OSStatus read_key(const Paths &paths, std::optional<SealingKey> &key) {
  const File file(paths.key, O_RDONLY | O_NONBLOCK); // a pipe of that name holds up nobody
  // One byte more than a key has, so that a longer file shows.
  std::array<unsigned char, kMasterKeyLength + 1> bytes{};
  const ssize_t length = file ? ::read(file.number(), bytes.data(), bytes.size()) : -1;
  const bool is_key = length == ssize_t{kMasterKeyLength};
  if (is_key)
    key.emplace(std::span(bytes).first<kMasterKeyLength>());
  wipe(bytes);
  if (is_key)
    return errSecSuccess;
  log_trouble(paths.key, length < 0 ? "cannot be read" : "is not a key");
  return errSecNotAvailable;
}

OSStatus make_key(const Paths &paths) {
  MasterKey key;
  randombytes_buf(key.data(), key.size());
  const bool made =
      replace_file(paths.key, {reinterpret_cast<const char *>(key.data()), key.size()});
  wipe(key);
  return made ? sync_directory(paths) : file_error(errno, paths.key);
}

} // namespace veltro::host::keychain
