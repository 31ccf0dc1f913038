// Reads the file stat of each process, which begins with the id, the short name in brackets and the
// state, as proc(5) documents it.

#include "machine/processes/process_records.hpp"

#include "machine/files/file.hpp"
#include "machine/processes/proc_folder.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <glib.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace veltro::host {
namespace {

// The kernel cuts a short name at 15 bytes, the device at 16.
constexpr std::size_t kKernelNameLength = 15;

/// A name that the kernel may have cut: one byte more of it where the executable's name is longer.
std::size_t restore_last_byte(int proc, pid_t process, std::span<char> name) {
  std::array<char, 4096> target;
  const ssize_t length =
      readlinkat(proc, ProcPath(process, "exe").text(), target.data(), target.size());
  std::string_view path(target.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
  constexpr std::string_view kRemoved = " (deleted)"; // where the file has lost its name
  if (path.ends_with(kRemoved))
    path.remove_suffix(kRemoved.size());
  const std::string_view executable = path.substr(path.rfind('/') + 1);
  if (executable.size() <= kKernelNameLength ||
      !executable.starts_with(std::string_view(name.data(), kKernelNameLength)))
    return kKernelNameLength;
  name[kKernelNameLength] = executable[kKernelNameLength];
  return kKernelNameLength + 1;
}

/// Puts a question mark for every byte that is not of a character, as after a cut inside one. Text
/// made of the name would end there, and one name pass for another.
void replace_stray_bytes(std::span<char> name) {
  const char *stray = nullptr;
  while (g_utf8_validate(name.data(), std::ssize(name), &stray) == FALSE) {
    name = name.subspan(static_cast<std::size_t>(stray - name.data()));
    name.front() = '?';
  }
}

/// The front of the process's file stat, in `text`: as much as holds the name and the state.
std::string_view read_status(int proc, pid_t process, std::span<char> text) {
  const File file = File::of(openat(proc, ProcPath(process, "stat").text(), O_RDONLY | O_CLOEXEC));
  const ssize_t length = read(file.number(), text.data(), text.size());
  return {text.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0))};
}

/// The field of this number, as proc(5) counts them, where `fields` are those from the state on.
std::string_view field(std::string_view fields, int number) {
  constexpr int kState = 3;
  for (int skipped = kState; skipped < number; ++skipped)
    fields.remove_prefix(std::min(fields.find(' '), fields.size() - 1) + 1);
  return fields.substr(0, fields.find(' '));
}

/// Whether only the process's parent has still to be told of its end.
bool has_ended(std::string_view fields) {
  if (!fields.starts_with('Z'))
    return fields.starts_with('X');
  // The first thread may end before the others.
  const std::string_view thread_count = field(fields, 20);
  return thread_count == "1" || thread_count == "0";
}

/// Fills `record` for the process, or leaves it as it is where the process has ended. The device's
/// apps are gone as soon as they end; here they may stay for as long as init does not ask for them.
bool fill(kinfo_proc &record, int proc, pid_t process) {
  // Names of the kernel's own threads may be longer than any record's.
  std::array<char, 512> text;
  const std::string_view status = read_status(proc, process, text);
  // The name may hold brackets of its own; what follows it holds none.
  const std::size_t begin = status.find('(') + 1;
  const std::size_t end = status.rfind(')');
  if (end == std::string_view::npos)
    return false;
  const std::string_view fields = status.substr(std::min(end + 2, status.size()));
  if (has_ended(fields))
    return false;

  const std::span<char> name = std::span(text).subspan(begin);
  std::size_t count = end - begin;
  const bool has_memory =
      field(fields, 23) != "0"; // unlike the kernel's own, without an executable
  if (count == kKernelNameLength && has_memory)
    count = restore_last_byte(proc, process, name);
  count = std::min<std::size_t>(count, MAXCOMLEN);
  replace_stray_bytes(name.first(count));

  std::memset(&record, 0, sizeof record);
  record.kp_proc.p_pid = process;
  std::copy_n(name.begin(), count, record.kp_proc.p_comm);
  return true;
}

} // namespace

std::size_t process_record_bound() {
  constexpr std::size_t kSpareLinks = 16;
  // The folder has a link for every process: one call instead of a walk.
  struct stat folder{};
  const std::size_t links = stat("/proc", &folder) == 0 ? folder.st_nlink : 0;
  return links + kSpareLinks;
}

int read_process_records(std::span<kinfo_proc> records, std::size_t &count) {
  count = 0;
  const ProcFolder proc;
  if (!proc)
    return errno;
  pid_t process = 0;
  while ((process = proc.next()) != 0 && count < records.size())
    count += fill(records[count], proc.descriptor(), process) ? 1 : 0;
  // The kernel lists the oldest process first, the device the newest.
  std::ranges::reverse(records.first(count));
  return process == 0 ? 0 : ENOMEM;
}

} // namespace veltro::host
