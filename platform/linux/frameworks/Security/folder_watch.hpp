// Whether the keychain's folder is still as it was found, without looking at each file in it.
#pragma once

#include "frameworks/Security/file.hpp"
#include "frameworks/Security/folder.hpp"

#include <string>

namespace veltro::host::keychain {

/// Has the kernel tell of every change that could put another keychain or other modes behind the
/// same names: in the folder, to the key, to the folders above, and in the table of mounts. What
/// databases write into their files is not one. Trusts nothing where the kernel cannot tell:
/// behind symbolic links, on file systems that others change too, or without a queue to be had.
class FolderWatch {
public:
  /// Starts to watch, before the files are looked at; from the time on that a process has asked
  /// often enough to be worth one of the user's few queues.
  void begin(const Paths &paths);

  /// Trusts what was found since `begin` from now on.
  void trust() { trusted_ = begun_; }

  /// Whether nothing changed since `begin` of what was trusted.
  [[nodiscard]] bool holds();

  /// Trusts nothing, and lets go of the queue without reading from it: a process that was forked
  /// shares it with its parent.
  void leave();

private:
  [[nodiscard]] bool follow(const Paths &paths);
  [[nodiscard]] bool follow(const std::string &path, std::uint32_t changes);
  [[nodiscard]] bool is_quiet();
  void forget_changes();

  std::string folder_;
  File queue_, mounts_;
  int calls_until_worth_it_ = 0;
  bool begun_ = false;
  bool trusted_ = false;
};

} // namespace veltro::host::keychain
