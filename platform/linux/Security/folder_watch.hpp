// Whether the keychain's folder is still as it was found, without looking at each file in it.
#pragma once

#include "Security/file.hpp"
#include "Security/folder.hpp"

#include <sys/stat.h>
#include <time.h>

namespace veltro::host::keychain {

/// A folder's own times change when a file in it comes, goes or changes places, and when its mode
/// does. Files that change in place do not show in them: the key is watched by itself.
class FolderWatch {
public:
  /// Takes the folder's times, before the files in it are looked at. It is `now`.
  void begin(const Paths &paths, time_t now);

  /// Trusts them from now on, after the files turned out right.
  void trust(const Paths &paths, const Identity &key);

  /// Whether what was trusted is unchanged, and thereby every name in the folder.
  [[nodiscard]] bool holds(const Paths &paths) const;

private:
  struct stat folder_{};
  time_t begun_ = 0;
  File key_;
  Identity key_identity_;
  bool trusted_ = false;
};

} // namespace veltro::host::keychain
