// The conversations, in one SQLite file. What add() has returned true for survives the end of the
// process and of the machine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct sqlite3;

namespace veltro::messenger {

struct Message {
  std::string user;
  std::string text;
  bool outgoing = false;
  double time = 0; ///< Seconds since 1 January 2001, as NSDate counts them.
};

struct Chat {
  std::string user;
  std::int64_t count = 0;
  std::int64_t unread = 0;
  Message newest;
};

/// How much one reply may hold; what goes beyond is left out from the far end.
struct Bounds {
  std::size_t records = 1000;
  std::size_t text_bytes = std::size_t{16} * 1024 * 1024;
};

/// One thread at a time. Every call returns nothing where the file cannot be read or written.
class Store {
public:
  /// Opens the file, or makes it; nothing where that fails, with the reason in `error`.
  static std::unique_ptr<Store> open(const std::string &path, std::string &error);

  /// Every chat, the one with the newest message first.
  std::optional<std::vector<Chat>> chats(const Bounds &bounds = {});

  /// The newest `last` messages with `user` of the time `since` and later, the oldest of them
  /// first.
  std::optional<std::vector<Message>> read(const std::string &user, std::size_t last,
                                           double since = -std::numeric_limits<double>::infinity(),
                                           const Bounds &bounds = {});

  /// Keeps a message and returns its number; a received one counts as unread.
  std::optional<std::int64_t> add(const Message &message);

  /// Marks all messages with `user` as read and returns how many were not.
  std::optional<std::int64_t> mark_read(const std::string &user);

private:
  struct Close {
    void operator()(sqlite3 *database) const;
  };
  using Database = std::unique_ptr<sqlite3, Close>;

  explicit Store(Database database) : database_(std::move(database)) {}

  Database database_;
};

} // namespace veltro::messenger
