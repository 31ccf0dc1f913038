#include "frameworks/Security/store.hpp"

#include "frameworks/Security/room.hpp"

#include <Security/SecBase.h>

#include <chrono>
#include <cstdlib>
#include <pthread.h>
#include <utility>
#include <vector>

namespace veltro::host::keychain {
namespace {

/// More than a deletion and the addition of an ordinary secret add to the log.
constexpr std::uint64_t room_for_a_save = 128UL * 1024;

constexpr std::string_view default_group = "default";
constexpr std::string_view default_accessible = "ak"; // kSecAttrAccessibleWhenUnlocked

/// Seconds since the first of January 2001, as dates count.
double now() {
  constexpr double reference_date = 978307200;
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch())
             .count() -
         reference_date;
}

template <typename Value> void fill(Field &field, Value value) {
  if (!field.present())
    field = value;
}

} // namespace

Store &Store::shared() {
  // Never destroyed: other threads may still call while the process ends.
  static Store &store = *new Store;
  return store;
}

// No connection of SQLite may cross a fork: it is closed before, and opened again where it is
// wanted.
Store::Store() {
  pthread_atfork(before_fork, after_fork, after_fork_in_child);
  std::atexit(at_exit);
}

void Store::before_fork() {
  shared().mutex_.lock();
  shared().database_.close();
}

void Store::after_fork() {
  shared().mutex_.unlock();
}

void Store::after_fork_in_child() {
  shared().watch_.leave();
  after_fork();
}

void Store::at_exit() {
  Store &store = shared();
  const std::lock_guard lock(store.mutex_);
  if (store.database_.is_open() && store.in_place())
    store.database_.close_and_fold_log();
  store.database_.close();
}

OSStatus Store::add(Fields &fields, std::string_view secret) {
  const double moment = now();
  fill(fields[service], Field::text(""));
  fill(fields[account], Field::text(""));
  fill(fields[group], Field::text(default_group));
  fill(fields[sync], Field::of(std::int64_t{0}));
  fill(fields[created], Field::of(moment));
  fill(fields[modified], Field::of(moment));
  fill(fields[accessible], Field::text(default_accessible));
  return write(Call::add, [&]() -> Outcome {
    write_bound_form(fields, bound_);
    const Checksum checksum = checksum_of(*keys_, bound_);
    seal(*keys_, bound_, secret, sealed_);
    const Row row{
        fields, {reinterpret_cast<const char *>(checksum.data()), checksum.size()}, sealed_, 0};
    sqlite3_stmt *const statement = insert_item(database_, row);
    if (statement == nullptr)
      return {SQLITE_ERROR, errSecSuccess};
    const StatementUse use(statement);
    const int code = sqlite3_step(statement);
    if ((code & 0xFF) != SQLITE_CONSTRAINT)
      return {code, errSecSuccess};
    // An item that a save could not delete for want of room is in its way for the same reason.
    Query present;
    for (const Index at : {service, account, group, sync})
      present.fields[at] = fields[at];
    return {has_room_to_replace(present) ? code : SQLITE_FULL, errSecSuccess};
  });
}

OSStatus Store::search(const Query &query, bool with_secrets, const Visitor &visit) {
  return perform(Call::search, [&]() -> Outcome {
    write_name(query, with_secrets, search_);
    const std::optional<CommitStamp> commit = database_.last_commit();
    if (commit)
      if (const std::vector<KnownRow> *const known = known_.find(*commit, search_))
        return visit_known(*known, with_secrets, visit);
    return read_items(query, with_secrets, commit, visit);
  });
}

Store::Outcome Store::visit_known(const std::vector<KnownRow> &rows, bool with_secrets,
                                  const Visitor &visit) {
  for (const KnownRow &row : rows) {
    Secret secret = with_secrets ? keychain::open(*keys_, row.bound, row.sealed) : Secret();
    if (with_secrets && !secret)
      return undecodable();
    visit(fields_of_bound_form(row.bound), std::move(secret));
  }
  return rows.empty() ? nothing_found() : Outcome{SQLITE_OK, errSecSuccess};
}

Store::Outcome Store::read_items(const Query &query, bool with_secrets,
                                 const std::optional<CommitStamp> &commit, const Visitor &visit) {
  sqlite3_stmt *const statement = select_items(database_, query);
  if (statement == nullptr)
    return {SQLITE_ERROR, errSecSuccess};
  KnownRows::Recording recording;
  const bool recorded = commit && known_.is_repeated(search_);
  std::int64_t found = 0;
  bool spoiled = false;
  {
    const StatementUse use(statement);
    int code = SQLITE_DONE;
    while ((query.limit == 0 || found < query.limit) &&
           (code = sqlite3_step(statement)) == SQLITE_ROW) {
      const Row row = row_of(statement);
      write_bound_form(row.fields, bound_);
      Secret secret = with_secrets ? keychain::open(*keys_, bound_, row.sealed) : Secret();
      spoiled = with_secrets ? !secret : !are_as_stored(*keys_, bound_, row.checksum, row.sealed);
      if (spoiled)
        break;
      visit(row.fields, std::move(secret));
      if (recorded)
        recording.add(bound_, row.sealed);
      ++found;
    }
    if (code != SQLITE_DONE && code != SQLITE_ROW)
      return {code, errSecSuccess};
  }
  if (spoiled)
    return with_secrets || query.limit > 0 ? undecodable() : unlistable();
  // Who committed in between made the stamp an old one, under which nobody looks.
  if (recorded)
    known_.keep(*commit, search_, std::move(recording));
  return found > 0 ? Outcome{SQLITE_OK, errSecSuccess} : nothing_found();
}

// A save is a deletion and an addition: the first must not succeed where there is no room for the
// second.
bool Store::has_room_to_replace(const Query &query) {
  if (!is_nearly_full(paths_.folder))
    return true;
  sqlite3_stmt *const statement = select_items(database_, query);
  if (statement == nullptr)
    return true;
  std::uint64_t room = 0;
  const StatementUse use(statement);
  // Deleted secrets are written over, and take as much room in the log as new ones.
  while (sqlite3_step(statement) == SQLITE_ROW)
    room += 3 * row_of(statement).sealed.size() + room_for_a_save;
  return room == 0 || reserve_room(paths_.database + "-wal", room);
}

OSStatus Store::remove(const Query &query) {
  return write(Call::remove, [&]() -> Outcome {
    if (!has_room_to_replace(query))
      return {SQLITE_FULL, errSecSuccess};
    sqlite3_stmt *const statement = delete_items(database_, query);
    if (statement == nullptr)
      return {SQLITE_ERROR, errSecSuccess};
    const StatementUse use(statement);
    if (const int code = sqlite3_step(statement); code != SQLITE_DONE)
      return {code, errSecSuccess};
    return database_.changes() > 0 ? Outcome{SQLITE_OK, errSecSuccess} : nothing_found();
  });
}

OSStatus Store::update(const Query &query, const Fields &changes,
                       std::optional<std::string_view> secret) {
  Fields all = changes;
  all[modified] = Field::of(now());
  return write(Call::update, [&]() -> Outcome {
    // All that match are found before the first one changes, so that none is met twice.
    std::vector<std::int64_t> found;
    sqlite3_stmt *const statement = select_items(database_, query);
    if (statement == nullptr)
      return {SQLITE_ERROR, errSecSuccess};
    {
      const StatementUse use(statement);
      int code = SQLITE_OK;
      while ((code = sqlite3_step(statement)) == SQLITE_ROW)
        found.push_back(row_of(statement).id);
      if (code != SQLITE_DONE)
        return {code, errSecSuccess};
    }
    for (const std::int64_t id : found)
      if (const Outcome outcome = replace(id, all, secret);
          outcome.code != SQLITE_OK || outcome.status != errSecSuccess)
        return outcome;
    return found.empty() ? nothing_found() : Outcome{SQLITE_OK, errSecSuccess};
  });
}

Store::Outcome Store::replace(std::int64_t id, const Fields &changes,
                              std::optional<std::string_view> secret) {
  sqlite3_stmt *const selected = select_item(database_, id);
  if (selected == nullptr)
    return {SQLITE_ERROR, errSecSuccess};
  const StatementUse use_selected(selected);
  if (const int code = sqlite3_step(selected); code != SQLITE_ROW)
    return {code == SQLITE_DONE ? SQLITE_CORRUPT : code, errSecSuccess};
  Row row = row_of(selected);
  write_bound_form(row.fields, bound_);
  Secret old;
  if (!secret) {
    old = keychain::open(*keys_, bound_, row.sealed);
    if (!old)
      return undecodable();
    secret = old.view();
  }
  for (std::size_t at = 0; at < changes.size(); ++at)
    if (changes[at].present())
      row.fields[at] = changes[at];
  write_bound_form(row.fields, bound_);
  const Checksum checksum = checksum_of(*keys_, bound_);
  seal(*keys_, bound_, *secret, sealed_);
  row.checksum = {reinterpret_cast<const char *>(checksum.data()), checksum.size()};
  row.sealed = sealed_;
  sqlite3_stmt *const updating = update_item(database_, row);
  if (updating == nullptr)
    return {SQLITE_ERROR, errSecSuccess};
  const StatementUse use_updating(updating);
  const int code = sqlite3_step(updating);
  return {code == SQLITE_DONE ? SQLITE_OK : code, errSecSuccess};
}

// A caller who hears that there is nothing goes on to write it anew: damage to an index must not
// look like that. Once a connection, since it reads the whole file.
Store::Outcome Store::nothing_found() {
  if (!checked_) {
    if (const int code = database_.check_soundness(); code != SQLITE_OK)
      return {code, errSecSuccess};
    checked_ = true;
  }
  return {SQLITE_OK, errSecItemNotFound};
}

Store::Outcome Store::undecodable() const {
  log_trouble(paths_.database, "has an item that is damaged or not sealed with the key beside it");
  return {SQLITE_OK, errSecDecode};
}

OSStatus Store::perform(Call call, const std::function<Outcome()> &operation) {
  const std::lock_guard lock(mutex_);
  const OSStatus status = perform_locked(call, operation);
  if (std::exchange(once_, false))
    database_.close();
  return status;
}

OSStatus Store::perform_locked(Call call, const std::function<Outcome()> &operation) {
  if (const OSStatus ready = make_ready(call); ready != errSecSuccess)
    return ready;
  const Outcome outcome = operation();
  if (Database::is_damage(outcome.code)) {
    const OSStatus handled = handle_damage(call);
    return outcome.status != errSecSuccess ? outcome.status : handled;
  }
  if (outcome.status != errSecSuccess)
    return outcome.status;
  const OSStatus status = database_.status_of(outcome.code);
  if (status != errSecSuccess && status != errSecDuplicateItem)
    log_trouble(paths_.database, sqlite3_errstr(outcome.code));
  return status;
}

OSStatus Store::write(Call call, const std::function<Outcome()> &operation) {
  OSStatus status = errSecSuccess;
  bool moved = false;
  do {
    moved = false;
    status = perform(call, [&]() -> Outcome {
      Transaction transaction(database_);
      if (transaction.begun() != SQLITE_OK)
        return {transaction.begun(), errSecSuccess};
      // While this writer waited, the file may have been set aside: what is written to it is lost.
      moved = !in_place();
      if (moved)
        return {SQLITE_OK, errSecSuccess};
      const Outcome outcome = operation();
      if ((outcome.code != SQLITE_OK && outcome.code != SQLITE_DONE) ||
          outcome.status != errSecSuccess)
        return outcome;
      return {transaction.commit(), errSecSuccess};
    });
  } while (moved);
  return status;
}

// One spoiled item would hide all others from every listing. Where the key opens none, it is the
// key that is wrong.
Store::Outcome Store::unlistable() {
  Query all;
  all.any_sync = true;
  sqlite3_stmt *const statement = select_items(database_, all);
  if (statement == nullptr)
    return {SQLITE_ERROR, errSecSuccess};
  const StatementUse use(statement);
  while (sqlite3_step(statement) == SQLITE_ROW) {
    const Row row = row_of(statement);
    write_bound_form(row.fields, bound_);
    if (are_as_stored(*keys_, bound_, row.checksum, row.sealed))
      return {SQLITE_CORRUPT, errSecDecode};
  }
  return undecodable();
}

} // namespace veltro::host::keychain
