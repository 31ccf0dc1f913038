// Which commit of a write-ahead log is the last one.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <sqlite3.h>

namespace veltro::host::keychain {

/// What the header of the log's index says of the last commit; another one after every commit that
/// changed something.
using CommitStamp = std::array<std::uint64_t, 6>;

/// The log's index: memory that all processes with a connection to the file share.
class CommitStamps {
public:
  /// Finds the index of a connection that has read from its file.
  void attach(sqlite3 *connection);
  void detach() { header_ = nullptr; }

  /// The stamp of the last commit; none where there is no index, or while a commit is written.
  [[nodiscard]] std::optional<CommitStamp> last() const;

private:
  const std::uint64_t *header_ = nullptr;
};

} // namespace veltro::host::keychain
