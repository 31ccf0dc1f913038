// The section __unwind_info, as published in <mach-o/compact_unwind_encoding.h>: a header, an index
// of pages, and pages of entries, each with the address where it begins and an encoding.

#include "unwind_info.hpp"

#include <unordered_map>

namespace veltro::loader {
namespace {

constexpr const char *kWhat = "the unwind tables";
constexpr uint32_t kVersion = 1;
constexpr uint32_t kRegularPage = 2, kCompressedPage = 3;
constexpr uint64_t kIndexEntry = 12;
constexpr uint32_t kHasLanguageData = 0x40000000;
constexpr uint32_t kModeMask = 0x0f000000, kModeIndirect = 0x03000000;

class Reader {
public:
  explicit Reader(const Image &image, const Section &section)
      : image_(image), info_(image.at(section.address, section.size, kWhat)),
        base_(image.header().start) {}

  std::vector<FrameEntry> read() {
    if (info_.get<uint32_t>(0) != kVersion)
      throw Unloadable("has unwind tables of a version that is not known");
    common_ = info_.part(info_.get<uint32_t>(4), uint64_t(4) * info_.get<uint32_t>(8), kWhat);
    personalities_ =
        info_.part(info_.get<uint32_t>(12), uint64_t(4) * info_.get<uint32_t>(16), kWhat);
    const auto count = info_.get<uint32_t>(24);
    if (count == 0)
      return {};
    const Bytes index = info_.part(info_.get<uint32_t>(20), count * kIndexEntry, kWhat);
    // The last one ends the table: of the code, and of the language data.
    const uint64_t last = (count - 1) * kIndexEntry;
    read_language_data(index.get<uint32_t>(8), index.get<uint32_t>(last + 8));
    for (uint64_t at = 0; at < last; at += kIndexEntry)
      if (const auto page = index.get<uint32_t>(at + 4))
        read_page(page, index.get<uint32_t>(at));
    begin(index.get<uint32_t>(last), 0);
    return std::move(entries_);
  }

private:
  void read_language_data(uint32_t from, uint32_t to) {
    if (to < from)
      throw Unloadable("broken: the unwind tables run backwards");
    const Bytes all = info_.part(from, to - from, kWhat);
    for (uint64_t at = 0; at < all.size(); at += 8)
      language_data_[all.get<uint32_t>(at)] = all.get<uint32_t>(at + 4);
  }

  void read_page(uint32_t offset, uint32_t start) {
    const Bytes page =
        info_.part(offset, info_.size() - std::min<size_t>(offset, info_.size()), kWhat);
    const auto kind = page.get<uint32_t>(0);
    const uint64_t first = page.get<uint16_t>(4), count = page.get<uint16_t>(6);
    if (kind == kRegularPage) {
      for (uint64_t i = 0; i < count; ++i)
        begin(page.get<uint32_t>(first + 8 * i), page.get<uint32_t>(first + 8 * i + 4));
    } else if (kind == kCompressedPage) {
      const Bytes encodings =
          page.part(page.get<uint16_t>(8), uint64_t(4) * page.get<uint16_t>(10), kWhat);
      for (uint64_t i = 0; i < count; ++i) {
        const auto entry = page.get<uint32_t>(first + 4 * i);
        const uint64_t number = entry >> 24, commons = common_.size() / 4;
        begin(uint64_t(start) + (entry & 0xffffff),
              number < commons ? common_.get<uint32_t>(4 * number)
                               : encodings.get<uint32_t>(4 * (number - commons)));
      }
    } else {
      throw Unloadable("has unwind tables of a kind that is not known");
    }
  }

  /// An entry begins at `offset` of the image, and ends the one before it.
  void begin(uint64_t offset, uint32_t encoding) {
    const uint64_t start = base_ + offset;
    if (start < start_)
      throw Unloadable("broken: the unwind tables run backwards");
    if (encoding_ != 0 && start > start_)
      finish(start);
    start_ = start;
    encoding_ = encoding;
  }

  void finish(uint64_t end) {
    FrameEntry entry{.start = start_, .end = end, .encoding = encoding_};
    image_.check_code(entry.start, entry.end - entry.start, kWhat);
    if ((encoding_ & kModeMask) == 0)
      return;
    if (const uint32_t number = encoding_ >> 28 & 3) {
      entry.personality = base_ + personalities_.get<uint32_t>(uint64_t(4) * (number - 1));
      if (!image_.pointer(entry.personality, kWhat).import)
        throw Unloadable(
            "broken: the unwind tables name a personality routine that is not imported");
    }
    if (encoding_ & kHasLanguageData) {
      const auto data = language_data_.find(start_ - base_);
      if (data == language_data_.end())
        throw Unloadable("broken: the unwind tables lack language data");
      entry.language_data = base_ + data->second;
      (void)image_.from(entry.language_data, kWhat);
    }
    // The function subtracts from the stack pointer what did not fit the encoding.
    if (image_.header().processor == Processor::x86_64 &&
        (encoding_ & kModeMask) == kModeIndirect) {
      const uint64_t at = entry.start + (encoding_ >> 16 & 0xff);
      entry.stack_size = image_.at(at, 4, kWhat).get<uint32_t>(0);
    }
    entries_.push_back(entry);
  }

  const Image &image_;
  const Bytes info_;
  const uint64_t base_;
  Bytes common_,
      personalities_; // encodings that pages share; where the routines' addresses are kept
  std::unordered_map<uint64_t, uint32_t> language_data_; // by the function's offset
  uint64_t start_ = 0;
  uint32_t encoding_ = 0;
  std::vector<FrameEntry> entries_;
};

} // namespace

std::vector<FrameEntry> read_unwind_info(const Image &image) {
  // 32-bit ARM has none: its exceptions unwind by setjmp and longjmp.
  for (const Section &section : image.header().sections)
    if (section.segment == "__TEXT" && section.name == "__unwind_info" && section.size > 0)
      return Reader(image, section).read();
  return {};
}

} // namespace veltro::loader
