// The folder of the keychain: its files, who may read them, and the master key.
#pragma once

#include "frameworks/Security/sealing.hpp"

#include <MacTypes.h>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>

namespace veltro::host::keychain {

/// Where the keychain lies under the device root of this moment.
struct Paths {
  std::string folder, database, key, lock;

  static Paths at(const std::string &device_root);
};

/// Tells a file from one that took its place.
struct Identity {
  dev_t device = 0;
  ino_t number = 0;
  timespec changed{}; ///< left zero for a file that changes in place
  bool operator==(const Identity &other) const;

  /// Of the file itself, whatever is written to it.
  static Identity of(const struct stat &status);
  /// Of the file as it is now: another one when it is written or its mode changes.
  static Identity with_change(const struct stat &status);
};

/// One line in the log: what is wrong with which file.
void log_trouble(std::string_view file, std::string_view trouble);

/// The status for an error of the file system, logged with the file that it struck.
OSStatus file_error(int error, std::string_view file);

/// errSecSuccess where the folder is there and private, errSecItemNotFound where it is not there,
/// else errSecNotAvailable.
OSStatus check_folder(const Paths &paths);

/// Makes the folder and those above it.
OSStatus make_folder(const Paths &paths);

/// Looks at the key file: errSecItemNotFound where there is none, errSecNotAvailable where others
/// may read it.
OSStatus check_key(const Paths &paths, Identity &identity);

/// Reads the master key.
OSStatus read_key(const Paths &paths, std::optional<Keys> &keys);

/// Makes a new master key, durably. The folder must be locked.
OSStatus make_key(const Paths &paths);

/// Makes the names in the folder durable.
OSStatus sync_folder(const Paths &paths);

/// Holds the folder's lock, under which files appear, are opened and change places.
class FolderLock {
public:
  explicit FolderLock(const Paths &paths);
  ~FolderLock();
  FolderLock(const FolderLock &) = delete;
  FolderLock &operator=(const FolderLock &) = delete;

  /// errSecSuccess where the lock is held.
  [[nodiscard]] OSStatus status() const { return status_; }

private:
  int file_ = -1;
  OSStatus status_;
};

} // namespace veltro::host::keychain
