// The binary property list format, version bplist00, as the published sources of Core Foundation
// describe it: the objects, a table of their offsets, and a trailer that tells the sizes. Left out:
// integers above the signed range, which take sixteen bytes there and which GNUstep does not read.

#include "frameworks/Foundation/NSPropertyListSerialization/binary_property_list.hpp"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace veltro::host {
namespace {

enum class Kind : std::uint8_t {
  boolean = 0x08,
  integer = 0x10,
  real = 0x20,
  date = 0x30,
  data = 0x40,
  ascii = 0x50,
  utf16 = 0x60,
  reference = 0x80,
  array = 0xa0,
  dictionary = 0xd0,
};

struct Node {
  Kind kind;
  id object;               ///< for texts and data
  std::uint64_t value;     ///< the bits of a number
  std::size_t size;        ///< bytes of a number, characters of a text, children of a collection
  std::size_t first_child; ///< in the list of children; a dictionary's keys come before its values
};

struct HashText {
  std::size_t operator()(NSString *text) const { return [text hash]; }
};

struct EqualText {
  bool operator()(NSString *one, NSString *other) const { return [one isEqualToString:other]; }
};

/// The smallest size of 1, 2, 4 and 8 bytes that holds `value`.
std::size_t size_of(std::uint64_t value) {
  return value <= UINT8_MAX ? 1 : value <= UINT16_MAX ? 2 : value <= UINT32_MAX ? 4 : 8;
}

/// The objects of a property list in one row, and how they refer to each other.
class Objects {
public:
  /// Adds `object` and all that it holds, and returns its number; sets failed() where it cannot.
  std::uint32_t add(id object) {
    if ([object isKindOfClass:[NSString class]])
      return add_text(object);
    if ([object isKindOfClass:[NSNumber class]])
      return add_number(object);
    if ([object isKindOfClass:[NSDictionary class]])
      return add_dictionary(object);
    if ([object isKindOfClass:[NSArray class]])
      return add_array(object);
    if ([object isKindOfClass:[NSData class]])
      return append({Kind::data, object, 0, [object length], 0});
    if ([object isKindOfClass:[NSDate class]])
      return append({Kind::date, nil,
                     std::bit_cast<std::uint64_t>([object timeIntervalSinceReferenceDate]), 8, 0});
    failed_ = true;
    return 0;
  }

  [[nodiscard]] bool failed() const { return failed_; }
  [[nodiscard]] const std::vector<Node> &nodes() const { return nodes_; }
  [[nodiscard]] std::uint32_t child(std::size_t index) const { return children_[index]; }

private:
  std::uint32_t append(const Node &node) {
    nodes_.push_back(node);
    return static_cast<std::uint32_t>(nodes_.size() - 1);
  }

  std::uint32_t add_text(NSString *text) {
    const auto [known, is_new] = texts_.try_emplace(text, 0);
    if (is_new) {
      // Whether the text is ASCII shows when it is written.
      known->second = append({Kind::utf16, text, 0, [text length], 0});
    }
    return known->second;
  }

  std::uint32_t add_number(NSNumber *number) {
    static const Class boolean = [[NSNumber numberWithBool:YES] class];
    if ([number isKindOfClass:boolean])
      return append({Kind::boolean, nil, [number boolValue] ? 1U : 0U, 0, 0});
    const std::string_view type([number objCType]);
    if (type == @encode(float))
      return append({Kind::real, nil, std::bit_cast<std::uint32_t>([number floatValue]), 4, 0});
    if (type == @encode(double))
      return append({Kind::real, nil, std::bit_cast<std::uint64_t>([number doubleValue]), 8, 0});
    const std::uint64_t bits = [number unsignedLongLongValue];
    return add_value(Kind::integer, bits, size_of(bits));
  }

  std::uint32_t add_value(Kind kind, std::uint64_t value, std::size_t size) {
    auto &known_values = kind == Kind::reference ? references_ : integers_;
    const auto [known, is_new] = known_values.try_emplace(value, 0);
    if (is_new)
      known->second = append({kind, nil, value, size, 0});
    return known->second;
  }

  std::uint32_t add_array(NSArray *array) {
    const std::uint32_t number = append({Kind::array, nil, 0, [array count], 0});
    std::vector<std::uint32_t> children;
    children.reserve([array count]);
    for (id element in array)
      children.push_back(add(element));
    adopt(number, children);
    return number;
  }

  std::uint32_t add_dictionary(NSDictionary *dictionary) {
    if ([dictionary count] == 1) {
      NSNumber *const reference = [dictionary objectForKey:@"CF$UID"];
      if ([reference isKindOfClass:[NSNumber class]]) {
        const std::uint64_t value = [reference unsignedLongLongValue];
        return add_value(Kind::reference, value, size_of(value));
      }
    }
    const std::uint32_t number = append({Kind::dictionary, nil, 0, [dictionary count], 0});
    std::vector<std::uint32_t> children;
    children.reserve(2 * [dictionary count]);
    for (id key in dictionary) {
      failed_ |= ![key isKindOfClass:[NSString class]];
      children.push_back(add(key));
    }
    for (id key in dictionary)
      children.push_back(add([dictionary objectForKey:key]));
    adopt(number, children);
    return number;
  }

  void adopt(std::uint32_t number, const std::vector<std::uint32_t> &children) {
    nodes_[number].first_child = children_.size();
    children_.insert(children_.end(), children.begin(), children.end());
  }

  std::vector<Node> nodes_;
  std::vector<std::uint32_t> children_;
  std::unordered_map<NSString *, std::uint32_t, HashText, EqualText> texts_;
  std::unordered_map<std::uint64_t, std::uint32_t> integers_;
  std::unordered_map<std::uint64_t, std::uint32_t> references_;
  bool failed_ = false;
};

/// Bytes that are being written; numbers are big-endian.
class Bytes {
public:
  [[nodiscard]] std::size_t size() const { return bytes_.size(); }
  [[nodiscard]] NSData *data() const {
    return [NSData dataWithBytes:bytes_.data() length:bytes_.size()];
  }

  void add(std::string_view text) { bytes_.insert(bytes_.end(), text.begin(), text.end()); }

  void add(std::uint64_t value, std::size_t size) {
    for (std::size_t byte = size; byte-- > 0;)
      bytes_.push_back(static_cast<std::uint8_t>(byte < sizeof value ? value >> (8 * byte) : 0));
  }

  /// A marker with a size that is a power of two.
  void add_number(Kind kind, std::uint64_t value, std::size_t size) {
    bytes_.push_back(static_cast<std::uint8_t>(static_cast<unsigned>(kind) |
                                               static_cast<unsigned>(std::countr_zero(size))));
    add(value, size);
  }

  /// A marker with a count.
  void add_counted(Kind kind, std::size_t count) {
    constexpr std::size_t kCountFollows = 15;
    bytes_.push_back(
        static_cast<std::uint8_t>(static_cast<unsigned>(kind) | std::min(count, kCountFollows)));
    if (count >= kCountFollows)
      add_number(Kind::integer, count, size_of(count));
  }

  void add_text(NSString *text, std::size_t length) {
    characters_.resize(length);
    [text getCharacters:characters_.data() range:NSMakeRange(0, length)];
    unichar all = 0;
    for (const unichar character : characters_)
      all |= character;
    const std::size_t width = all < 0x80 ? 1 : 2;
    add_counted(width == 1 ? Kind::ascii : Kind::utf16, length);
    for (const unichar character : characters_)
      add(character, width);
  }

private:
  std::vector<std::uint8_t> bytes_;
  std::vector<unichar> characters_;
};

void write(Bytes &bytes, const Objects &objects, const Node &node, std::size_t reference_size) {
  const auto write_children = [&](std::size_t count) {
    bytes.add_counted(node.kind, node.size);
    for (std::size_t index = 0; index < count; ++index)
      bytes.add(objects.child(node.first_child + index), reference_size);
  };
  switch (node.kind) {
  case Kind::boolean:
    bytes.add(static_cast<std::uint64_t>(node.kind) | node.value, 1);
    break;
  case Kind::integer:
  case Kind::real:
  case Kind::date:
    bytes.add_number(node.kind, node.value, node.size);
    break;
  case Kind::reference:
    bytes.add(static_cast<std::uint64_t>(node.kind) | (node.size - 1), 1);
    bytes.add(node.value, node.size);
    break;
  case Kind::data:
    bytes.add_counted(node.kind, node.size);
    bytes.add({static_cast<const char *>([node.object bytes]), node.size});
    break;
  case Kind::ascii:
  case Kind::utf16:
    bytes.add_text(node.object, node.size);
    break;
  case Kind::array:
    write_children(node.size);
    break;
  case Kind::dictionary:
    write_children(2 * node.size);
    break;
  }
}

} // namespace

NSData *binary_property_list(id root) {
  Objects objects;
  const std::uint32_t top = objects.add(root);
  if (objects.failed())
    return nil;

  Bytes bytes;
  bytes.add("bplist00");
  const std::size_t reference_size = size_of(objects.nodes().size());
  std::vector<std::size_t> offsets;
  offsets.reserve(objects.nodes().size());
  for (const Node &node : objects.nodes()) {
    offsets.push_back(bytes.size());
    write(bytes, objects, node, reference_size);
  }

  const std::size_t table = bytes.size();
  const std::size_t offset_size = size_of(table);
  for (const std::size_t offset : offsets)
    bytes.add(offset, offset_size);

  bytes.add(0, 6); // five unused, and that nothing is sorted
  bytes.add(offset_size, 1);
  bytes.add(reference_size, 1);
  bytes.add(offsets.size(), 8);
  bytes.add(top, 8);
  bytes.add(table, 8);
  return bytes.data();
}

} // namespace veltro::host
