// The machine's processes as the kernel records of the device.
#pragma once

#include <cstddef>
#include <span>
#include <sys/sysctl.h>

namespace veltro::host {

/// At least as many as there are processes now, and never fewer than sixteen more: whoever adds a
/// tenth to a buffer of that many records again and again really makes it larger.
std::size_t process_record_bound();

struct ProcessRecords {
  std::size_t count; ///< how many records were filled
  bool complete;     ///< false where a process was left over when the records were full
  int error;         ///< the errno of a table that could not be read, else 0
};

/// Fills `records` from the front, newest process first. A process that ends meanwhile is left out,
/// and so is one that has ended and still waits for its parent to ask for it.
ProcessRecords read_process_records(std::span<kinfo_proc> records);

} // namespace veltro::host
