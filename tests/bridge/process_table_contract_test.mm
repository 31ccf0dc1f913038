// The process table against a kernel that this file plays: sysctl is defined here.

#include "bridge/process_table.hpp"

#import <veltro/UIDevice+ZLT.h>
#import <veltro/ZLTUtils+ProcessTable.h>

#include "support/replaced_method.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

struct Call {
  std::vector<int> name;
  bool has_buffer;
  std::size_t size;
  bool writes;
};

std::vector<Call> calls;
std::function<int(void *buffer, std::size_t *size)> kernel;

kinfo_proc record(int identifier, const char *name) {
  kinfo_proc made;
  std::memset(&made, 0xab, sizeof made);
  made.kp_proc.p_pid = identifier;
  std::strncpy(made.kp_proc.p_comm, name, sizeof made.kp_proc.p_comm - 1);
  made.kp_proc.p_comm[sizeof made.kp_proc.p_comm - 1] = '\0';
  return made;
}

int fail(int error) {
  errno = error;
  return -1;
}

/// A kernel whose table is `records`; a short buffer gets ENOMEM and the size that is needed.
std::function<int(void *, std::size_t *)> table_of(std::vector<kinfo_proc> records) {
  return [records = std::move(records)](void *buffer, std::size_t *size) {
    const std::size_t needed = records.size() * sizeof(kinfo_proc);
    const std::size_t space = std::exchange(*size, needed);
    if (buffer == nullptr)
      return 0;
    if (space < needed)
      return fail(ENOMEM);
    std::ranges::copy(records, static_cast<kinfo_proc *>(buffer));
    return 0;
  };
}

UIDevice *device() {
  return [UIDevice currentDevice];
}

std::string listing(NSArray *processes) {
  std::string text;
  for (NSDictionary *process in processes)
    text += [[NSString stringWithFormat:@"%@ %@;", [process objectForKey:@"PROCESS_ID"],
                                        [process objectForKey:@"PROCESS_NAME"]] UTF8String];
  return text;
}

/// Each test starts with no calls recorded and an empty kernel.
class ProcessTableContract : public testing::Test {
  void SetUp() override {
    calls.clear();
    kernel = table_of({});
  }
};

} // namespace

extern "C" int sysctl(int *name, unsigned int namelen, void *oldp, size_t *oldlenp, void *newp,
                      size_t newlen) {
  calls.push_back({.name = {name, name + namelen},
                   .has_buffer = oldp != nullptr,
                   .size = *oldlenp,
                   .writes = newp != nullptr || newlen != 0});
  return kernel(oldp, oldlenp);
}

namespace {

TEST_F(ProcessTableContract, AsksForTheSizeThenReadsWithATenthMore) {
  kernel = table_of({record(5, "five"), record(4, "four"), record(3, "three")});
  [device() __zltRunningProcesses];
  ASSERT_EQ(calls.size(), 2U);
  for (const Call &call : calls) {
    EXPECT_EQ(call.name, (std::vector<int>{1, 14, 0, 0}));
    EXPECT_FALSE(call.writes);
  }
  EXPECT_FALSE(calls[0].has_buffer);
  EXPECT_TRUE(calls[1].has_buffer);
  const std::size_t size = 3 * sizeof(kinfo_proc);
  EXPECT_EQ(calls[1].size, size + size / 10);
}

TEST_F(ProcessTableContract, ListsFromTheLastRecordToTheFirst) {
  kernel = table_of({record(30, "newest"), record(20, "middle"), record(10, "oldest")});
  EXPECT_EQ(listing([device() __zltRunningProcesses]), "10 oldest;20 middle;30 newest;");
}

TEST_F(ProcessTableContract, EntryHoldsTwoKeys) {
  kernel = table_of({record(7, "seven")});
  NSArray *const processes = [device() __zltRunningProcesses];
  ASSERT_EQ([processes count], 1U);
  NSDictionary *const expected =
      @{@"PROCESS_ID" : [NSNumber numberWithInt:7], @"PROCESS_NAME" : @"seven"};
  EXPECT_TRUE([[processes lastObject] isEqual:expected]);
  EXPECT_FALSE([[processes lastObject] isKindOfClass:[NSMutableDictionary class]]);
  EXPECT_TRUE([processes isKindOfClass:[NSMutableArray class]]);
}

TEST_F(ProcessTableContract, NameOfSixteenCharactersIsWhole) {
  kernel = table_of({record(7, "abcdefghijklmnop")});
  EXPECT_EQ(listing([device() __zltRunningProcesses]), "7 abcdefghijklmnop;");
  EXPECT_TRUE([device() __zltIsProcessRunning:@"abcdefghijklmnop"]);
  EXPECT_FALSE([device() __zltIsProcessRunning:@"abcdefghijklmnopq"]);
}

TEST_F(ProcessTableContract, GrowsFromTheSizeThatTheKernelLeaves) {
  int attempts = 0;
  kernel = [&](void *buffer, std::size_t *size) {
    if (buffer == nullptr) {
      *size = 1000;
      return 0;
    }
    if (++attempts < 3) {
      *size = attempts == 1 ? 3000 : 5001;
      return fail(ENOMEM);
    }
    const kinfo_proc one = record(9, "nine");
    std::memcpy(buffer, &one, sizeof one);
    *size = sizeof one;
    return 0;
  };
  EXPECT_EQ(listing([device() __zltRunningProcesses]), "9 nine;");
  ASSERT_EQ(calls.size(), 4U);
  EXPECT_EQ(calls[1].size, 1100U);
  EXPECT_EQ(calls[2].size, 3300U);
  EXPECT_EQ(calls[3].size, 5501U);
}

TEST_F(ProcessTableContract, TriesAsOftenAsTheTableGrows) {
  int attempts = 0;
  kernel = [&](void *buffer, std::size_t *size) {
    if (buffer != nullptr && ++attempts <= 200) {
      *size = 10 * sizeof(kinfo_proc);
      return fail(ENOMEM);
    }
    if (buffer != nullptr) {
      const kinfo_proc one = record(9, "nine");
      std::memcpy(buffer, &one, sizeof one);
    }
    *size = sizeof(kinfo_proc);
    return 0;
  };
  EXPECT_EQ([device() __zltGetPIDForProcess:@"nine"], 9);
  EXPECT_EQ(calls.size(), 202U);
}

TEST_F(ProcessTableContract, AnotherErrorGivesUp) {
  kernel = [](void *buffer, std::size_t *size) {
    *size = 10 * sizeof(kinfo_proc);
    return buffer == nullptr ? 0 : fail(EPERM);
  };
  EXPECT_EQ([device() __zltRunningProcesses], nil);
  EXPECT_EQ(calls.size(), 2U);
  EXPECT_EQ([device() __zltGetPIDForProcess:@"x"], 0);
  EXPECT_FALSE([device() __zltIsProcessRunning:@"x"]);
}

TEST_F(ProcessTableContract, AnotherErrorAfterGrowingGivesUp) {
  int attempts = 0;
  kernel = [&](void *buffer, std::size_t *size) {
    *size = sizeof(kinfo_proc);
    return buffer == nullptr ? 0 : fail(++attempts == 1 ? ENOMEM : EINTR);
  };
  EXPECT_EQ([device() __zltRunningProcesses], nil);
  EXPECT_EQ(calls.size(), 3U);
}

TEST_F(ProcessTableContract, ResultThatIsNeitherSuccessNorErrorGivesUp) {
  kernel = [](void *buffer, std::size_t *size) {
    *size = sizeof(kinfo_proc);
    errno = ENOMEM;
    return buffer == nullptr ? 0 : 1;
  };
  EXPECT_EQ([device() __zltRunningProcesses], nil);
  EXPECT_EQ(calls.size(), 2U);
}

TEST_F(ProcessTableContract, ResultOfTheSizeQueryIsNotLookedAt) {
  const auto table = table_of({record(6, "six")});
  kernel = [&](void *buffer, std::size_t *size) {
    const int result = table(buffer, size);
    return buffer == nullptr ? fail(EPERM) : result;
  };
  EXPECT_EQ(listing([device() __zltRunningProcesses]), "6 six;");
}

TEST_F(ProcessTableContract, MemoryThatCannotBeHadGivesUp) {
  kernel = [](void *buffer, std::size_t *size) {
    *size = SIZE_MAX / 2 + 1;
    return buffer == nullptr ? 0 : fail(ENOMEM);
  };
  EXPECT_EQ([device() __zltRunningProcesses], nil);
  EXPECT_EQ(calls.size(), 1U);
}

TEST_F(ProcessTableContract, MemoryThatCannotBeHadLaterGivesUp) {
  kernel = [](void *buffer, std::size_t *size) {
    *size = buffer == nullptr ? sizeof(kinfo_proc) : SIZE_MAX / 2 + 1;
    return buffer == nullptr ? 0 : fail(ENOMEM);
  };
  EXPECT_EQ([device() __zltGetPIDForProcess:@"x"], 0);
  EXPECT_EQ(calls.size(), 2U);
}

TEST_F(ProcessTableContract, CutRecordGivesUp) {
  for (const std::size_t cut : {sizeof(kinfo_proc) - 1, sizeof(kinfo_proc) + 1}) {
    kernel = [cut](void *buffer, std::size_t *size) {
      if (buffer != nullptr)
        std::memset(buffer, 0, *size);
      *size = buffer == nullptr ? 2 * sizeof(kinfo_proc) : cut;
      return 0;
    };
    EXPECT_EQ([device() __zltRunningProcesses], nil);
    EXPECT_EQ([device() __zltGetPIDForProcess:@""], 0);
    EXPECT_EQ([device() __zltGetPIDForProcess:nil], 0);
  }
}

TEST_F(ProcessTableContract, NoRecordsGiveUp) {
  EXPECT_EQ([device() __zltRunningProcesses], nil);
  EXPECT_EQ([device() __zltGetPIDForProcess:@"x"], 0);
  EXPECT_FALSE([device() __zltIsProcessRunning:@"x"]);
  kernel = [](void *buffer, std::size_t *size) {
    *size = buffer == nullptr ? sizeof(kinfo_proc) : 0;
    return 0;
  };
  EXPECT_EQ([device() __zltRunningProcesses], nil);
}

TEST_F(ProcessTableContract, ReadsTheTableAfreshEveryTime) {
  kernel = table_of({record(1, "one")});
  EXPECT_EQ([device() __zltGetPIDForProcess:@"one"], 1);
  kernel = table_of({record(2, "one")});
  EXPECT_EQ([device() __zltGetPIDForProcess:@"one"], 2);
}

TEST_F(ProcessTableContract, LookupTakesTheLastMatchOfTheTable) {
  kernel = table_of({record(30, "WhatsApp"), record(20, "WhatsApp"), record(10, "other")});
  EXPECT_EQ([device() __zltGetPIDForProcess:@"WhatsApp"], 20);
}

TEST_F(ProcessTableContract, LookupAcceptsTheNameAnywhereInItsOwnCase) {
  kernel = table_of({record(30, "myWhatsAppHelper"), record(20, "whatsapp"), record(10, "Whats")});
  EXPECT_EQ([device() __zltGetPIDForProcess:@"WhatsApp"], 30);
  EXPECT_EQ([device() __zltGetPIDForProcess:@"Helper"], 30);
  EXPECT_EQ([device() __zltGetPIDForProcess:@"WHATSAPP"], 0);
  EXPECT_EQ([device() __zltGetPIDForProcess:@"absent"], 0);
  EXPECT_EQ([device() __zltGetPIDForProcess:@""], 0);
  EXPECT_EQ([device() __zltGetPIDForProcess:nil], 0);
}

TEST_F(ProcessTableContract, MatchWithIdentifierZeroDoesNotStopTheWalk) {
  kernel = table_of({record(30, "kernel_task"), record(0, "kernel_task")});
  EXPECT_EQ([device() __zltGetPIDForProcess:@"kernel"], 30);
  kernel = table_of({record(0, "kernel_task")});
  EXPECT_EQ([device() __zltGetPIDForProcess:@"kernel"], 0);
}

TEST_F(ProcessTableContract, MatchWithNegativeIdentifierDoesNotStopTheWalkEither) {
  kernel = table_of({record(30, "task"), record(-5, "task")});
  EXPECT_EQ([device() __zltGetPIDForProcess:@"task"], 30);
}

TEST_F(ProcessTableContract, RunningCheckWantsTheWholeNameInAnyCase) {
  kernel = table_of({record(30, "WhatsAppHelper"), record(20, "wHATSaPP"), record(10, "launchd")});
  EXPECT_TRUE([device() __zltIsProcessRunning:@"WhatsApp"]);
  EXPECT_TRUE([device() __zltIsProcessRunning:@"LAUNCHD"]);
  EXPECT_FALSE([device() __zltIsProcessRunning:@"Whats"]);
  EXPECT_TRUE([ZLTUtils isWhatsAppRunning]);

  kernel = table_of({record(30, "WhatsAppHelper"), record(10, "launchd")});
  EXPECT_FALSE([device() __zltIsProcessRunning:@"WhatsApp"]);
  EXPECT_FALSE([ZLTUtils isWhatsAppRunning]);
}

TEST_F(ProcessTableContract, RunningCheckOfNoNameReadsNothing) {
  EXPECT_FALSE([device() __zltIsProcessRunning:nil]);
  EXPECT_FALSE([device() __zltIsProcessRunning:@""]);
  EXPECT_TRUE(calls.empty());
}

std::string asked;

BOOL return_yes(id /*self*/, SEL /*selector*/, NSString *name) {
  asked = [name UTF8String];
  return YES;
}

TEST_F(ProcessTableContract, MessagingAppsCheckIsTheDevicesResult) {
  const veltro::test::ReplacedMethod replaced(
      class_getInstanceMethod([UIDevice class], @selector(__zltIsProcessRunning:)), return_yes);
  EXPECT_TRUE([ZLTUtils isWhatsAppRunning]);
  EXPECT_EQ(asked, "WhatsApp");
  EXPECT_TRUE(calls.empty());
}

NSMutableArray *two_entries(id /*self*/, SEL /*selector*/) {
  return [NSMutableArray arrayWithObjects:@{@"PROCESS_NAME" : @"WhatsApp"}, @[], nil];
}

TEST_F(ProcessTableContract, RunningCheckStopsAtTheFirstEqualEntry) {
  const veltro::test::ReplacedMethod replaced(
      class_getInstanceMethod([UIDevice class], @selector(__zltRunningProcesses)), two_entries);
  // The second entry would not understand the question.
  EXPECT_TRUE([device() __zltIsProcessRunning:@"whatsapp"]);
}

TEST_F(ProcessTableContract, TableOfTheBareClass) {
  kernel = table_of({record(2, "two"), record(1, "one")});
  const veltro::ProcessTable table;
  ASSERT_EQ(table.count(), 2U);
  EXPECT_EQ(table.from_end(0).kp_proc.p_pid, 1);
  EXPECT_STREQ(table.from_end(1).kp_proc.p_comm, "two");
}

} // namespace
