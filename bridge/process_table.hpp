// The kernel's process table in one buffer.
#pragma once

#include <cstddef>
#include <sys/sysctl.h>

namespace veltro {

/// The process table as it stood when the object was made; empty where it could not be read.
class ProcessTable {
public:
  ProcessTable();
  ~ProcessTable();
  ProcessTable(const ProcessTable &) = delete;
  ProcessTable &operator=(const ProcessTable &) = delete;

  /// How many records there are; 0 for a table that could not be read.
  [[nodiscard]] std::size_t count() const { return count_; }

  /// The record at `index`, below count(), counted from the end: the reverse of the kernel's order.
  [[nodiscard]] const kinfo_proc &from_end(std::size_t index) const {
    return records_[count_ - 1 - index];
  }

private:
  kinfo_proc *records_ = nullptr;
  std::size_t count_ = 0;
};

} // namespace veltro
