// Reads the file stat of each process, which begins with the id, the short name in brackets and the
// state, as proc(5) documents it; of the kernel's own threads, which are gone when they end, only
// the name, which is half the work.

#include "machine/processes/process_records.hpp"

#include "machine/files/file.hpp"
#include "machine/processes/proc_folder.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <glib.h>
#include <iterator>
#include <set>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace veltro::host {
namespace {

/// A name that the kernel may have cut: one byte more of it, which the device keeps, where the
/// executable's name is longer.
std::size_t restore_last_byte(int proc, pid_t process, std::span<char> name) {
  std::array<char, 4096> target;
  std::string_view path = executable_of(proc, process, target);
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

/// The front of one file of the process, in `text`.
std::string_view read_front(int proc, pid_t process, const char *file, std::span<char> text) {
  const File open = File::of(openat(proc, proc_path(process, file).data(), O_RDONLY | O_CLOEXEC));
  const ssize_t length = read(open.number(), text.data(), text.size());
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

/// The children of the kernel's first thread: its own threads, and programs that it starts. Empty
/// where the kernel does not tell. A container's process 2 has memory, or has ended, childless.
std::set<pid_t> kernel_threads(int proc) {
  std::array<char, 512> text;
  if (field(fields_of(read_front(proc, 2, "stat", text)), 23) != "0")
    return {};
  std::ifstream children("/proc/2/task/2/children");
  return {std::istream_iterator<pid_t>(children), {}};
}

/// Of a name of `length` bytes, which `text` begins with.
void write_record(kinfo_proc &record, int proc, pid_t process, std::span<char> text,
                  std::size_t length) {
  if (length == kKernelNameLength)
    length = restore_last_byte(proc, process, text);
  const auto shown = text.first(std::min<std::size_t>(length, MAXCOMLEN));
  replace_stray_bytes(shown);
  std::memset(&record, 0, sizeof record);
  record.kp_proc.p_pid = process;
  std::ranges::copy(shown, record.kp_proc.p_comm);
}

/// Fills `record` for the process, or leaves it as it is where the process has ended. The device's
/// apps are gone as soon as they end; here they may stay for as long as init does not ask for them.
bool fill_if_running(kinfo_proc &record, int proc, pid_t process) {
  std::array<char, 512> text; // up to the fields that tell whether it has ended
  const std::string_view status = read_front(proc, process, "stat", text);
  const std::size_t begin = status.find('(') + 1;
  const std::size_t end = status.rfind(')');
  if (end == std::string_view::npos || has_ended(fields_of(status)))
    return false;
  write_record(record, proc, process, std::span(text).subspan(begin), end - begin);
  return true;
}

bool fill_kernel_thread(kinfo_proc &record, int proc, pid_t thread) {
  std::array<char, MAXCOMLEN> text;
  const std::string_view name = read_front(proc, thread, "comm", text);
  if (name.empty())
    return false;
  write_record(record, proc, thread, text, std::min(name.find('\n'), name.size()));
  return true;
}

} // namespace

std::size_t process_record_bound() {
  constexpr std::size_t kSpareLinks = 16;
  // The folder has a link for every process: one call instead of a walk.
  struct stat folder{};
  return kSpareLinks + (stat("/proc", &folder) == 0 ? folder.st_nlink : 0);
}

int read_process_records(std::span<kinfo_proc> records, std::size_t &count) {
  count = 0;
  const ProcFolder proc;
  if (!proc)
    return errno;
  const std::set<pid_t> of_kernel = kernel_threads(proc.descriptor());
  kinfo_proc spare; // a process that has ended needs no record, even where all are taken
  pid_t process = 0;
  while ((process = proc.next()) != 0) {
    const auto fill_one = of_kernel.contains(process) ? fill_kernel_thread : fill_if_running;
    const bool full = count == records.size();
    if (!fill_one(full ? spare : records[count], proc.descriptor(), process))
      continue;
    if (full)
      break;
    ++count;
  }
  // The kernel lists the oldest process first, the device the newest.
  std::ranges::reverse(records.first(count));
  return process == 0 ? 0 : ENOMEM;
}

} // namespace veltro::host
