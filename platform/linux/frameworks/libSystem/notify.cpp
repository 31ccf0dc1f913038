// Posting and observing Darwin notifications. Follows notify(3). States, signals, Mach ports,
// suspending, and registrations that call a block are left out.

#include <notify.h>

#include "frameworks/libSystem/observers.hpp"

#include <algorithm>
#include <array>
#include <map>
#include <mutex>
#include <string>
#include <unistd.h>

namespace {

struct Registration {
  int descriptor;
  std::string path;
  bool checked = false;
};

struct Registrations {
  std::mutex mutex;
  std::map<int, Registration> by_token;
  int last_token = 0;
};

// Never destroyed: another thread may still post while the process ends.
Registrations &registrations() {
  static Registrations &all = *new Registrations;
  return all;
}

/// `shared` is the descriptor of an earlier registration, or -1.
uint32_t register_observer(const char *name, int shared, int *descriptor, int *out_token) {
  const std::string folder = name != nullptr ? veltro::host::observers_folder(name) : "";
  if (folder.empty())
    return NOTIFY_STATUS_INVALID_NAME;
  Registrations &all = registrations();
  const std::lock_guard lock(all.mutex);
  std::string shared_pipe;
  if (shared >= 0) {
    const auto earlier = std::ranges::find_if(
        all.by_token, [&](const auto &entry) { return entry.second.descriptor == shared; });
    if (earlier == all.by_token.end())
      return NOTIFY_STATUS_INVALID_FILE;
    shared_pipe = earlier->second.path;
  }
  const int token = ++all.last_token;
  std::string path;
  const int pipe = veltro::host::list_observer(folder, token, shared_pipe, path);
  if (pipe < 0)
    return NOTIFY_STATUS_FAILED;
  *descriptor = shared >= 0 ? shared : pipe;
  all.by_token.emplace(token, Registration{*descriptor, path});
  *out_token = token;
  return NOTIFY_STATUS_OK;
}

} // namespace

extern "C" {

uint32_t notify_post(const char *name) {
  const std::string folder = name != nullptr ? veltro::host::observers_folder(name) : "";
  if (folder.empty())
    return NOTIFY_STATUS_INVALID_NAME;
  veltro::host::tell_observers(folder);
  return NOTIFY_STATUS_OK;
}

uint32_t notify_register_check(const char *name, int *out_token) {
  int descriptor = -1;
  return register_observer(name, -1, &descriptor, out_token);
}

uint32_t notify_register_file_descriptor(const char *name, int *notify_fd, int flags,
                                         int *out_token) {
  const bool reuse = (flags & NOTIFY_REUSE) != 0;
  if (reuse && *notify_fd < 0)
    return NOTIFY_STATUS_INVALID_FILE;
  return register_observer(name, reuse ? *notify_fd : -1, notify_fd, out_token);
}

uint32_t notify_check(int token, int *check) {
  Registrations &all = registrations();
  const std::lock_guard lock(all.mutex);
  const auto found = all.by_token.find(token);
  if (found == all.by_token.end())
    return NOTIFY_STATUS_INVALID_TOKEN;
  Registration &registration = found->second;
  *check = registration.checked ? 0 : 1;
  registration.checked = true;
  std::array<char, 512> posts;
  // It never blocks. NOLINTNEXTLINE(clang-analyzer-unix.BlockInCriticalSection)
  while (read(registration.descriptor, posts.data(), posts.size()) > 0)
    *check = 1;
  return NOTIFY_STATUS_OK;
}

uint32_t notify_cancel(int token) {
  Registrations &all = registrations();
  const std::lock_guard lock(all.mutex);
  const auto found = all.by_token.find(token);
  if (found == all.by_token.end())
    return NOTIFY_STATUS_INVALID_TOKEN;
  const Registration cancelled = found->second;
  all.by_token.erase(found);
  unlink(cancelled.path.c_str());
  if (std::ranges::none_of(all.by_token, [&](const auto &entry) {
        return entry.second.descriptor == cancelled.descriptor;
      }))
    close(cancelled.descriptor);
  return NOTIFY_STATUS_OK;
}

} // extern "C"
