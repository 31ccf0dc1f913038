#include "frameworks/Security/operations.hpp"

#include <Security/SecBase.h>

#include <chrono>
#include <cstdint>
#include <iterator>
#include <utility>
#include <vector>

namespace veltro::host::keychain {
namespace {

constexpr std::string_view kDefaultGroup = "default";
constexpr std::string_view kDefaultAccessible = "ak"; // kSecAttrAccessibleWhenUnlocked

/// What the last operation of a thread was, where it was a deletion that failed. A save deletes
/// first and does not look at the status; the addition that follows returns it.
struct FailedRemoval {
  OSStatus status = errSecSuccess;
  bool met_corruption = false;
};
thread_local FailedRemoval failed_removal;

/// Seconds since the first of January 2001, as dates count.
double now() {
  using namespace std::chrono;
  constexpr sys_days kReferenceDate = 2001y / January / 1;
  return duration<double>(system_clock::now() - kReferenceDate).count();
}

template <typename Value> void fill(Field &field, Value value) {
  if (!field.present())
    field = value;
}

void log_unsealable(const Session &session, std::int64_t items) {
  session.log("has items that do not unseal with the key beside it: " + std::to_string(items));
}

int insert_sealed(const Session &session, Row row, std::string_view secret) {
  const std::string sealed = seal(session.key(), row.fields, secret);
  row.sealed = sealed;
  return insert_item(session.database(), row);
}

/// Puts the changes into one item; errSecDecode where its secret is wanted and does not unseal.
int replace(const Session &session, std::int64_t id, const Fields &changes,
            std::optional<std::string_view> secret, OSStatus &status) {
  // The new row is made of views of the old one, which must stand until it is written.
  Statement selection(session.database(), "SELECT * FROM genp WHERE id = ?1");
  selection.bind(1, Field::of(id));
  if (const int code = selection.step(); code != SQLITE_ROW)
    return code == SQLITE_DONE ? SQLITE_INTERNAL : code;
  Row row;
  read_row(selection, row);
  Secret old;
  if (!secret) {
    if (!unseal(session.key(), row.fields, row.sealed, &old)) {
      log_unsealable(session, 1);
      status = errSecDecode;
      return SQLITE_DONE;
    }
    secret = {reinterpret_cast<const char *>(old.get()), old.get_deleter().length};
  }
  for (std::size_t at = 0; at < changes.size(); ++at)
    if (changes[at].present())
      row.fields[at] = changes[at];
  const int code = delete_item(session.database(), id);
  return code == SQLITE_DONE ? insert_sealed(session, row, *secret) : code;
}

} // namespace

OSStatus add(Fields &fields, std::string_view secret) {
  const FailedRemoval removal = std::exchange(failed_removal, {});
  if (removal.met_corruption)
    return removal.status;
  const double moment = now();
  fill(fields[service], Field::text(""));
  fill(fields[account], Field::text(""));
  fill(fields[group], Field::text(kDefaultGroup));
  fill(fields[sync], Field::of(std::int64_t{0}));
  fill(fields[created], Field::of(moment));
  fill(fields[modified], Field::of(moment));
  fill(fields[accessible], Field::text(kDefaultAccessible));
  Session session(Session::Purpose::create);
  if (session.status() != errSecSuccess)
    return session.status();
  const OSStatus status = session.finish(insert_sealed(session, {fields, {}, 0}, secret));
  return status == errSecDuplicateItem && removal.status != errSecSuccess ? removal.status : status;
}

OSStatus remove(const Query &query) {
  Session session(Session::Purpose::write);
  OSStatus status = session.status();
  if (status == errSecSuccess) {
    const int code = delete_items(session.database(), query);
    status =
        session.finish(code, session.database().changes() > 0 ? errSecSuccess : errSecItemNotFound);
  }
  failed_removal = {status == errSecItemNotFound ? errSecSuccess : status,
                    session.met_corruption()};
  return status;
}

OSStatus update(const Query &query, const Fields &changes, std::optional<std::string_view> secret) {
  failed_removal = {};
  Fields all = changes;
  all[modified] = Field::of(now());
  Session session(Session::Purpose::write);
  if (session.status() != errSecSuccess)
    return session.status();
  // All that match are found before the first one changes, so that none is met twice.
  std::vector<std::int64_t> found;
  int code = SQLITE_DONE;
  {
    Selection selection(session.database(), query);
    while ((query.limit == 0 || std::ssize(found) < query.limit) &&
           (code = selection.step()) == SQLITE_ROW)
      found.push_back(selection.integer(0));
  }
  OSStatus status = found.empty() ? errSecItemNotFound : errSecSuccess;
  for (const std::int64_t id : found)
    if (session.database().status_of(code) == errSecSuccess && status == errSecSuccess)
      code = replace(session, id, all, secret, status);
  return session.finish(code, status);
}

Search::Search(const Query &query, bool with_secrets)
    : session_(Session::Purpose::read), limit_(query.limit), with_secrets_(with_secrets) {
  failed_removal = {};
  if (session_.status() == errSecSuccess)
    selection_.emplace(session_.database(), query);
}

bool Search::next() {
  while (selection_ && (limit_ == 0 || found_ < limit_) &&
         (code_ = selection_->step()) == SQLITE_ROW) {
    read_row(*selection_, row_);
    if (unseal(session_.key(), row_.fields, row_.sealed, with_secrets_ ? &secret_ : nullptr)) {
      ++found_;
      return true;
    }
    ++skipped_;
    if (limit_ == 1)
      return false;
  }
  return false;
}

OSStatus Search::finish() {
  selection_.reset();
  if (session_.status() != errSecSuccess)
    return session_.status();
  if (skipped_ > 0)
    log_unsealable(session_, skipped_);
  // Where there is nothing but such items it is rather the key that is wrong.
  const OSStatus nothing = skipped_ > 0 ? errSecDecode : errSecItemNotFound;
  return session_.finish(code_, found_ > 0 ? errSecSuccess : nothing);
}

} // namespace veltro::host::keychain
