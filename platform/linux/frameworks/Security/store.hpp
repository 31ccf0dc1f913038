// The keychain of this machine: the four operations on items, and everything that must be right
// before one can run.
#pragma once

#include "frameworks/Security/database.hpp"
#include "frameworks/Security/folder_watch.hpp"
#include "frameworks/Security/known_rows.hpp"

#include <functional>
#include <mutex>
#include <optional>
#include <string>

namespace veltro::host::keychain {

/// The one connection that a process has, to the keychain under the device root of the moment.
/// Any thread may call; one operation runs at a time.
class Store {
public:
  /// Given each item that is found. Must not call the store.
  using Visitor = std::function<void(const Fields &fields, Secret secret)>;

  static Store &shared();

  /// Adds an item; group, accessibility and dates that are absent are filled in, also in `fields`.
  OSStatus add(Fields &fields, std::string_view secret);

  /// Finds items; opens their secrets where `with_secrets` says so.
  OSStatus search(const Query &query, bool with_secrets, const Visitor &visit);

  /// Puts the fields that are present in `changes`, and the secret, into every item that matches.
  OSStatus update(const Query &query, const Fields &changes,
                  std::optional<std::string_view> secret);

  OSStatus remove(const Query &query);

private:
  Store();

  enum class Call : std::uint8_t { add, search, update, remove };

  /// What an operation on the open file answered.
  struct Outcome {
    int code;        ///< SQLite's
    OSStatus status; ///< the keychain's, where SQLite is content or damage has one of its own
  };

  OSStatus perform(Call call, const std::function<Outcome()> &operation);
  OSStatus perform_locked(Call call, const std::function<Outcome()> &operation);
  OSStatus write(Call call, const std::function<Outcome()> &operation);
  OSStatus make_ready(Call call);
  OSStatus open_files(Call call);
  OSStatus open_database(Call call);
  OSStatus handle_damage(Call call);
  OSStatus set_damaged_aside(Call call);
  Outcome nothing_found();
  Outcome read_items(const Query &query, bool with_secrets,
                     const std::optional<CommitStamp> &commit, const Visitor &visit);
  Outcome visit_known(const std::vector<KnownRow> &rows, bool with_secrets, const Visitor &visit);
  Outcome replace(std::int64_t id, const Fields &changes, std::optional<std::string_view> secret);
  Outcome undecodable() const;
  Outcome unlistable();
  bool has_room_to_replace(const Query &query);
  bool in_place() const;

  static void before_fork();
  static void after_fork();
  static void after_fork_in_child();
  static void at_exit();

  std::mutex mutex_;
  std::string root_;
  Paths paths_;
  Database database_;
  Identity database_identity_;
  std::optional<Identity> left_damaged_; ///< what a deletion found damaged
  std::optional<Keys> keys_;
  Identity key_identity_;
  FolderWatch watch_;
  KnownRows known_;
  bool once_ = false;    ///< whether the connection is for this call only: others wait or may come
  bool checked_ = false; ///< whether this connection found the whole file sound
  std::string bound_, sealed_, search_;
};

} // namespace veltro::host::keychain
