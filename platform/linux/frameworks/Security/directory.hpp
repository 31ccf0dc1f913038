// The keychain's directory: its files, who may read them, and the master key.
#pragma once

#include "frameworks/Security/sealing.hpp"
#include "machine/files/file.hpp"

#include <MacTypes.h>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>

namespace veltro::host::keychain {

/// Where the keychain lies under a device root.
struct Paths {
  std::string directory, database, key;

  static Paths at(const std::string &device_root);
};

/// Tells a file from one that took its place.
struct Identity {
  dev_t device = 0;
  ino_t number = 0;
  std::int64_t changed = 0; ///< in nanoseconds; zero for a file that changes in place
  mode_t mode = 0;          ///< zero likewise; it may change before the time ticks
  bool operator==(const Identity &) const = default;

  /// Of the file itself, whatever is written to it.
  static Identity of(const struct stat &status);
  /// Of the file as it is now: another one when it is written or its mode changes.
  static Identity with_change(const struct stat &status);
};

/// One line in the log: what is wrong with which file.
void log_trouble(std::string_view file, std::string_view trouble);

/// The status for an error of the file system, logged with the file that it struck.
OSStatus file_error(int error, std::string_view file);

/// errSecSuccess where the directory is there and private, errSecItemNotFound where it is not
/// there, else errSecNotAvailable.
OSStatus check_directory(const Paths &paths);

/// Makes the directory and those above it, durably.
OSStatus make_directory(const Paths &paths);

/// Makes the names in the directory durable.
OSStatus sync_directory(const Paths &paths);

/// Looks at the key file, and holds it: errSecItemNotFound where there is none, errSecNotAvailable
/// where others may read it.
OSStatus check_key(const Paths &paths, File &key, Identity &identity);

/// Reads the master key and derives the key for secrets.
OSStatus read_key(const Paths &paths, std::optional<SealingKey> &key);

/// Makes a new master key, durably. The directory must be locked.
OSStatus make_key(const Paths &paths);

} // namespace veltro::host::keychain
