// The process table of this machine, with real processes in it.

#import <veltro/UIDevice+ZLT.h>
#import <veltro/ZLTUtils+ProcessTable.h>

#include "support/exclusive.hpp"
#include "support/named_process.hpp"

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <unistd.h>

VELTRO_TEST_EXCLUSIVE;

namespace {

using veltro::test::NamedProcess;

// Names of this test process's own, so that neighbours cannot disturb it.
std::string own_name(const char *prefix) {
  return prefix + std::to_string(getpid());
}

NSString *text(const std::string &name) {
  return [NSString stringWithUTF8String:name.c_str()];
}

NSDictionary *entry_of(pid_t identifier) {
  for (NSDictionary *process in [[UIDevice currentDevice] __zltRunningProcesses])
    if ([[process objectForKey:@"PROCESS_ID"] intValue] == identifier)
      return process;
  return nil;
}

TEST(RealProcesses, ListHoldsThisProcessAndItsChild) {
  const std::string name = own_name("Child");
  const NamedProcess child(name.c_str());
  EXPECT_NE(entry_of(getpid()), nil);
  EXPECT_TRUE([[entry_of(child.pid()) objectForKey:@"PROCESS_NAME"] isEqual:text(name)]);
}

TEST(RealProcesses, OlderOnesComeFirst) {
  const NamedProcess child(own_name("Child").c_str());
  NSUInteger mine = NSNotFound;
  NSUInteger childs = NSNotFound;
  NSUInteger index = 0;
  for (NSDictionary *process in [[UIDevice currentDevice] __zltRunningProcesses]) {
    if ([[process objectForKey:@"PROCESS_ID"] intValue] == getpid())
      mine = index;
    if ([[process objectForKey:@"PROCESS_ID"] intValue] == child.pid())
      childs = index;
    ++index;
  }
  ASSERT_NE(mine, NSNotFound);
  ASSERT_NE(childs, NSNotFound);
  // Identifiers may have wrapped around meanwhile.
  EXPECT_EQ(mine < childs, getpid() < child.pid());
}

TEST(RealProcesses, BothNameTests) {
  const std::string name = own_name("ZltProc");
  std::optional<NamedProcess> process(std::in_place, name.c_str());
  EXPECT_TRUE([[UIDevice currentDevice] __zltIsProcessRunning:text(name)]);
  EXPECT_TRUE([[UIDevice currentDevice] __zltIsProcessRunning:[text(name) uppercaseString]]);
  EXPECT_FALSE([[UIDevice currentDevice] __zltIsProcessRunning:text(name.substr(1))]);
  EXPECT_EQ([[UIDevice currentDevice] __zltGetPIDForProcess:text(name)], process->pid());
  EXPECT_EQ([[UIDevice currentDevice] __zltGetPIDForProcess:text(name.substr(1))], process->pid());
  EXPECT_EQ([[UIDevice currentDevice] __zltGetPIDForProcess:[text(name) uppercaseString]], 0);

  process.reset();
  EXPECT_FALSE([[UIDevice currentDevice] __zltIsProcessRunning:text(name)]);
  EXPECT_EQ([[UIDevice currentDevice] __zltGetPIDForProcess:text(name)], 0);
}

TEST(RealProcesses, MessagingAppRunsInAnyCase) {
  for (const char *name : {"WhatsApp", "whatsapp", "WHATSAPP"}) {
    const NamedProcess app(name);
    EXPECT_TRUE([ZLTUtils isWhatsAppRunning]) << name;
  }
}

TEST(RealProcesses, LongerNameIsNotTheMessagingAppButIsFound) {
  const std::string name = own_name("WhatsAppX").substr(0, 15);
  const NamedProcess app(name.c_str());
  EXPECT_TRUE([[entry_of(app.pid()) objectForKey:@"PROCESS_NAME"] isEqual:text(name)]);
  EXPECT_FALSE([ZLTUtils isWhatsAppRunning]);
  EXPECT_EQ([[UIDevice currentDevice] __zltGetPIDForProcess:text(name)], app.pid());
  EXPECT_NE([[UIDevice currentDevice] __zltGetPIDForProcess:@"WhatsAppX"], 0);
}

TEST(RealProcesses, NameThatIsNoTextIsNotMistakenForAnother) {
  const std::string name = own_name("Raw");
  const NamedProcess raw((name + "\xff\xfe").c_str());
  EXPECT_FALSE([[UIDevice currentDevice] __zltIsProcessRunning:text(name)]);
  EXPECT_TRUE([[UIDevice currentDevice] __zltIsProcessRunning:text(name + "??")]);
}

} // namespace
