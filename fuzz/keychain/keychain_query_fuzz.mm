// Query dictionaries with any value under any key, in every function. Whatever is in them, the
// result is a status, and an item of which they know nothing stays as it is.

#include <Security/Security.h>

#import <Foundation/Foundation.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fuzzer/FuzzedDataProvider.h>
#include <string>

namespace {

NSArray *keys() {
  static NSArray *const keys =
      [[@"class agrp pdmn acct icmt cdat crtr desc gena invi nega labl mdat "
        @"svce sync type v_Data m_Limit r_Data r_Attributes r_Ref "
        @"r_PersistentRef syna none" componentsSeparatedByString:@" "] retain];
  return keys;
}

NSString *text(FuzzedDataProvider &input) {
  const std::string bytes = input.ConsumeRandomLengthString(24);
  return [[[NSString alloc] initWithBytes:bytes.data()
                                   length:bytes.size()
                                 encoding:NSISOLatin1StringEncoding] autorelease];
}

id value(FuzzedDataProvider &input, int depth) {
  switch (input.ConsumeIntegralInRange(0, 11)) {
  case 0:
    return text(input);
  case 1: {
    const std::string bytes = input.ConsumeRandomLengthString(64);
    return [NSData dataWithBytes:bytes.data() length:bytes.size()];
  }
  case 2:
    return [NSNumber numberWithLongLong:input.ConsumeIntegral<long long>()];
  case 3:
    return [NSNumber numberWithDouble:input.ConsumeFloatingPoint<double>()];
  case 4:
    return [NSNumber numberWithBool:input.ConsumeBool()];
  case 5:
    return [NSDate dateWithTimeIntervalSinceReferenceDate:input.ConsumeFloatingPointInRange<double>(
                                                              -1e300, 1e300)];
  case 6:
    return [NSNull null];
  case 7:
    return depth > 0 ? [NSArray arrayWithObject:value(input, depth - 1)] : [NSArray array];
  case 8:
    return [[[NSObject alloc] init] autorelease];
  case 9:
    return @"genp";
  case 10:
    return input.ConsumeBool() ? @"syna" : @"m_LimitAll";
  default:
    return input.ConsumeBool() ? @"ak" : @"dku";
  }
}

NSDictionary *dictionary(FuzzedDataProvider &input) {
  NSMutableDictionary *const entries = [NSMutableDictionary dictionary];
  if (input.ConsumeProbability<float>() < 0.9F)
    [entries setObject:@"genp" forKey:@"class"];
  for (int count = input.ConsumeIntegralInRange(0, 6); count > 0; --count) {
    NSString *const key =
        [keys() objectAtIndex:input.ConsumeIntegralInRange<NSUInteger>(0, [keys() count] - 1)];
    [entries setObject:value(input, 2) forKey:input.ConsumeBool() ? key : text(input)];
    [entries setObject:value(input, 2) forKey:key];
  }
  return entries;
}

/// The item that no query below means: they all get a service of their own.
NSDictionary *bystander() {
  return @{@"class" : @"genp", @"svce" : @"bystander", @"acct" : @"ann"};
}

void check(bool right) {
  if (!right)
    std::abort();
}

void check_bystander() {
  NSMutableDictionary *const query = [NSMutableDictionary dictionaryWithDictionary:bystander()];
  [query setObject:[NSNumber numberWithBool:YES] forKey:@"r_Data"];
  CFTypeRef found = nullptr;
  check(SecItemCopyMatching((CFDictionaryRef)query, &found) == errSecSuccess);
  check([(NSData *)found isEqual:[@"secret" dataUsingEncoding:NSUTF8StringEncoding]]);
  CFRelease(found);
}

/// Deletes what earlier inputs added, so that the keychain stays small.
void clean_up() {
  NSDictionary *const all = @{
    @"class" : @"genp",
    @"sync" : @"syna",
    @"m_Limit" : @"m_LimitAll",
    @"r_Attributes" : [NSNumber numberWithBool:YES]
  };
  CFTypeRef found = nullptr;
  check(SecItemCopyMatching((CFDictionaryRef)all, &found) == errSecSuccess);
  for (NSDictionary *const attributes in (NSArray *)found) {
    if ([[attributes objectForKey:@"svce"] isEqual:@"bystander"])
      continue;
    NSMutableDictionary *const item = [NSMutableDictionary dictionaryWithDictionary:attributes];
    [item setObject:@"genp" forKey:@"class"];
    check(SecItemDelete((CFDictionaryRef)item) == errSecSuccess);
  }
  CFRelease(found);
}

bool prepare() {
  std::string root = "/tmp/veltro-fuzz-XXXXXX";
  check(mkdtemp(root.data()) != nullptr);
  setenv("VELTRO_ROOT", root.c_str(), 1);
  NSMutableDictionary *const item = [NSMutableDictionary dictionaryWithDictionary:bystander()];
  [item setObject:[@"secret" dataUsingEncoding:NSUTF8StringEncoding] forKey:@"v_Data"];
  return SecItemAdd((CFDictionaryRef)item, nullptr) == errSecSuccess;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size) {
  @autoreleasepool {
    static const bool prepared = prepare();
    check(prepared);
    FuzzedDataProvider input(bytes, size);
    NSMutableDictionary *const query =
        [NSMutableDictionary dictionaryWithDictionary:dictionary(input)];
    NSDictionary *const changes = dictionary(input);
    CFTypeRef result = nullptr;
    if (SecItemAdd((CFDictionaryRef)query, &result) == errSecSuccess && result != nullptr)
      CFRelease(result);
    result = nullptr;
    if (SecItemCopyMatching((CFDictionaryRef)query, &result) == errSecSuccess && result != nullptr)
      CFRelease(result);
    [query setObject:@"fuzzed" forKey:@"svce"];
    SecItemUpdate((CFDictionaryRef)query, (CFDictionaryRef)changes);
    SecItemDelete((CFDictionaryRef)query);
    check_bystander();
    static unsigned inputs = 0;
    if (++inputs % 64 == 0)
      clean_up();
  }
  return 0;
}
