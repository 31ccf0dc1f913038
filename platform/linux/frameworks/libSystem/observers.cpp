#include "frameworks/libSystem/observers.hpp"

#include "machine/files/file.hpp"
#include "machine/root/device_root.hpp"

#include <arpa/inet.h>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace veltro::host {
namespace {

namespace fs = std::filesystem;

/// `name` as one name of a folder: everything but letters, digits, "-", "_" and dots within is
/// written as % and two hexadecimal digits.
std::string folder_name(const std::string &name) {
  std::string out;
  for (const char character : name) {
    const auto byte = static_cast<unsigned char>(character);
    if ((std::isalnum(byte) != 0 && byte < 0x80) || character == '-' || character == '_' ||
        (character == '.' && !out.empty())) {
      out += character;
    } else {
      constexpr const char *kDigits = "0123456789ABCDEF";
      ((out += '%') += kDigits[byte / 16]) += kDigits[byte % 16];
    }
  }
  return out;
}

/// The token in a pipe's name; nothing for a pipe that is still being made.
std::optional<std::uint32_t> token_in(const std::string &name) {
  std::uint32_t token = 0;
  const std::size_t dot = name.find('.');
  if (dot == 0 || dot == std::string::npos)
    return std::nullopt;
  const char *const end = name.data() + name.size();
  const auto [at, error] = std::from_chars(name.data() + dot + 1, end, token);
  return error == std::errc{} && at == end ? std::optional(token) : std::nullopt;
}

bool make_folder(const std::string &folder) {
  std::error_code error;
  fs::create_directories(folder, error);
  fs::permissions(folder, fs::perms::owner_all, error);
  return fs::is_directory(folder, error);
}

} // namespace

std::string observers_folder(const std::string &name) {
  // What a file system takes as one name.
  constexpr std::size_t kLongest = 255;
  const std::string folder = folder_name(name);
  return folder.empty() || folder.size() > kLongest ? ""
                                                    : on_this_machine("/var/run/notify/") + folder;
}

void tell_observers(const std::string &folder) {
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    const std::optional<std::uint32_t> token = token_in(entry->path().filename().string());
    if (!token)
      continue;
    const File pipe(entry->path(), O_WRONLY | O_NONBLOCK);
    if (!pipe && errno == ENXIO)
      unlink(entry->path().c_str());
    // With a reader here a write raises no signal where the observer has just ended.
    const File reader(entry->path(), O_RDONLY | O_NONBLOCK);
    const std::uint32_t message = htonl(*token);
    if (pipe && reader)
      write_all(pipe.number(), {reinterpret_cast<const char *>(&message), sizeof message});
  }
}

int list_observer(const std::string &folder, int token, const std::string &pipe_of,
                  std::string &path) {
  if (!make_folder(folder))
    return -1;
  const std::string name = std::to_string(getpid()) + '.' + std::to_string(token);
  path = folder + '/' + name;
  if (!pipe_of.empty())
    return link(pipe_of.c_str(), path.c_str()) == 0 ? 0 : -1;
  // Hidden until this process has it open: a post removes a pipe that nobody has.
  const std::string hidden = folder + "/." + name;
  if (mkfifo(hidden.c_str(), 0600) != 0)
    return -1;
  const int pipe = open(hidden.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
  if (pipe >= 0 && rename(hidden.c_str(), path.c_str()) == 0)
    return pipe;
  if (pipe >= 0)
    close(pipe);
  unlink(hidden.c_str());
  return -1;
}

} // namespace veltro::host
