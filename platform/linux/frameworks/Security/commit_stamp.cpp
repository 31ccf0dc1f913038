// Follows "WAL-mode File Format" and the description of sqlite3_io_methods in SQLite's
// documentation. The index begins with two copies of a header of 48 bytes. Who commits writes the
// second copy, then the first; who reads trusts them where both are equal.

#include "frameworks/Security/commit_stamp.hpp"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstring>

namespace veltro::host::keychain {
namespace {

constexpr int region_size = 32768;
constexpr std::uint32_t known_version = 3007000;
constexpr std::size_t initialised_field = 12;

CommitStamp copy_at(const std::uint64_t *words) {
  CommitStamp copy{};
  for (std::uint64_t &word : copy)
    word = __atomic_load_n(words++, __ATOMIC_RELAXED);
  return copy;
}

} // namespace

void CommitStamps::attach(sqlite3 *connection) {
  header_ = nullptr;
  sqlite3_file *file = nullptr;
  void volatile *index = nullptr;
  if (sqlite3_file_control(connection, "main", SQLITE_FCNTL_FILE_POINTER, &file) == SQLITE_OK &&
      file != nullptr && file->pMethods != nullptr && file->pMethods->iVersion >= 2 &&
      file->pMethods->xShmMap(file, 0, region_size, 0, &index) == SQLITE_OK)
    header_ = static_cast<const std::uint64_t *>(const_cast<const void *>(index));
}

std::optional<CommitStamp> CommitStamps::last() const {
  if (header_ == nullptr)
    return std::nullopt;
  const CommitStamp first = copy_at(header_);
  std::atomic_thread_fence(std::memory_order_acquire);
  const CommitStamp second = copy_at(header_ + first.size());
  std::uint32_t version = 0;
  std::memcpy(&version, first.data(), sizeof version);
  const auto *const bytes = reinterpret_cast<const unsigned char *>(first.data());
  if (first != second || version != known_version || bytes[initialised_field] == 0)
    return std::nullopt;
  return first;
}

} // namespace veltro::host::keychain
