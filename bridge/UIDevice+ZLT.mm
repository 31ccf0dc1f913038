#import <veltro/UIDevice+ZLT.h>

#include "bridge/process_table.hpp"
#include "utils/owned.hpp"

#include <MobileGestalt.h>

namespace {

NSString *value_of(NSString *question) {
  if (MGCopyAnswer == nullptr)
    return nil;
  const veltro::OwnedCF value(MGCopyAnswer(reinterpret_cast<CFStringRef>(question)));
  if (!value)
    return nil;
  return [NSString stringWithString:static_cast<NSString *>(const_cast<void *>(value.get()))];
}

NSString *command_name(const kinfo_proc &record) {
  return [NSString stringWithFormat:@"%s", record.kp_proc.p_comm];
}

} // namespace

@implementation UIDevice (ZLT)

- (NSString *)UDID {
  return value_of(@"UniqueDeviceID");
}

- (NSString *)serialNumber {
  return value_of(@"SerialNumber");
}

- (NSMutableArray *)__zltRunningProcesses {
  const veltro::ProcessTable table;
  if (table.count() == 0)
    return nil;
  NSMutableArray *const processes = [NSMutableArray array];
  for (std::size_t index = 0; index < table.count(); ++index) {
    const kinfo_proc &record = table.from_end(index);
    NSNumber *const identifier = [NSNumber numberWithInt:record.kp_proc.p_pid];
    [processes addObject:[NSDictionary dictionaryWithObjectsAndKeys:identifier, @"PROCESS_ID",
                                                                    command_name(record),
                                                                    @"PROCESS_NAME", nil]];
  }
  return processes;
}

- (NSInteger)__zltGetPIDForProcess:(NSString *)name {
  const veltro::ProcessTable table;
  NSInteger identifier = 0;
  for (std::size_t index = 0; index < table.count() && identifier < 1; ++index) {
    const kinfo_proc &record = table.from_end(index);
    // Looser than the running check on purpose: callers look for helpers of an app by its name.
    if (name != nil && [command_name(record) rangeOfString:name].length != 0)
      identifier = record.kp_proc.p_pid;
  }
  return identifier;
}

- (BOOL)__zltIsProcessRunning:(NSString *)name {
  if ([name length] == 0)
    return NO;
  __block BOOL found = NO;
  [[self __zltRunningProcesses]
      enumerateObjectsUsingBlock:^(NSDictionary *process, NSUInteger /*index*/, BOOL *stop) {
        if ([name caseInsensitiveCompare:[process objectForKey:@"PROCESS_NAME"]] == NSOrderedSame) {
          found = YES;
          *stop = YES;
        }
      }];
  return found;
}

@end
