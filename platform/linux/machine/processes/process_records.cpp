// Reads the file stat of each process, which begins with the id, the short name in brackets and the
// state, as proc(5) documents it.

#include "machine/processes/process_records.hpp"

#include "machine/processes/proc_folder.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
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
  if (length <= 0)
    return kKernelNameLength;
  const std::string_view path(target.data(), static_cast<std::size_t>(length));
  const std::string_view executable = path.substr(path.rfind('/') + 1);
  if (executable.size() <= kKernelNameLength ||
      !executable.starts_with(std::string_view(name.data(), kKernelNameLength)))
    return kKernelNameLength;
  name[kKernelNameLength] = executable[kKernelNameLength];
  return kKernelNameLength + 1;
}

/// How many bytes the well-formed UTF-8 character at the front of `text` has; 0 where there is
/// none.
std::size_t character_length(std::string_view text) {
  const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
  const unsigned char lead = byte(0);
  if (lead < 0x80)
    return 1;
  const std::size_t length = lead < 0xc2   ? 0
                             : lead < 0xe0 ? 2
                             : lead < 0xf0 ? 3
                             : lead < 0xf5 ? 4
                                           : 0;
  if (length == 0 || text.size() < length)
    return 0;
  for (std::size_t index = 1; index < length; ++index)
    if ((byte(index) & 0xc0) != 0x80)
      return 0;
  const unsigned char second = byte(1);
  const bool overlong = (lead == 0xe0 && second < 0xa0) || (lead == 0xf0 && second < 0x90);
  const bool no_character = (lead == 0xed && second > 0x9f) || (lead == 0xf4 && second > 0x8f);
  return overlong || no_character ? 0 : length;
}

/// Puts a question mark for every byte that is not of a character, as after a cut inside one. Text
/// made of the name would end there, and one name pass for another.
void replace_stray_bytes(std::span<char> name) {
  for (std::size_t index = 0; index < name.size();) {
    const std::size_t length = character_length({name.data() + index, name.size() - index});
    if (length == 0)
      name[index] = '?';
    index += std::max<std::size_t>(length, 1);
  }
}

/// The front of the process's file stat, in `text`: as much as holds the name and the state.
std::string_view read_status(int proc, pid_t process, std::span<char> text) {
  const int file = openat(proc, ProcPath(process, "stat").text(), O_RDONLY | O_CLOEXEC);
  if (file < 0)
    return {};
  const ssize_t length = read(file, text.data(), text.size());
  close(file);
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

/// Whether the process is one of the kernel's own, which have no memory and no executable.
bool is_of_the_kernel(std::string_view fields) {
  return field(fields, 23) == "0";
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
  if (count == kKernelNameLength && !is_of_the_kernel(fields))
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

ProcessRecords read_process_records(std::span<kinfo_proc> records) {
  const ProcFolder proc;
  if (!proc)
    return {.count = 0, .complete = false, .error = errno};

  std::size_t count = 0;
  bool complete = true;
  while (const pid_t process = proc.next()) {
    if (count == records.size()) {
      complete = false;
      break;
    }
    count += fill(records[count], proc.descriptor(), process) ? 1 : 0;
  }

  // The kernel lists the oldest process first, the device the newest.
  const std::span<kinfo_proc> filled = records.first(count);
  for (std::size_t low = 0, high = count; low + 1 < high; ++low) {
    --high;
    std::swap(filled[low].kp_proc.p_pid, filled[high].kp_proc.p_pid);
    std::swap(filled[low].kp_proc.p_comm, filled[high].kp_proc.p_comm);
  }
  return {.count = count, .complete = complete, .error = 0};
}

} // namespace veltro::host
