#include "call_frames.hpp"

#include <algorithm>

namespace veltro::loader {
namespace {

constexpr uint8_t kDefineCfa = 0x0c, kOffset = 0x80;
constexpr uint8_t kMinusEight = 0x78; // as a signed LEB128 number
constexpr uint8_t kAbsolutePointer = 0;

template <class T> void put(std::vector<uint8_t> &to, T value) {
  const auto *const bytes = reinterpret_cast<const uint8_t *>(&value);
  to.insert(to.end(), bytes, bytes + sizeof value);
}

/// Space for an entry's length, which close_entry() fills in when the entry is whole.
size_t open_entry(std::vector<uint8_t> &to) {
  put<uint32_t>(to, 0);
  return to.size();
}

void close_entry(std::vector<uint8_t> &to, size_t start) {
  while ((to.size() - start) % 8 != 4)
    to.push_back(0); // an instruction that does nothing
  const auto length = uint32_t(to.size() - start);
  std::memcpy(&to[start - sizeof length], &length, sizeof length);
}

} // namespace

void put_uleb(std::vector<uint8_t> &to, uint64_t value) {
  do {
    const bool more = value > 0x7f;
    to.push_back(uint8_t((value & 0x7f) | (more ? 0x80 : 0)));
    value >>= 7;
  } while (value > 0);
}

size_t CallFrameWriter::common_entry(uint64_t personality) {
  const auto known = std::ranges::find(common_, personality, &std::pair<uint64_t, size_t>::first);
  if (known != common_.end())
    return known->second;
  const bool is_x86 = processor_ == Processor::x86_64;
  const size_t place = frames_.size(), start = open_entry(frames_);
  put<uint32_t>(frames_, 0); // a common entry
  put<uint8_t>(frames_, 1);  // version
  const std::string_view augmentation = personality ? "zPLR" : "zLR";
  frames_.insert(frames_.end(), augmentation.begin(), augmentation.end());
  frames_.push_back(0);
  put_uleb(frames_, 1);                    // code alignment
  frames_.push_back(kMinusEight);          // data alignment
  put_uleb(frames_, is_x86 ? 16 : 30);     // where the return address is
  put_uleb(frames_, personality ? 11 : 2); // bytes of augmentation
  if (personality) {
    frames_.push_back(kAbsolutePointer);
    put<uint64_t>(frames_, personality);
  }
  frames_.push_back(kAbsolutePointer); // of language data
  frames_.push_back(kAbsolutePointer); // of code
  frames_.push_back(kDefineCfa);
  put_uleb(frames_, is_x86 ? 7 : 31); // the stack pointer
  put_uleb(frames_, is_x86 ? 8 : 0);
  if (is_x86) { // the return address is on the stack
    frames_.push_back(kOffset | 16);
    put_uleb(frames_, 1);
  }
  close_entry(frames_, start);
  common_.emplace_back(personality, place);
  return place;
}

void CallFrameWriter::add(const FrameEntry &entry) {
  const Bytes instructions = call_frame_instructions(processor_, entry);
  const size_t common = common_entry(entry.personality ? personality_(entry.personality) : 0);
  const size_t start = open_entry(frames_);
  put<uint32_t>(frames_, uint32_t(frames_.size() - common));
  put<uint64_t>(frames_, address_(entry.start));
  put<uint64_t>(frames_, entry.end - entry.start);
  put_uleb(frames_, sizeof(uint64_t));
  put<uint64_t>(frames_, entry.language_data ? address_(entry.language_data) : 0);
  frames_.insert(frames_.end(), instructions.begin(), instructions.end());
  close_entry(frames_, start);
}

std::vector<uint8_t> CallFrameWriter::finish() {
  put<uint32_t>(frames_, 0);
  return std::move(frames_);
}

} // namespace veltro::loader
