// The machine's processes as the kernel records of the device.
#pragma once

#include <cstddef>
#include <span>
#include <sys/sysctl.h>

namespace veltro::host {

/// At least as many as there are processes now, and never fewer than sixteen more: whoever adds a
/// tenth to a buffer of that many records again and again really makes it larger.
std::size_t process_record_bound();

/// Fills `records` from the front, newest process first, and leaves in `count` how many it filled.
/// A process that ends meanwhile is left out, and so is one that has ended and still waits for its
/// parent to ask for it. Returns 0, ENOMEM where a process was left over when the records were
/// full, or the errno of a table that could not be read.
int read_process_records(std::span<kinfo_proc> records, std::size_t &count);

} // namespace veltro::host
