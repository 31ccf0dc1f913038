// Posting and observing Darwin notifications. Follows notify(3). States, signals, Mach ports,
// suspending, and registrations that call a block are left out.
//
// Under the device root there is a folder for each observed name, and in it a named pipe for each
// observer, called PROCESS.TOKEN. A post writes the token, as four bytes in network order, into
// every pipe of the folder. A pipe that is full is passed over, and one that nobody has open any
// more is removed.

#include <notify.h>

#include "machine/files/file.hpp"
#include "machine/root/device_root.hpp"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <glib.h>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <sys/stat.h>

namespace {

namespace fs = std::filesystem;
using veltro::host::File;

/// An observer's pipe, which registrations that share a descriptor share.
using Pipe = std::shared_ptr<const File>;

struct Registration {
  Pipe pipe;
  fs::path path;
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

/// Where the observers of `name` are; empty for a name that is none.
fs::path observers_folder(const char *name) {
  // What a file system takes as one name.
  constexpr std::size_t kLongest = 255;
  const std::unique_ptr<char, decltype(&g_free)> escaped(
      g_uri_escape_string(name != nullptr ? name : "", nullptr, FALSE), g_free);
  std::string folder = escaped.get();
  if (folder.starts_with('.'))
    folder.replace(0, 1, "%2E");
  if (folder.empty() || folder.size() > kLongest)
    return {};
  return veltro::host::on_this_machine("/var/run/notify/") + folder;
}

/// Lists an observer at `path`, with a pipe that is open already or a new one; null where that is
/// not possible.
Pipe list_observer(const fs::path &path, const Registration *earlier) {
  std::error_code error;
  fs::create_directories(path.parent_path(), error);
  fs::permissions(path.parent_path(), fs::perms::owner_all, error);
  if (earlier != nullptr)
    return link(earlier->path.c_str(), path.c_str()) == 0 ? earlier->pipe : nullptr;
  // Hidden until this process has it open: a post removes a pipe that nobody has.
  const fs::path hidden = path.parent_path() / ("." + path.filename().string());
  if (mkfifo(hidden.c_str(), 0600) != 0)
    return nullptr;
  auto pipe = std::make_shared<const File>(hidden, O_RDWR | O_NONBLOCK);
  if (*pipe && rename(hidden.c_str(), path.c_str()) == 0)
    return pipe;
  unlink(hidden.c_str());
  return nullptr;
}

/// `shared` is the descriptor of an earlier registration, or null.
uint32_t register_observer(const char *name, const int *shared, int *descriptor, int *out_token) {
  const fs::path folder = observers_folder(name);
  if (folder.empty())
    return NOTIFY_STATUS_INVALID_NAME;
  Registrations &all = registrations();
  const std::lock_guard lock(all.mutex);
  const Registration *earlier = nullptr;
  if (shared != nullptr) {
    const auto found = std::ranges::find_if(
        all.by_token, [&](const auto &entry) { return entry.second.pipe->number() == *shared; });
    if (found == all.by_token.end())
      return NOTIFY_STATUS_INVALID_FILE;
    earlier = &found->second;
  }
  const int token = ++all.last_token;
  const fs::path path = folder / (std::to_string(getpid()) + '.' + std::to_string(token));
  Pipe pipe = list_observer(path, earlier);
  if (pipe == nullptr)
    return NOTIFY_STATUS_FAILED;
  *descriptor = pipe->number();
  *out_token = token;
  all.by_token.emplace(token, Registration{std::move(pipe), path});
  return NOTIFY_STATUS_OK;
}

/// Tells the observer whose pipe is at `path`.
void tell_observer(const std::string &path, std::uint32_t token) {
  const File pipe(path, O_WRONLY | O_NONBLOCK);
  if (!pipe && errno == ENXIO)
    unlink(path.c_str());
  // With a reader here a write raises no signal where the observer has just ended.
  const File reader(path, O_RDONLY | O_NONBLOCK);
  const std::uint32_t message = htonl(token);
  if (pipe && reader)
    veltro::host::write_all(pipe.number(),
                            {reinterpret_cast<const char *>(&message), sizeof message});
}

} // namespace

extern "C" {

uint32_t notify_post(const char *name) {
  const fs::path folder = observers_folder(name);
  if (folder.empty())
    return NOTIFY_STATUS_INVALID_NAME;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    std::uint32_t token = 0;
    if (std::sscanf(entry->path().filename().c_str(), "%*u.%u", &token) == 1)
      tell_observer(entry->path(), token);
  }
  return NOTIFY_STATUS_OK;
}

uint32_t notify_register_check(const char *name, int *out_token) {
  int descriptor = -1;
  return register_observer(name, nullptr, &descriptor, out_token);
}

uint32_t notify_register_file_descriptor(const char *name, int *notify_fd, int flags,
                                         int *out_token) {
  return register_observer(name, (flags & NOTIFY_REUSE) != 0 ? notify_fd : nullptr, notify_fd,
                           out_token);
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
  while (read(registration.pipe->number(), posts.data(), posts.size()) > 0)
    *check = 1;
  return NOTIFY_STATUS_OK;
}

uint32_t notify_cancel(int token) {
  Registrations &all = registrations();
  const std::lock_guard lock(all.mutex);
  const auto cancelled = all.by_token.extract(token);
  if (cancelled.empty())
    return NOTIFY_STATUS_INVALID_TOKEN;
  unlink(cancelled.mapped().path.c_str());
  return NOTIFY_STATUS_OK;
}

} // extern "C"
