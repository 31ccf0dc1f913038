// Archiving and unarchiving messages; every figure is the time per message. The peer writes the
// same four values as a plain property list, which is what an archive costs at the least.

#import <veltro/ZLTWhatsAppMessage.h>

#include <benchmark/benchmark.h>
#include <chrono>

namespace {

NSString *text_of(long index) {
  return [NSString stringWithFormat:@"message number %ld", index];
}

NSArray *messages(long count) {
  NSMutableArray *const made = [NSMutableArray array];
  for (long index = 0; index < count; ++index) {
    ZLTWhatsAppMessage *const message = [[[ZLTWhatsAppMessage alloc] init] autorelease];
    [message setContent:text_of(index)];
    [message setOutgoing:index % 2 != 0];
    [message
        setTimestamp:[NSDate dateWithTimeIntervalSinceReferenceDate:static_cast<double>(index)]];
    [message setUserIdentifier:@"491700000000@s.whatsapp.net"];
    [made addObject:message];
  }
  return made;
}

NSArray *dictionaries(long count) {
  NSMutableArray *const made = [NSMutableArray array];
  for (ZLTWhatsAppMessage *message in messages(count))
    [made addObject:@{
      @"Content" : [message content],
      @"Outgoing" : [NSNumber numberWithBool:[message outgoing]],
      @"Timestamp" : [message timestamp],
      @"UserIdentifier" : [message userIdentifier]
    }];
  return made;
}

NSData *property_list(NSArray *values) {
  return [NSPropertyListSerialization dataWithPropertyList:values
                                                    format:NSPropertyListBinaryFormat_v1_0
                                                   options:0
                                                     error:nullptr];
}

/// Times `work` and counts the time of one of the messages.
template <typename Work> void per_message(benchmark::State &state, Work work) {
  for (auto _ : state)
    @autoreleasepool {
      const auto start = std::chrono::steady_clock::now();
      benchmark::DoNotOptimize(work());
      const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
      state.SetIterationTime(taken.count() / static_cast<double>(state.range(0)));
    }
}

void archive_veltro(benchmark::State &state) {
  @autoreleasepool {
    NSArray *const values = messages(state.range(0));
    per_message(state, [=] { return [NSKeyedArchiver archivedDataWithRootObject:values]; });
  }
}

void archive_property_list(benchmark::State &state) {
  @autoreleasepool {
    NSArray *const values = dictionaries(state.range(0));
    per_message(state, [=] { return property_list(values); });
  }
}

void unarchive_veltro(benchmark::State &state) {
  @autoreleasepool {
    NSData *const data = [NSKeyedArchiver archivedDataWithRootObject:messages(state.range(0))];
    per_message(state, [=] { return [NSKeyedUnarchiver unarchiveObjectWithData:data]; });
  }
}

void unarchive_property_list(benchmark::State &state) {
  @autoreleasepool {
    NSData *const data = property_list(dictionaries(state.range(0)));
    per_message(state, [=] {
      return [NSPropertyListSerialization propertyListWithData:data
                                                       options:NSPropertyListImmutable
                                                        format:nullptr
                                                         error:nullptr];
    });
  }
}

// The library takes an iteration for as long as one message took, so the iterations are counted
// here.
#define PER_MESSAGE(function, name)                                                                \
  BENCHMARK(function)->Name(name)->Arg(1)->Iterations(1000)->UseManualTime();                      \
  BENCHMARK(function)->Name(name)->Arg(10000)->Iterations(2)->UseManualTime()

PER_MESSAGE(archive_veltro, "archive-message/veltro");
PER_MESSAGE(archive_property_list, "archive-message/property-list");
PER_MESSAGE(unarchive_veltro, "unarchive-message/veltro");
PER_MESSAGE(unarchive_property_list, "unarchive-message/property-list");

} // namespace

BENCHMARK_MAIN();
