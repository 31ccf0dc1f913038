#include "frameworks/Security/repair.hpp"

#include "frameworks/Security/item_rows.hpp"

#include <Security/SecBase.h>

#include <cerrno>
#include <cstdint>
#include <string>
#include <unistd.h>

namespace veltro::host::keychain {
namespace {

/// Inserts the rows that still read and counts them, also those that do not unseal: whoever looks
/// for them is told. Like the copies below, returns SQLITE_OK unless `to` cannot take a row.
int copy(Statement &rows, Database &to, std::int64_t &copied) {
  // The identifier, the attributes and the sealed secret, whatever a format has between them.
  constexpr int kColumns = static_cast<int>(kAttributes.size()) + 2;
  while (rows.step() == SQLITE_ROW && rows.columns() >= kColumns) {
    Row row;
    read_row(rows, row);
    row.id = 0;
    const int code = insert_item(to, row);
    // A row that shows twice, or without what a row must have, is none.
    if (code != SQLITE_DONE && (code & 0xFF) != SQLITE_CONSTRAINT)
      return code;
    copied += code == SQLITE_DONE;
  }
  return SQLITE_OK;
}

/// Looks for each item that the index names, also behind pages of the table that do not read; the
/// names are those of the index.
int copy_by_index(Database &from, Database &to, std::int64_t &copied) {
  const std::string by_index = " FROM genp INDEXED BY sqlite_autoindex_genp_1 WHERE svce ";
  Statement names(from, "SELECT svce, acct, agrp, sync" + by_index + ">= ''");
  while (names.step() == SQLITE_ROW) {
    Statement row(from, "SELECT *" + by_index + "= ?1 AND acct = ?2 AND agrp = ?3 AND sync = ?4");
    for (int at = 0; at < 4; ++at) {
      Field name;
      names.read(at, name);
      row.bind(at + 1, name);
    }
    if (const int code = copy(row, to, copied); code != SQLITE_OK)
      return code;
  }
  return SQLITE_OK;
}

int copy_all(Database &from, Database &to, std::int64_t &copied) {
  // From the other end, too, up to the place where the first way broke off.
  for (const char *direction : {"", " DESC"}) {
    Statement rows(from, std::string("SELECT * FROM genp NOT INDEXED ORDER BY id") + direction);
    if (const int code = copy(rows, to, copied); code != SQLITE_OK)
      return code;
  }
  return copy_by_index(from, to, copied);
}

/// Makes a new file, under the name `path`, of all that reads in `from`.
OSStatus copy_readable(Database &from, const std::string &path, std::int64_t &copied) {
  if (const OSStatus made = make_database_file(path); made != errSecSuccess)
    return made;
  Database to;
  int code = to.open(path, Database::Access::read_write);
  if (code == SQLITE_OK) {
    Transaction transaction(to);
    code = transaction.begun();
    if (code == SQLITE_OK && from.is_open())
      code = copy_all(from, to, copied);
    if (code == SQLITE_OK)
      code = transaction.commit();
  }
  const OSStatus status = to.status_of(code);
  to.close_with_checkpoint();
  if (status != errSecSuccess)
    remove_database_files(path);
  return status;
}

/// Links the file and its log to the first free name, which it returns; empty where it cannot.
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

OSStatus quarantine(const Paths &paths, const Identity &corrupt) {
  struct stat status{};
  if (::stat(paths.database.c_str(), &status) != 0 || Identity::of(status) != corrupt)
    return errSecSuccess;

  const std::string fresh = paths.database + ".new";
  Database from;
  std::int64_t copied = 0;
  // Writers are kept out where the file still knows what a writer is.
  if (from.open(paths.database, Database::Access::read_write) == SQLITE_OK)
    from.run("BEGIN IMMEDIATE");
  else
    from.close();
  if (const OSStatus made = copy_readable(from, fresh, copied); made != errSecSuccess) {
    log_trouble(paths.database, "is corrupt, and its items could not be copied");
    return made;
  }
  const std::string quarantined = link_aside(paths);
  if (quarantined.empty()) {
    const int error = errno;
    remove_database_files(fresh);
    return file_error(error, paths.database);
  }
  // The old log goes before the new file comes: no file is ever read with another one's log.
  ::unlink((paths.database + "-wal").c_str());
  ::unlink((paths.database + "-shm").c_str());
  if (::rename(fresh.c_str(), paths.database.c_str()) != 0)
    return file_error(errno, paths.database);
  log_trouble(paths.database, "is corrupt; it is kept as " + quarantined + ", and " +
                                  std::to_string(copied) +
                                  " items that it still has are in a new file");
  return sync_directory(paths);
}

} // namespace veltro::host::keychain
