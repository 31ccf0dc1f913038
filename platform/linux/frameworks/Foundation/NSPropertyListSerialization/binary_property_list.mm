// The binary property list format, version bplist00, as the published sources of Core Foundation
// describe it: the objects, a table of their offsets, and a trailer that tells the sizes. Left out:
// integers above the signed range, which take sixteen bytes there and which GNUstep does not read.
//
// It stands in the place of GNUstep's own writer, which finds the objects written before by a hash
// that all references of a keyed archive share, so that ten thousand messages take minutes. What
// cannot be written, that one still refuses itself, with its own error.

#include "frameworks/Foundation/NSPropertyListSerialization/binary_property_list.hpp"
#include "frameworks/Foundation/replace_method.hpp"
#include "machine/text/utf8.hpp"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
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

/// The smallest size of 1, 2, 4 and 8 bytes that holds `value`.
std::size_t size_of(std::uint64_t value) {
  return value <= UINT8_MAX ? 1 : value <= UINT16_MAX ? 2 : value <= UINT32_MAX ? 4 : 8;
}

/// Writes what refers to no other object as it is met, and the collections at the end, when the
/// size of a reference is known.
class Writer {
public:
  NSData *list(id root) {
    const std::size_t top = add(root);
    if (failed_)
      return nil;
    const std::size_t reference_size = size_of(offsets_.size());
    for (const Collection &collection : collections_) {
      offsets_[collection.number] = bytes_.size();
      append_counted(collection.kind, collection.count);
      for (const std::size_t child : collection.children)
        append(child, reference_size);
    }

    const std::size_t table = bytes_.size();
    const std::size_t offset_size = size_of(table);
    for (const std::size_t offset : offsets_)
      append(offset, offset_size);
    append(0, 6); // five unused, and that nothing is sorted
    append(offset_size, 1);
    append(reference_size, 1);
    append(offsets_.size(), 8);
    append(top, 8);
    append(table, 8);
    return [NSData dataWithBytes:bytes_.data() length:bytes_.size()];
  }

private:
  struct Collection {
    Kind kind;
    std::size_t number;
    std::size_t count;
    std::vector<std::size_t> children; ///< a dictionary's keys come before its values
  };

  /// Adds `object` and all that it holds, and returns its number.
  std::size_t add(id object) {
    if ([object isKindOfClass:[NSString class]])
      return add_text(object);
    if ([object isKindOfClass:[NSNumber class]])
      return add_number(object);
    if ([object isKindOfClass:[NSDictionary class]])
      return add_dictionary(object);
    if ([object isKindOfClass:[NSArray class]])
      return add_array(object);
    const std::size_t number = next();
    if ([object isKindOfClass:[NSData class]]) {
      append_counted(Kind::data, [object length]);
      bytes_ += bytes_of(object);
    } else if ([object isKindOfClass:[NSDate class]]) {
      append_number(Kind::date,
                    std::bit_cast<std::uint64_t>([object timeIntervalSinceReferenceDate]), 8);
    } else {
      failed_ = true;
    }
    return number;
  }

  /// The number of the object whose bytes come next.
  std::size_t next() {
    offsets_.push_back(bytes_.size());
    return offsets_.size() - 1;
  }

  template <typename Known, typename Key, typename Write>
  std::size_t once(Known &known, const Key &key, Write write) {
    const auto [entry, is_new] = known.try_emplace(key, offsets_.size());
    if (is_new) {
      next();
      write();
    }
    return entry->second;
  }

  std::size_t add_text(NSString *text) {
    std::u16string characters([text length], u'\0');
    [text getCharacters:reinterpret_cast<unichar *>(characters.data())
                  range:NSMakeRange(0, characters.size())];
    return once(texts_, characters, [&] {
      const bool ascii = std::ranges::all_of(characters, [](char16_t c) { return c < 0x80; });
      append_counted(ascii ? Kind::ascii : Kind::utf16, characters.size());
      for (const char16_t character : characters)
        append(character, ascii ? 1 : 2);
    });
  }

  std::size_t add_number(NSNumber *number) {
    static const Class boolean = [[NSNumber numberWithBool:YES] class];
    const std::string_view type([number objCType]);
    const bool is_boolean = [number isKindOfClass:boolean];
    if (!is_boolean && type != @encode(float) && type != @encode(double)) {
      const std::uint64_t bits = [number unsignedLongLongValue];
      return once(integers_, bits, [&] { append_number(Kind::integer, bits, size_of(bits)); });
    }
    const std::size_t added = next();
    if (is_boolean)
      append(static_cast<unsigned>(Kind::boolean) | ([number boolValue] ? 1U : 0U), 1);
    else if (type == @encode(float))
      append_number(Kind::real, std::bit_cast<std::uint32_t>([number floatValue]), 4);
    else
      append_number(Kind::real, std::bit_cast<std::uint64_t>([number doubleValue]), 8);
    return added;
  }

  std::size_t add_array(NSArray *array) {
    const std::size_t number = next();
    std::vector<std::size_t> children;
    for (id element in array)
      children.push_back(add(element));
    collections_.push_back({Kind::array, number, [array count], std::move(children)});
    return number;
  }

  std::size_t add_dictionary(NSDictionary *dictionary) {
    if ([dictionary count] == 1) {
      NSNumber *const reference = [dictionary objectForKey:@"CF$UID"];
      if ([reference isKindOfClass:[NSNumber class]]) {
        const std::uint64_t value = [reference unsignedLongLongValue];
        return once(references_, value, [&] {
          append(static_cast<std::size_t>(Kind::reference) | (size_of(value) - 1), 1);
          append(value, size_of(value));
        });
      }
    }
    const std::size_t number = next();
    std::vector<std::size_t> children;
    for (id key in dictionary) {
      failed_ |= ![key isKindOfClass:[NSString class]];
      children.push_back(add(key));
    }
    for (id key in dictionary)
      children.push_back(add([dictionary objectForKey:key]));
    collections_.push_back({Kind::dictionary, number, [dictionary count], std::move(children)});
    return number;
  }

  /// A big-endian number.
  void append(std::uint64_t value, std::size_t size) {
    for (std::size_t byte = size; byte-- > 0;)
      bytes_.push_back(static_cast<char>(byte < sizeof value ? value >> (8 * byte) : 0));
  }

  /// A marker with a size that is a power of two.
  void append_number(Kind kind, std::uint64_t value, std::size_t size) {
    append(static_cast<unsigned>(kind) | static_cast<unsigned>(std::countr_zero(size)), 1);
    append(value, size);
  }

  /// A marker with a count.
  void append_counted(Kind kind, std::size_t count) {
    constexpr std::size_t kCountFollows = 15;
    append(static_cast<unsigned>(kind) | std::min(count, kCountFollows), 1);
    if (count >= kCountFollows)
      append_number(Kind::integer, count, size_of(count));
  }

  std::string bytes_ = "bplist00";
  std::vector<std::size_t> offsets_;
  std::vector<Collection> collections_;
  std::unordered_map<std::u16string, std::size_t> texts_;
  std::unordered_map<std::uint64_t, std::size_t> integers_;
  std::unordered_map<std::uint64_t, std::size_t> references_;
  bool failed_ = false;
};

void (*gnustep_generate)(id, SEL);

void generate(id self, SEL selector) {
  const Class generator = object_getClass(self);
  NSData *const data =
      binary_property_list(object_getIvar(self, class_getInstanceVariable(generator, "root")));
  if (data != nil)
    [object_getIvar(self, class_getInstanceVariable(generator, "dest")) setData:data];
  else
    gnustep_generate(self, selector);
}

} // namespace

NSData *binary_property_list(id root) {
  return Writer().list(root);
}

} // namespace veltro::host

VH_AT_LOAD(VHBinaryPropertyLists) {
  using namespace veltro::host;
  gnustep_generate = replace_method(objc_getClass("GSBinaryPLGenerator"), "generate", generate);
}
