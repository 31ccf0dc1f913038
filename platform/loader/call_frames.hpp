#pragma once

#include "unwind_info.hpp"

#include <functional>

namespace veltro::loader {

/// Writes entries in DWARF's form of call frame information, which GCC's unwinder reads.
class CallFrameWriter {
public:
  /// `address` is where an address of the image lies in this process, `personality` the address of
  /// the routine kept at one.
  CallFrameWriter(Processor processor, std::function<uint64_t(uint64_t)> address,
                  std::function<uint64_t(uint64_t)> personality)
      : processor_(processor), address_(std::move(address)), personality_(std::move(personality)) {}

  /// Throws Unloadable for what has no compact form.
  void add(const FrameEntry &entry);

  /// All of it, with what ends it.
  std::vector<uint8_t> finish();

private:
  using Bytes = std::vector<uint8_t>;
  size_t common_entry(uint64_t personality);

  Processor processor_;
  std::function<uint64_t(uint64_t)> address_, personality_;
  Bytes frames_;
  std::vector<std::pair<uint64_t, size_t>> common_; // where each personality's common entry is
};

/// The instructions for one entry.
std::vector<uint8_t> call_frame_instructions(Processor processor, const FrameEntry &entry);

/// A number in groups of seven bits, as DWARF writes it.
void put_uleb(std::vector<uint8_t> &to, uint64_t value);

} // namespace veltro::loader
