#include "store.hpp"

#include <algorithm>
#include <sqlite3.h>
#include <string_view>
#include <utility>

namespace veltro::messenger {
namespace {

// Times are kept as the bits of a REAL, so that a timestamp comes back as the very same one.
constexpr const char *kSchema = R"(
  PRAGMA journal_mode = WAL;
  PRAGMA synchronous = FULL;
  CREATE TABLE IF NOT EXISTS messages (
    id INTEGER PRIMARY KEY AUTOINCREMENT,
    user TEXT NOT NULL,
    text TEXT NOT NULL,
    outgoing INTEGER NOT NULL,
    time REAL NOT NULL,
    unread INTEGER NOT NULL);
  CREATE INDEX IF NOT EXISTS messages_of_user ON messages (user, time, id);
  CREATE INDEX IF NOT EXISTS unread_of_user ON messages (user) WHERE unread;
)";

/// A prepared statement; finalized when it goes away.
class Statement {
public:
  Statement(sqlite3 *database, std::string_view sql) {
    sqlite3_prepare_v2(database, sql.data(), static_cast<int>(sql.size()), &statement_, nullptr);
  }
  ~Statement() { sqlite3_finalize(statement_); }
  Statement(const Statement &) = delete;
  Statement &operator=(const Statement &) = delete;

  void bind(int index, std::string_view text) {
    sqlite3_bind_text64(statement_, index, text.data(), text.size(), SQLITE_STATIC, SQLITE_UTF8);
  }
  void bind(int index, double number) { sqlite3_bind_double(statement_, index, number); }
  void bind(int index, std::int64_t number) { sqlite3_bind_int64(statement_, index, number); }

  /// Whether there is a next row.
  bool next() {
    state_ = sqlite3_step(statement_);
    return state_ == SQLITE_ROW;
  }

  /// Whether the statement ran to its end, or to where the caller stopped it.
  [[nodiscard]] bool succeeded() const { return state_ == SQLITE_ROW || state_ == SQLITE_DONE; }

  [[nodiscard]] std::string text(int column) const {
    const auto *const bytes = static_cast<const char *>(sqlite3_column_blob(statement_, column));
    return {bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement_, column))};
  }
  [[nodiscard]] std::int64_t integer(int column) const {
    return sqlite3_column_int64(statement_, column);
  }
  [[nodiscard]] double real(int column) const { return sqlite3_column_double(statement_, column); }

private:
  sqlite3_stmt *statement_ = nullptr;
  int state_ = SQLITE_MISUSE;
};

/// The columns user, text, outgoing, time.
Message message_in(const Statement &row) {
  return {row.text(0), row.text(1), row.integer(2) != 0, row.real(3)};
}

/// Counts records and their text against the bounds of a reply.
class Allowance {
public:
  explicit Allowance(const Bounds &bounds) : left_(bounds) {}

  bool take(const Message &message) {
    const std::size_t bytes = message.user.size() + message.text.size();
    if (left_.records == 0 || left_.text_bytes < bytes)
      return false;
    --left_.records;
    left_.text_bytes -= bytes;
    return true;
  }

private:
  Bounds left_;
};

} // namespace

void Store::Close::operator()(sqlite3 *database) const {
  sqlite3_close(database);
}

std::unique_ptr<Store> Store::open(const std::string &path, std::string &error) {
  sqlite3 *raw = nullptr;
  const int opened =
      sqlite3_open_v2(path.c_str(), &raw, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr);
  Database database(raw);
  if (opened != SQLITE_OK || sqlite3_exec(raw, kSchema, nullptr, nullptr, nullptr) != SQLITE_OK) {
    error = sqlite3_errmsg(raw);
    return nullptr;
  }
  return std::unique_ptr<Store>(new Store(std::move(database)));
}

std::optional<std::vector<Chat>> Store::chats(const Bounds &bounds) {
  Statement rows(database_.get(), R"(
    SELECT user, text, outgoing, time,
           (SELECT count(*) FROM messages AS m WHERE m.user = newest.user),
           (SELECT count(*) FROM messages AS m WHERE m.user = newest.user AND unread)
    FROM (SELECT DISTINCT user AS name FROM messages) JOIN messages AS newest
      ON id = (SELECT id FROM messages WHERE user = name ORDER BY time DESC, id DESC LIMIT 1)
    ORDER BY time DESC, id DESC)");
  std::vector<Chat> chats;
  Allowance allowance(bounds);
  while (rows.next()) {
    Message newest = message_in(rows);
    if (!allowance.take(newest))
      break;
    std::string user = newest.user;
    chats.push_back({std::move(user), rows.integer(4), rows.integer(5), std::move(newest)});
  }
  if (!rows.succeeded())
    return std::nullopt;
  return chats;
}

std::optional<std::vector<Message>> Store::read(const std::string &user, std::size_t last,
                                                double since, const Bounds &bounds) {
  Statement rows(database_.get(), R"(
    SELECT user, text, outgoing, time FROM messages
    WHERE user = ? AND time >= ? ORDER BY time DESC, id DESC LIMIT ?)");
  rows.bind(1, user);
  rows.bind(2, since);
  rows.bind(3, static_cast<std::int64_t>(std::min(last, bounds.records)));
  std::vector<Message> messages;
  Allowance allowance(bounds);
  while (rows.next()) {
    Message message = message_in(rows);
    if (!allowance.take(message))
      break;
    messages.push_back(std::move(message));
  }
  if (!rows.succeeded())
    return std::nullopt;
  std::ranges::reverse(messages);
  return messages;
}

std::optional<std::int64_t> Store::add(const Message &message) {
  Statement insertion(
      database_.get(),
      "INSERT INTO messages (user, text, outgoing, time, unread) VALUES (?, ?, ?, ?, ?)");
  insertion.bind(1, message.user);
  insertion.bind(2, message.text);
  insertion.bind(3, std::int64_t{message.outgoing});
  insertion.bind(4, message.time);
  insertion.bind(5, std::int64_t{!message.outgoing});
  insertion.next();
  if (!insertion.succeeded())
    return std::nullopt;
  return sqlite3_last_insert_rowid(database_.get());
}

std::optional<std::int64_t> Store::mark_read(const std::string &user) {
  Statement update(database_.get(), "UPDATE messages SET unread = 0 WHERE user = ? AND unread");
  update.bind(1, user);
  update.next();
  if (!update.succeeded())
    return std::nullopt;
  return sqlite3_changes64(database_.get());
}

} // namespace veltro::messenger
