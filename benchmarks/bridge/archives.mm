// Makes and reads archives of messages. Built twice, with the platform and with nothing but
// GNUstep: what the platform patches, it patches for a whole process. For every line of its input
// it does one of
//
//     archive COUNT     archives a list of so many messages
//     unarchive FILE    reads the archive in the file
//     write FILE        writes the same bytes as the plain property list that they are
//     read FILE         reads them as such
//     save COUNT FILE   makes the archive that the others read
//
// and prints how many nanoseconds that took.

#import <veltro/ZLTWhatsAppMessage.h>

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <string>

namespace {

NSArray *messages(long count) {
  NSMutableArray *const made = [NSMutableArray array];
  for (long index = 0; index < count; ++index) {
    ZLTWhatsAppMessage *const message = [[[ZLTWhatsAppMessage alloc] init] autorelease];
    [message setContent:[NSString stringWithFormat:@"message number %ld", index]];
    [message setOutgoing:index % 2 != 0];
    [message
        setTimestamp:[NSDate dateWithTimeIntervalSinceReferenceDate:static_cast<double>(index)]];
    [message setUserIdentifier:@"491700000000@s.whatsapp.net"];
    [made addObject:message];
  }
  return made;
}

NSString *next_path() {
  std::string path;
  std::cin >> path;
  return [NSString stringWithUTF8String:path.c_str()];
}

long next_count() {
  long count = 0;
  std::cin >> count;
  return count;
}

id read(NSData *data) {
  return [NSPropertyListSerialization propertyListWithData:data
                                                   options:NSPropertyListImmutable
                                                    format:nullptr
                                                     error:nullptr];
}

template <typename Work> void time(Work work) {
  const auto start = std::chrono::steady_clock::now();
  @autoreleasepool {
    if (work() == nil)
      std::abort();
  }
  const auto taken = std::chrono::steady_clock::now() - start;
  std::cout << std::chrono::nanoseconds(taken).count() << '\n' << std::flush;
}

void run(const std::string &work) {
  if (work == "archive") {
    NSArray *const list = messages(next_count());
    time([=] { return [NSKeyedArchiver archivedDataWithRootObject:list]; });
  } else if (work == "save") {
    NSArray *const list = messages(next_count());
    NSString *const path = next_path();
    time([=] { return [NSKeyedArchiver archiveRootObject:list toFile:path] ? path : nil; });
  } else {
    NSData *const data = [NSData dataWithContentsOfFile:next_path()];
    if (work == "unarchive")
      return time([=] { return [NSKeyedUnarchiver unarchiveObjectWithData:data]; });
    if (work == "read")
      return time([=] { return read(data); });
    const id list = read(data);
    time([=] {
      return [NSPropertyListSerialization dataWithPropertyList:list
                                                        format:NSPropertyListBinaryFormat_v1_0
                                                       options:0
                                                         error:nullptr];
    });
  }
}

} // namespace

int main() {
  for (std::string work; std::cin >> work;)
    @autoreleasepool {
      run(work);
    }
}
