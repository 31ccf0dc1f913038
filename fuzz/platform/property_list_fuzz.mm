// Any bytes as a property list: as the platform reads its files, and as programs read theirs. The
// first byte chooses what the rest is: the list, or changes to one that makes sense. Nothing may
// raise but what reads a text, and a list that was read can be written and read again.

#include "machine/property_lists/property_list.hpp"

#import <Foundation/Foundation.h>

#include <array>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

id read(NSData *data) {
  return [NSPropertyListSerialization propertyListWithData:data
                                                   options:NSPropertyListMutableContainers
                                                    format:nullptr
                                                     error:nullptr];
}

Bytes written(NSPropertyListFormat format) {
  NSDictionary *const list = @{
    @"texts" : @[ @"", @"a", @"fifteen letters", @"سلام" ],
    @"numbers" : @[ @0, @-1, @70000, @2.5, [NSNumber numberWithBool:YES] ],
    @"data" : [NSData dataWithBytes:"\0\xff" length:2],
    @"nested" : @{@"date" : [NSDate dateWithTimeIntervalSinceReferenceDate:1], @"empty" : @[]}
  };
  NSData *const data = [NSPropertyListSerialization dataWithPropertyList:list
                                                                  format:format
                                                                 options:0
                                                                   error:nullptr];
  const auto *const bytes = static_cast<const std::uint8_t *>([data bytes]);
  return {bytes, bytes + [data length]};
}

/// The list that the input stands for: raw bytes, or a whole one with bytes XORed, three of the
/// input for one of the list.
Bytes list_of(unsigned kind, std::span<const std::uint8_t> rest) {
  static const std::array<Bytes, 3> wholes = [] {
    @autoreleasepool {
      return std::array{written(NSPropertyListBinaryFormat_v1_0),
                        written(NSPropertyListXMLFormat_v1_0),
                        written(NSPropertyListOpenStepFormat)};
    }
  }();
  const std::size_t choice = kind % (wholes.size() + 1);
  if (choice == wholes.size())
    return {rest.begin(), rest.end()};
  Bytes list = wholes[choice];
  for (; rest.size() >= 3; rest = rest.subspan(3))
    list[(rest[0] + 256U * rest[1]) % list.size()] ^= rest[2];
  return list;
}

void read_text(NSData *data) {
  NSString *const text = [[[NSString alloc] initWithData:data
                                                encoding:NSUTF8StringEncoding] autorelease];
  @try {
    [text propertyListFromStringsFileFormat];
  } @catch (NSException *) {
  }
}

} // namespace

// Foundation does not release what it had made when it raises.
extern "C" const char *__asan_default_options() {
  return "detect_leaks=0";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size) {
  if (size == 0)
    return 0;
  @autoreleasepool {
    const Bytes list = list_of(bytes[0], std::span(bytes, size).subspan(1));
    NSData *const data = [NSData dataWithBytes:list.data() length:list.size()];
    veltro::host::dictionary_in(data);
    read_text(data);
    id const object = read(data);
    if (object == nil)
      return 0;
    NSData *const again =
        [NSPropertyListSerialization dataWithPropertyList:object
                                                   format:NSPropertyListBinaryFormat_v1_0
                                                  options:0
                                                    error:nullptr];
    // Not every key that a binary list may hold can be written.
    if (again != nil && read(again) == nil)
      std::abort();
  }
  return 0;
}
