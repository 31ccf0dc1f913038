// The opcodes that say which pointers of an image are to be rebased and bound, as published in
// <mach-o/loader.h>. Each is a byte, the operation in its upper half; numbers follow as LEB128.

#include "fixups.hpp"

#include <algorithm>
#include <unordered_map>

namespace veltro::loader {
namespace {

constexpr unsigned kPointerType = 1;
constexpr unsigned kWeakImport = 1;

enum Rebase : uint8_t {
  kRebaseDone = 0x00,
  kRebaseType = 0x10,
  kRebaseSegment = 0x20,
  kRebaseAdd = 0x30,
  kRebaseAddScaled = 0x40,
  kRebaseTimes = 0x50,
  kRebaseTimesLong = 0x60,
  kRebaseOnceAdd = 0x70,
  kRebaseTimesSkip = 0x80,
};

enum BindOpcode : uint8_t {
  kBindDone = 0x00,
  kBindLibrary = 0x10,
  kBindLibraryLong = 0x20,
  kBindSpecialLibrary = 0x30,
  kBindSymbol = 0x40,
  kBindType = 0x50,
  kBindAddend = 0x60,
  kBindSegment = 0x70,
  kBindAdd = 0x80,
  kBindOnce = 0x90,
  kBindOnceAdd = 0xa0,
  kBindOnceAddScaled = 0xb0,
  kBindTimesSkip = 0xc0,
};

/// Where the opcodes have arrived: addresses advance by wrapping sums, as a linker writes a step
/// back.
class Place {
public:
  Place(const Header &header, const char *what) : header_(header), what_(what) {
    for (const Segment &segment : header.segments)
      slots_ += segment.file_size / header.word;
  }

  void start(unsigned segment, uint64_t offset) {
    if (segment >= header_.segments.size())
      throw Unloadable(std::string("broken: ") + what_ + " name a segment that is not there");
    segment_ = &header_.segments[segment];
    address_ = segment_->address + offset;
  }

  void add(uint64_t bytes) { address_ += bytes; }
  void add_words(uint64_t words) { address_ += words * header_.word; }

  /// The pointer at this place, behind which the opcodes continue.
  uint64_t take() {
    if (!segment_ || !segment_->writable || address_ < segment_->address ||
        address_ - segment_->address > segment_->file_size ||
        segment_->file_size - (address_ - segment_->address) < header_.word)
      throw Unloadable(std::string("broken: ") + what_ + " lead out of the writable contents");
    if (slots_-- == 0)
      throw Unloadable(std::string("broken: ") + what_ + " name more pointers than there are");
    const uint64_t taken = address_;
    address_ += header_.word;
    return taken;
  }

private:
  const Header &header_;
  const char *what_;
  const Segment *segment_ = nullptr;
  uint64_t address_ = 0;
  uint64_t slots_ = 0;
};

[[noreturn]] void unknown(Bytes opcodes) {
  throw Unloadable(std::string("broken: an unknown one of ") + opcodes.what());
}

std::vector<uint64_t> read_rebases(const Header &header) {
  std::vector<uint64_t> found;
  Place place(header, header.rebases.what());
  const auto take = [&](uint64_t times, uint64_t skip) {
    for (; times > 0; --times, place.add(skip))
      found.push_back(place.take());
  };
  for (Cursor at(header.rebases); !at.at_end();) {
    const uint8_t byte = at.byte();
    const unsigned value = byte & 0xf;
    switch (byte & 0xf0) {
    case kRebaseDone:
      return found;
    case kRebaseType:
      if (value != kPointerType)
        unknown(header.rebases);
      break;
    case kRebaseSegment:
      place.start(value, at.uleb());
      break;
    case kRebaseAdd:
      place.add(at.uleb());
      break;
    case kRebaseAddScaled:
      place.add_words(value);
      break;
    case kRebaseTimes:
      take(value, 0);
      break;
    case kRebaseTimesLong:
      take(at.uleb(), 0);
      break;
    case kRebaseOnceAdd:
      take(1, at.uleb());
      break;
    case kRebaseTimesSkip: {
      const uint64_t times = at.uleb();
      take(times, at.uleb());
      break;
    }
    default:
      unknown(header.rebases);
    }
  }
  return found;
}

class BindReader {
public:
  BindReader(const Header &header, Fixups &to) : header_(header), to_(to) {}

  /// Lazy ones are read to the end: each of them ends with kBindDone.
  void read(Bytes opcodes, bool lazy) {
    Place place(header_, opcodes.what());
    next_ = {};
    named_ = false;
    const auto take = [&](uint64_t times, uint64_t skip) {
      if (!named_)
        throw Unloadable(std::string("broken: ") + opcodes.what() +
                         " bind before they name a symbol");
      for (; times > 0; --times, place.add(skip)) {
        next_.address = place.take();
        to_.binds.push_back(next_);
      }
    };
    for (Cursor at(opcodes); !at.at_end();) {
      const uint8_t byte = at.byte();
      const unsigned value = byte & 0xf;
      switch (byte & 0xf0) {
      case kBindDone:
        if (!lazy)
          return;
        break;
      // A name is enough here: which library it should come from says nothing on Linux.
      case kBindLibrary:
      case kBindSpecialLibrary:
        break;
      case kBindLibraryLong:
        (void)at.uleb();
        break;
      case kBindSymbol:
        next_.symbol = number_of(at.text(), value & kWeakImport);
        named_ = true;
        break;
      case kBindType:
        if (value != kPointerType)
          unknown(opcodes);
        break;
      case kBindAddend:
        next_.addend = at.sleb();
        break;
      case kBindSegment:
        place.start(value, at.uleb());
        break;
      case kBindAdd:
        place.add(at.uleb());
        break;
      case kBindOnce:
        take(1, 0);
        break;
      case kBindOnceAdd:
        take(1, at.uleb());
        break;
      case kBindOnceAddScaled:
        take(1, uint64_t(value) * header_.word);
        break;
      case kBindTimesSkip: {
        const uint64_t times = at.uleb();
        take(times, at.uleb());
        break;
      }
      default:
        unknown(opcodes);
      }
    }
  }

private:
  /// A symbol is weak where every mention of it is.
  uint32_t number_of(std::string_view name, bool weak) {
    const auto [at, added] = numbers_.try_emplace(name, uint32_t(to_.symbols.size()));
    if (added)
      to_.symbols.push_back({name, weak});
    else if (!weak)
      to_.symbols[at->second].weak = false;
    return at->second;
  }

  const Header &header_;
  Fixups &to_;
  std::unordered_map<std::string_view, uint32_t> numbers_;
  Bind next_;
  bool named_ = false;
};

} // namespace

Fixups read_fixups(const Header &header) {
  Fixups fixups;
  fixups.rebases = read_rebases(header);
  BindReader binds(header, fixups);
  binds.read(header.binds, false);
  binds.read(header.lazy_binds, true);
  std::ranges::sort(fixups.rebases);
  std::ranges::sort(fixups.binds, {}, &Bind::address);
  const auto twice = [](const auto &all, auto address) {
    return std::ranges::adjacent_find(all, {}, address) != all.end();
  };
  if (twice(fixups.rebases, std::identity()))
    throw Unloadable("broken: the rebase opcodes name a pointer twice");
  if (twice(fixups.binds, &Bind::address))
    throw Unloadable("broken: the bind opcodes name a pointer twice");
  return fixups;
}

} // namespace veltro::loader
