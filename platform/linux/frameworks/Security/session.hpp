// The connection that a process has to its keychain, and one operation's use of it.
#pragma once

#include "frameworks/Security/database.hpp"
#include "frameworks/Security/sealing.hpp"

#include <Security/SecBase.h>
#include <cstdint>
#include <mutex>
#include <optional>

namespace veltro::host::keychain {

/// One operation on the keychain under the device root of the moment. Any thread may have one;
/// others wait until it goes. One that writes is a transaction, which is undone unless `finish`
/// commits it. Statements must be gone before `finish` is called.
class Session {
public:
  enum class Purpose : std::uint8_t {
    read,
    write,
    create ///< writes, and makes the keychain where there is none
  };

  explicit Session(Purpose purpose);
  ~Session();
  Session(const Session &) = delete;
  Session &operator=(const Session &) = delete;

  /// errSecSuccess where the operation may continue; errSecItemNotFound where there is no keychain.
  [[nodiscard]] OSStatus status() const { return status_; }

  [[nodiscard]] Database &database() const;
  [[nodiscard]] const SealingKey &key() const;

  /// Ends the operation. `code` is what SQLite returned last; where that is no error, `status` is
  /// what the operation came to, and errSecSuccess commits. A corrupt file is quarantined.
  OSStatus finish(int code, OSStatus status = errSecSuccess);

  /// Whether this operation met a corrupt file.
  [[nodiscard]] bool met_corruption() const { return met_corruption_; }

  /// One line in the log: what is wrong with the keychain.
  void log(const std::string &trouble) const;

private:
  std::unique_lock<std::mutex> lock_;
  std::optional<Transaction> transaction_;
  bool met_corruption_ = false;
  OSStatus status_;
};

} // namespace veltro::host::keychain
