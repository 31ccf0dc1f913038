// The Mach-O header and its load commands, as published in <mach-o/loader.h>.

#include "header.hpp"

#include <algorithm>
#include <cstdio>

namespace veltro::loader {
namespace {

constexpr uint32_t kMagic32 = 0xfeedface, kMagic64 = 0xfeedfacf;
constexpr uint32_t kDynamicLibrary = 6;
constexpr uint32_t kSubtypeArm64e = 2;
constexpr uint64_t kLargestImage = 1u << 30;

enum Command : uint32_t {
  kSegment = 0x1,
  kDynamicSymbols = 0xb,
  kRoutines = 0x11,
  kSegment64 = 0x19,
  kRoutines64 = 0x1a,
  kEncryption = 0x21,
  kDyldInfo = 0x22,
  kEncryption64 = 0x2c,
  kRequired = 0x80000000, // who does not know the command must not load the image
  kLoadWeakLibrary = kRequired | 0x18,
  kRunPath = kRequired | 0x1c,
  kReexportLibrary = kRequired | 0x1f,
  kDyldInfoOnly = kRequired | 0x22,
  kLoadUpwardLibrary = kRequired | 0x23,
  kExportsTrie = kRequired | 0x33,
  kChainedFixups = kRequired | 0x34,
};

enum Protection : uint32_t { kRead = 1, kWrite = 2, kExecute = 4 };
constexpr uint32_t kConstantSegment = 0x10;

std::string hexadecimal(uint32_t value) {
  char text[16];
  (void)std::snprintf(text, sizeof text, "0x%x", value);
  return text;
}

[[noreturn]] void refuse(std::string_view what, std::string_view name) {
  throw Unloadable(std::string(what) + " " + std::string(name));
}

/// Sections whose contents would have to run, or be replaced, when the image is loaded.
const char *why_not(uint32_t type) {
  switch (type) {
  case 0x9:
  case 0x16:
    return "has initialisers in";
  case 0xa:
    return "has terminators in";
  case 0xd:
    return "replaces functions of others in";
  case 0x11:
  case 0x12:
  case 0x13:
  case 0x14:
  case 0x15:
    return "has variables of threads in";
  default:
    return nullptr;
  }
}

void check_section(const Segment &segment, const Section &section, uint32_t flags) {
  if (section.address < segment.address || section.address > segment.end() ||
      section.size > segment.end() - section.address)
    refuse("broken: section outside of its segment:", section.name);
  if (section.size == 0)
    return;
  if (const char *const why = why_not(flags & 0xff))
    refuse(why, section.name);
  // Classes and categories with +load.
  if (section.name == "__objc_nlclslist" || section.name == "__objc_nlcatlist")
    refuse("has initialisers in", section.name);
}

void read_segment(Header &header, Bytes slice, Bytes command) {
  const uint64_t word = header.word;
  Segment segment{.name = command.padded_text(8, 16)};
  segment.address = command.word(24, word);
  segment.size = command.word(24 + word, word);
  segment.file_offset = command.word(24 + 2 * word, word);
  segment.file_size = command.word(24 + 3 * word, word);
  const uint64_t rest = 24 + 4 * word; // the fields behind the four words
  const auto protection = command.get<uint32_t>(rest + 4);
  segment.readable = protection & kRead;
  segment.writable = protection & kWrite;
  segment.executable = protection & kExecute;
  segment.constant = command.get<uint32_t>(rest + 12) & kConstantSegment;

  if (segment.writable && segment.executable)
    refuse("both writable and executable: segment", segment.name);
  if (segment.file_size > segment.size)
    refuse("broken: more in the file than in memory of segment", segment.name);
  if (segment.size > kLargestImage || segment.address > UINT64_MAX - segment.size)
    refuse("too large: segment", segment.name);
  (void)slice.part(segment.file_offset, segment.file_size, "a segment's contents");

  const uint64_t section_size = word == 8 ? 80 : 68;
  const auto count = command.get<uint32_t>(rest + 8);
  const Bytes sections = command.part(rest + 16, count * section_size, "a segment's sections");
  for (uint32_t i = 0; i < count; ++i) {
    const Bytes entry = sections.part(i * section_size, section_size, "a section");
    const Section section{.segment = segment.name,
                          .name = entry.padded_text(0, 16),
                          .address = entry.word(32, word),
                          .size = entry.word(32 + word, word)};
    check_section(segment, section, entry.get<uint32_t>(word == 8 ? 64 : 56));
    header.sections.push_back(section);
  }
  header.segments.push_back(segment);
}

void read_dyld_info(Header &header, Bytes slice, Bytes command) {
  const auto range = [&](uint64_t at, const char *what) {
    return slice.part(command.get<uint32_t>(at), command.get<uint32_t>(at + 4), what);
  };
  header.rebases = range(8, "the rebase opcodes");
  header.binds = range(16, "the bind opcodes");
  header.lazy_binds = range(32, "the lazy bind opcodes");
  header.exports = range(40, "the exports");
}

void read_command(Header &header, Bytes slice, Bytes command) {
  const auto kind = command.get<uint32_t>(0);
  switch (kind) {
  case kSegment:
  case kSegment64:
    if ((kind == kSegment64) != (header.word == 8))
      throw Unloadable("broken: a segment of the other word size");
    return read_segment(header, slice, command);
  case kDyldInfo:
  case kDyldInfoOnly:
    return read_dyld_info(header, slice, command);
  case kExportsTrie:
    header.exports = slice.part(command.get<uint32_t>(8), command.get<uint32_t>(12), "the exports");
    return;
  case kDynamicSymbols:
    if (command.get<uint32_t>(68) != 0 || command.get<uint32_t>(76) != 0)
      throw Unloadable("has relocations of the old form");
    return;
  case kEncryption:
  case kEncryption64:
    if (command.get<uint32_t>(16) != 0)
      throw Unloadable("encrypted");
    return;
  case kRoutines:
  case kRoutines64:
    throw Unloadable("has an initialiser in LC_ROUTINES");
  case kChainedFixups:
    throw Unloadable("has chained fixups, which are not read");
  case kLoadWeakLibrary:
  case kRunPath:
  case kReexportLibrary:
  case kLoadUpwardLibrary:
    return;
  default:
    if (kind & kRequired)
      throw Unloadable("has a load command that must be understood and is not: " +
                       hexadecimal(kind));
  }
}

/// Segments in memory: the image's extent, and that none lies over another.
void lay_out(Header &header) {
  auto segments = header.segments;
  std::erase_if(segments, [](const Segment &segment) { return segment.size == 0; });
  if (segments.empty())
    throw Unloadable("broken: no segments");
  std::ranges::sort(segments, {}, &Segment::address);
  for (size_t i = 1; i < segments.size(); ++i)
    if (segments[i].address < segments[i - 1].end())
      refuse("broken: segment over another:", segments[i].name);
  header.start = segments.front().address;
  header.end = segments.back().end();
  if (header.end - header.start > kLargestImage)
    throw Unloadable("too large: takes more than 1 GiB of addresses");
}

} // namespace

Header read_header(Bytes slice, Processor processor) {
  const auto magic = slice.get<uint32_t>(0);
  if (magic != kMagic32 && magic != kMagic64)
    throw Unloadable("not a Mach-O file");
  Header header;
  header.processor = processor;
  header.word = processor == Processor::armv7 ? 4 : 8;
  if (slice.get<uint32_t>(4) != uint32_t(processor) || (magic == kMagic64) != (header.word == 8))
    throw Unloadable(std::string("not an image for ") + name_of(processor));
  if (processor == Processor::arm64 && (slice.get<uint32_t>(8) & 0xffffff) == kSubtypeArm64e)
    throw Unloadable("an image for arm64e");
  if (slice.get<uint32_t>(12) != kDynamicLibrary)
    throw Unloadable("not a dynamic library: file type " + hexadecimal(slice.get<uint32_t>(12)));

  const auto count = slice.get<uint32_t>(16);
  const Bytes commands =
      slice.part(header.word == 8 ? 32 : 28, slice.get<uint32_t>(20), "the load commands");
  uint64_t at = 0;
  for (uint32_t i = 0; i < count; ++i) {
    const auto size = commands.get<uint32_t>(at + 4);
    if (size < 8)
      throw Unloadable("broken: a load command of " + std::to_string(size) + " bytes");
    read_command(header, slice, commands.part(at, size, "a load command"));
    at += size;
  }
  lay_out(header);
  return header;
}

} // namespace veltro::loader
