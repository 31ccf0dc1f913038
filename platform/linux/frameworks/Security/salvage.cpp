#include "frameworks/Security/salvage.hpp"

#include "frameworks/Security/item_rows.hpp"
#include "frameworks/Security/row_pages.hpp"

#include <Security/SecBase.h>

#include <cerrno>
#include <cstdio>
#include <set>
#include <string>
#include <unistd.h>

namespace veltro::host::keychain {
namespace {

struct Count {
  std::int64_t kept = 0;
  std::int64_t refused = 0;
};

class Salvage {
public:
  Salvage(Database &to, const Keys *keys) : to_(to), keys_(keys) {}

  /// Copies the rows of the table up to the first page that does not read; `whole` says whether
  /// there is none.
  int copy(Database &from, bool &whole) {
    whole = false;
    sqlite3_stmt *const rows =
        from.statement(1, [] { return selection_of_rows() + " NOT INDEXED"; });
    return rows == nullptr ? SQLITE_OK : copy(rows, whole);
  }

  /// Copies the rows that the index leads to and whose names in the table are spoiled: the index
  /// has them as well.
  int copy_by_index(Database &from) {
    sqlite3_stmt *const rows = from.statement(2, [] {
      return selection_of_rows() + " INDEXED BY sqlite_autoindex_genp_1 WHERE svce >= ''";
    });
    bool whole = false;
    return rows == nullptr ? SQLITE_OK : copy(rows, whole);
  }

  [[nodiscard]] Count count() const { return {kept_, static_cast<std::int64_t>(refused_.size())}; }

private:
  int copy(sqlite3_stmt *rows, bool &whole) {
    const StatementUse use(rows);
    int code = SQLITE_OK;
    while ((code = sqlite3_step(rows)) == SQLITE_ROW)
      if (const int inserted = insert(row_of(rows)); inserted != SQLITE_DONE)
        return inserted;
    whole = code == SQLITE_DONE;
    return SQLITE_OK;
  }

  int insert(Row row) {
    Checksum checksum;
    if (keys_ != nullptr) {
      write_bound_form(row.fields, bound_);
      if (!are_as_stored(*keys_, bound_, row.checksum, row.sealed)) {
        refused_.insert(row.id);
        return SQLITE_DONE;
      }
      checksum = checksum_of(*keys_, bound_);
      row.checksum = {reinterpret_cast<const char *>(checksum.data()), checksum.size()};
    }
    sqlite3_stmt *const statement = insert_item(to_, row);
    if (statement == nullptr)
      return SQLITE_ERROR;
    const StatementUse use(statement);
    const int code = sqlite3_step(statement);
    if (code == SQLITE_DONE) {
      ++kept_;
      refused_.erase(row.id);
    }
    // A row that shows twice, or without what a row must have, is none.
    return (code & 0xFF) == SQLITE_CONSTRAINT ? SQLITE_DONE : code;
  }

  Database &to_;
  const Keys *keys_;
  std::int64_t kept_ = 0;
  std::set<std::int64_t> refused_; ///< in one way; another one may still find them
  std::string bound_;
};

int copy_rows(Database &from, Database &to, const Paths &paths, const std::string &empty,
              const Keys *keys, Count &count) {
  Salvage salvage(to, keys);
  bool whole = false;
  int code = from.is_open() ? salvage.copy(from, whole) : SQLITE_OK;
  if (code == SQLITE_OK && from.is_open())
    code = salvage.copy_by_index(from);
  // A row that is missing leaves a table that reads well.
  whole = whole && from.check_soundness() == SQLITE_OK;
  if (code == SQLITE_OK && !whole)
    code = visit_row_pages(
        paths.database, empty, paths.database + ".pages",
        [&](Database &page, bool &page_is_whole) { return salvage.copy(page, page_is_whole); });
  count = salvage.count();
  return code;
}

/// Makes a new file, under the name `path`, of all that reads in `from`.
OSStatus copy_readable(Database &from, const Paths &paths, const std::string &path,
                       const Keys &keys, Count &count) {
  const std::string empty = path + ".empty";
  if (const OSStatus made = make_database_file(empty); made != errSecSuccess)
    return made;
  if (const OSStatus made = make_database_file(path); made != errSecSuccess) {
    ::unlink(empty.c_str());
    return made;
  }
  Database to;
  int code = to.open(path, Database::Access::read_write);
  if (code == SQLITE_OK) {
    Transaction transaction(to);
    code = transaction.begun();
    if (code == SQLITE_OK)
      code = copy_rows(from, to, paths, empty, &keys, count);
    // Where nothing at all bears the key's mark, the key is more likely wrong than every row.
    if (code == SQLITE_OK && count.kept == 0 && count.refused > 0)
      code = copy_rows(from, to, paths, empty, nullptr, count);
    if (code == SQLITE_OK)
      code = transaction.commit();
  }
  const OSStatus status = to.status_of(code);
  to.close_and_fold_log();
  ::unlink(empty.c_str());
  if (status != errSecSuccess)
    ::unlink(path.c_str());
  return status;
}

/// Links the file and its log to the first free name, which it answers; empty where it cannot.
std::string link_aside(const Paths &paths) {
  for (int number = 1;; ++number) {
    std::string name = paths.database + ".damaged-" + std::to_string(number);
    if (::link(paths.database.c_str(), name.c_str()) == 0) {
      if (::link((paths.database + "-wal").c_str(), (name + "-wal").c_str()) == 0 ||
          errno == ENOENT)
        return name;
      ::unlink(name.c_str());
      return {};
    }
    if (errno != EEXIST)
      return {};
  }
}

} // namespace

OSStatus set_aside(const Paths &paths, const Identity &damaged, const Keys &keys) {
  struct stat status{};
  if (::stat(paths.database.c_str(), &status) != 0 || Identity::of(status) != damaged)
    return errSecSuccess;

  const std::string fresh = paths.database + ".new";
  Database from;
  Count count;
  // Writers are kept out where the file still knows what a writer is.
  if (from.open(paths.database, Database::Access::read_write) == SQLITE_OK)
    from.run("BEGIN IMMEDIATE");
  else
    from.close();
  const OSStatus copied = copy_readable(from, paths, fresh, keys, count);
  if (copied != errSecSuccess) {
    log_trouble(paths.database, "is damaged, and its items could not be copied");
    return copied;
  }
  const std::string aside = link_aside(paths);
  if (aside.empty()) {
    const int error = errno;
    ::unlink(fresh.c_str());
    return file_error(error, paths.database);
  }
  // The old log goes before the new file comes: no file is ever read with another one's log.
  ::unlink((paths.database + "-wal").c_str());
  ::unlink((paths.database + "-shm").c_str());
  if (::rename(fresh.c_str(), paths.database.c_str()) != 0)
    return file_error(errno, paths.database);
  log_trouble(paths.database, "is damaged; it is kept as " + aside + ", and " +
                                  std::to_string(count.kept) +
                                  " of its items were readable and go on (" +
                                  std::to_string(count.refused) + " were not what was stored)");
  return sync_folder(paths);
}

} // namespace veltro::host::keychain
