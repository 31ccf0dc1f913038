// What searches found, for as long as nobody changes the keychain.
#pragma once

#include "frameworks/Security/database.hpp"
#include "frameworks/Security/item_rows.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace veltro::host::keychain {

/// An item outside the file: its attributes, in the form that secrets are bound to, and its secret,
/// which stays sealed.
struct KnownRow {
  std::string bound, sealed;
};

/// The answers to recent searches. All are forgotten at the first commit of any process.
class KnownRows {
public:
  /// The rows of an answer, while they are read. Gives up on answers that are too long to be kept.
  class Recording {
  public:
    void add(std::string_view bound, std::string_view sealed);

  private:
    friend class KnownRows;
    std::vector<KnownRow> rows_;
    std::size_t size_ = 0;
  };

  /// The answer to the search of this name as of this commit; null where it is not known.
  const std::vector<KnownRow> *find(const CommitStamp &commit, std::string_view search);

  /// Whether this search is worth keeping: when it is made for the second time. Who walks through a
  /// large keychain asks for everything once.
  bool is_repeated(std::string_view search);

  /// Keeps an answer that was read after `commit` was the last one.
  void keep(const CommitStamp &commit, const std::string &search, Recording recording);

  void forget();

private:
  struct Hash : std::hash<std::string_view> {
    using is_transparent = void;
  };

  CommitStamp commit_{};
  std::unordered_map<std::string, std::vector<KnownRow>, Hash, std::equal_to<>> answers_;
  std::size_t size_ = 0;
  std::array<std::uint32_t, 4096> asked_{}; ///< hashes of the names of recent searches
};

/// Replaces `out` by a name that two searches share only if they find the same.
void write_name(const Query &query, bool with_secrets, std::string &out);

} // namespace veltro::host::keychain
