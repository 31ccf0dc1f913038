#include "machine/property_lists/property_list_guard.hpp"

#include <cstdint>
#include <optional>
#include <span>

namespace veltro::host {
namespace {

constexpr std::string_view kMagic = "bplist00";
constexpr std::size_t kTrailerLength = 32;
constexpr int kDeepest = 512;
constexpr std::size_t kMostBytes = std::size_t{256} * 1024 * 1024;

using Bytes = std::span<const std::byte>;

std::uint64_t big_endian(Bytes bytes) {
  std::uint64_t number = 0;
  for (const std::byte byte : bytes)
    number = number << 8 | std::to_integer<std::uint64_t>(byte);
  return number;
}

/// A walk through a binary list, an object as often as it is referred to.
class Walk {
public:
  explicit Walk(Bytes list) : list_(list) {}

  bool run() {
    if (list_.size() < kMagic.size() + kTrailerLength)
      return false;
    const Bytes trailer = list_.last(kTrailerLength);
    offset_width_ = std::to_integer<std::size_t>(trailer[6]);
    reference_width_ = std::to_integer<std::size_t>(trailer[7]);
    count_ = big_endian(trailer.subspan(8, 8));
    const std::uint64_t top = big_endian(trailer.subspan(16, 8));
    const std::uint64_t table = big_endian(trailer.subspan(24, 8));
    const std::size_t end = list_.size() - kTrailerLength;
    if (!is_width(offset_width_) || !is_width(reference_width_) || count_ > list_.size() ||
        table < kMagic.size() || table > end || (end - table) / offset_width_ < count_)
      return false;
    objects_ = list_.first(table);
    offsets_ = list_.subspan(table);
    return visit(top, 0);
  }

private:
  static bool is_width(std::size_t width) { return width >= 1 && width <= 4; }

  // NOLINTNEXTLINE(misc-no-recursion): as deep as kDeepest says.
  bool visit(std::uint64_t object, int depth) {
    if (object >= count_ || depth > kDeepest || ++visited_ > list_.size())
      return false;
    const std::uint64_t offset =
        big_endian(offsets_.subspan(object * offset_width_, offset_width_));
    if (offset < kMagic.size() || offset >= objects_.size())
      return false;
    Bytes rest = objects_.subspan(offset);
    const auto marker = std::to_integer<unsigned>(rest.front());
    rest = rest.subspan(1);
    const unsigned kind = marker >> 4;
    const unsigned low = marker & 0xFU;
    switch (kind) {
    case 0x0: // booleans
      return low == 0x8 || low == 0x9;
    case 0x1: // integers; reals of 4 bytes or 8; dates of 8
    case 0x2:
    case 0x3:
      return low <= 3 && (kind == 0x1 || low >= kind) && rest.size() >= std::size_t{1} << low;
    case 0x4: // data, ASCII, UTF-16
    case 0x5:
      return has_bytes(low, rest, 1);
    case 0x6:
      return has_bytes(low, rest, 2);
    case 0x8: // references of a keyed archive
      return low <= 3 && rest.size() > low;
    case 0xA: // arrays, dictionaries
      return visit_members(low, rest, 1, depth);
    case 0xD:
      return visit_members(low, rest, 2, depth);
    default:
      return false;
    }
  }

  /// The length of an object of units of `unit` bytes, all of which are there. It stands in the
  /// marker or, when that says 15, in an integer after it.
  static std::optional<std::uint64_t> length_of(unsigned low, Bytes &rest, std::size_t unit) {
    std::uint64_t length = low;
    if (low == 0xF) {
      if (rest.empty() || (std::to_integer<unsigned>(rest.front()) & 0xFCU) != 0x10)
        return std::nullopt;
      const std::size_t width = std::size_t{1} << (std::to_integer<unsigned>(rest.front()) & 3U);
      if (rest.size() < 1 + width)
        return std::nullopt;
      length = big_endian(rest.subspan(1, width));
      rest = rest.subspan(1 + width);
    }
    return length <= rest.size() / unit ? std::optional(length) : std::nullopt;
  }

  bool has_bytes(unsigned low, Bytes rest, std::size_t unit) {
    const std::optional<std::uint64_t> length = length_of(low, rest, unit);
    return length && (bytes_ += *length * unit) <= kMostBytes;
  }

  // NOLINTNEXTLINE(misc-no-recursion)
  bool visit_members(unsigned low, Bytes rest, std::size_t per_entry, int depth) {
    const std::optional<std::uint64_t> length = length_of(low, rest, per_entry * reference_width_);
    if (!length)
      return false;
    for (std::uint64_t i = 0; i < *length * per_entry; ++i)
      if (!visit(big_endian(rest.subspan(i * reference_width_, reference_width_)), depth + 1))
        return false;
    return true;
  }

  const Bytes list_;
  Bytes objects_;
  Bytes offsets_;
  std::size_t offset_width_ = 0;
  std::size_t reference_width_ = 0;
  std::uint64_t count_ = 0;
  std::size_t visited_ = 0;
  std::size_t bytes_ = 0;
};

/// How deep the elements of an XML list nest; rather too much than too little.
int nesting_of_tags(std::string_view text) {
  int depth = 0;
  int deepest = 0;
  for (std::size_t at = 0; (at = text.find('<', at)) != std::string_view::npos;) {
    const std::string_view tag = text.substr(at);
    const std::string_view end = tag.starts_with("<!--")        ? "-->"
                                 : tag.starts_with("<![CDATA[") ? "]]>"
                                                                : ">";
    const std::size_t length = tag.find(end);
    if (length == std::string_view::npos)
      return std::min(tag.find("<array", 1), tag.find("<dict", 1)) < tag.size() ? kDeepest + 1
                                                                                : deepest;
    at += length + end.size();
    if (tag.starts_with("</array") || tag.starts_with("</dict"))
      depth = std::max(depth - 1, 0);
    else if ((tag.starts_with("<array") || tag.starts_with("<dict")) && tag[length - 1] != '/')
      deepest = std::max(deepest, ++depth);
  }
  return deepest;
}

/// Where the comment that begins at `at` ends; `at` where none does.
std::size_t end_of_comment(std::string_view text, std::size_t at) {
  const std::string_view start = text.substr(at, 2);
  if (start == "//")
    return std::min(text.find_first_of("\r\n", at), text.size());
  return start == "/*" ? std::min(text.find("*/", at + 2), text.size()) : at;
}

/// Where the quoted text that begins at `at` ends.
std::size_t end_of_quotation(std::string_view text, std::size_t at) {
  for (++at; at < text.size() && text[at] != '"'; ++at)
    if (text[at] == '\\')
      ++at;
  return at;
}

/// How deep the lists of the old text format nest; rather too much than too little. What looks like
/// a comment may be part of a word: brackets that open count in it too.
int nesting_of_brackets(std::string_view text) {
  int depth = 0;
  int deepest = 0;
  std::size_t comment_end = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char character = text[at];
    if (character == '(' || character == '{')
      deepest = std::max(deepest, ++depth);
    if (at < comment_end)
      continue;
    comment_end = end_of_comment(text, at);
    if (character == ')' || character == '}')
      depth = std::max(depth - 1, 0);
    else if (character == '"')
      at = end_of_quotation(text, at);
  }
  return deepest;
}

} // namespace

bool is_harmless_property_list(std::string_view list) {
  if (list.starts_with("bplist"))
    return list.starts_with(kMagic) && Walk(std::as_bytes(std::span(list))).run();
  // GNUstep takes these for the start of formats of its own, whose lengths it believes.
  if (list.starts_with('\0') || list.starts_with('\1'))
    return false;
  return nesting_of_tags(list) <= kDeepest &&
         (from_first_character(list).starts_with("<?xml") || nesting_of_brackets(list) <= kDeepest);
}

} // namespace veltro::host
