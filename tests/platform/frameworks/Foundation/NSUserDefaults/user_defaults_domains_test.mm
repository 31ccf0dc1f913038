#import <Foundation/Foundation.h>

#include "support/captured_log.hpp"
#include "support/scoped_lsan_disabler.hpp"
#include "support/scratch.hpp"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

/// GNUstep's, with a file's path: the domains lie beside it.
@interface NSUserDefaults (Folder)
- (id)initWithContentsOfFile:(NSString *)path;
@end

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;

NSString *const kName = @"org.example.domain";

fs::path folder() {
  return veltro::test::device_root() / "var/mobile/Library/Preferences";
}

fs::path file() {
  return folder() / "org.example.domain.plist";
}

mode_t mode_of(const fs::path &path) {
  struct stat status{};
  stat(path.c_str(), &status);
  return status.st_mode & 0777;
}

NSUserDefaults *defaults() {
  return [NSUserDefaults standardUserDefaults];
}

NSDictionary *number(int value) {
  return [NSDictionary dictionaryWithObject:[NSNumber numberWithInt:value] forKey:@"number"];
}

int stored() {
  return [[[defaults() persistentDomainForName:kName] objectForKey:@"number"] intValue];
}

class UserDefaultsDomains : public testing::Test {
protected:
  UserDefaultsDomains() {
    fs::remove_all(veltro::test::device_root() / "var");
    veltro::test::clear_log();
  }
};

TEST_F(UserDefaultsDomains, AreMissingUntilTheyAreWritten) {
  EXPECT_EQ([defaults() persistentDomainForName:kName], nil);
  EXPECT_EQ([defaults() persistentDomainForName:nil], nil);
  EXPECT_FALSE(fs::exists(folder())) << "reading creates nothing";
}

TEST_F(UserDefaultsDomains, ComeBackAsTheyWereWritten) {
  NSDictionary *const settings = [NSDictionary
      dictionaryWithObjectsAndKeys:[NSNumber numberWithBool:YES], @"yes",
                                   [NSNumber numberWithBool:NO], @"no",
                                   [NSNumber numberWithDouble:0.5], @"half", @"\u00fc", @"text",
                                   [NSArray arrayWithObject:@"one"], @"array", nil];
  [defaults() setPersistentDomain:settings forName:kName];
  NSDictionary *const read = [defaults() persistentDomainForName:kName];
  EXPECT_TRUE([read isEqual:settings]);
  EXPECT_EQ([[read objectForKey:@"yes"] class], [[NSNumber numberWithBool:YES] class]);
}

TEST_F(UserDefaultsDomains, AreFilesOfTheUserOnly) {
  const mode_t old = umask(0);
  [defaults() setPersistentDomain:number(1) forName:kName];
  umask(old);
  EXPECT_EQ(mode_of(folder()), 0700U);
  EXPECT_EQ(mode_of(file()), 0600U);
  std::ifstream stream(file());
  std::string start(8, ' ');
  stream.read(start.data(), 8);
  EXPECT_EQ(start, "bplist00");
}

TEST_F(UserDefaultsDomains, ShowWhatAnotherProcessWrote) {
  [defaults() setPersistentDomain:number(1) forName:kName];
  EXPECT_EQ(stored(), 1);
  const pid_t other = fork();
  if (other == 0) {
    [defaults() setPersistentDomain:number(2) forName:kName];
    _exit(0);
  }
  waitpid(other, nullptr, 0);
  EXPECT_EQ(stored(), 2);
}

TEST_F(UserDefaultsDomains, AreReadInEveryFormat) {
  fs::create_directories(folder());
  std::ofstream(file()) << "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\">"
                           "<dict><key>number</key><integer>7</integer></dict></plist>";
  EXPECT_EQ(stored(), 7);
}

const std::string kNoLists[] = {"",
                                "bplist00 nonsense",
                                "<plist><array/></plist>",
                                "bplist00" + std::string(50, '\xff'),
                                std::string(100, '\0'),
                                std::string(100000, '(')};

TEST_F(UserDefaultsDomains, AreMissingWhereTheFileIsCorrupt) {
  fs::create_directories(folder());
  for (const std::string &text : kNoLists) {
    veltro::test::clear_log();
    fs::remove(file());
    std::ofstream(file()) << text;
    EXPECT_EQ([defaults() persistentDomainForName:kName], nil) << text;
    EXPECT_EQ([defaults() persistentDomainForName:kName], nil) << text;
    EXPECT_THAT(veltro::test::logged_lines(),
                ElementsAre("Not a property list, counts as missing: " + file().string()))
        << text;
  }
  EXPECT_EQ(std::distance(fs::directory_iterator(folder()), fs::directory_iterator()), 1)
      << "reading leaves it where it is";
}

std::string contents(const fs::path &path) {
  std::ifstream stream(path);
  return {std::istreambuf_iterator<char>(stream), {}};
}

TEST_F(UserDefaultsDomains, KeepACorruptFileUnderAnotherName) {
  fs::create_directories(folder());
  std::ofstream(file()) << kNoLists[1];
  [defaults() setPersistentDomain:number(3) forName:kName];
  EXPECT_EQ(stored(), 3);
  EXPECT_EQ(contents(file().string() + ".corrupt-1"), kNoLists[1]);
  std::ofstream(file()) << kNoLists[3];
  [defaults() setPersistentDomain:number(4) forName:kName];
  EXPECT_EQ(stored(), 4);
  EXPECT_EQ(contents(file().string() + ".corrupt-1"), kNoLists[1]) << "the first as it was";
  EXPECT_EQ(contents(file().string() + ".corrupt-2"), kNoLists[3]);
  EXPECT_THAT(veltro::test::logged_lines(),
              ElementsAre("Not a property list, kept as " + file().string() + ".corrupt-1",
                          "Not a property list, kept as " + file().string() + ".corrupt-2"));
}

TEST_F(UserDefaultsDomains, KeepTheApplicationsOwnCorruptFileToo) {
  const fs::path home = veltro::test::scratch() / "defaults";
  fs::create_directories(home);
  NSString *const beside = [NSString stringWithUTF8String:(home / "any").c_str()];
  const fs::path own =
      home / ([[[NSProcessInfo processInfo] processName] UTF8String] + std::string(".plist"));
  for (const std::string &text : kNoLists) {
    fs::remove_all(own.string() + ".corrupt-1");
    std::ofstream(own) << text;
    NSUserDefaults *mine = nil;
    {
      // GNUstep does not release what it read the file's text with.
      const veltro::test::ScopedLsanDisabler disabler;
      mine = [[[NSUserDefaults alloc] initWithContentsOfFile:beside] autorelease];
    }
    EXPECT_EQ([mine objectForKey:@"key"], nil);
    [mine setObject:@"value" forKey:@"key"];
    EXPECT_TRUE([mine synchronize]);
    EXPECT_EQ(contents(own.string() + ".corrupt-1"), text);
    EXPECT_TRUE(
        [[[NSDictionary dictionaryWithContentsOfFile:[NSString stringWithUTF8String:own.c_str()]]
            objectForKey:@"key"] isEqual:@"value"]);
  }
}

TEST_F(UserDefaultsDomains, AreReplacedAsAWholeWhileOthersRead) {
  [defaults() setPersistentDomain:number(1) forName:kName];
  const pid_t writer = fork();
  if (writer == 0) {
    alarm(250);
    for (int i = 0; i < 50; ++i) {
      @autoreleasepool {
        [defaults() setPersistentDomain:number(1 + i % 2) forName:kName];
      }
    }
    _exit(0);
  }
  int missing = 0;
  while (waitpid(writer, nullptr, WNOHANG) == 0) {
    @autoreleasepool {
      missing += stored() == 0 ? 1 : 0;
    }
  }
  EXPECT_EQ(missing, 0);
  EXPECT_EQ(std::distance(fs::directory_iterator(folder()), fs::directory_iterator()), 1);
}

TEST_F(UserDefaultsDomains, CanBeRemoved) {
  [defaults() setPersistentDomain:number(1) forName:kName];
  [defaults() removePersistentDomainForName:kName];
  EXPECT_EQ([defaults() persistentDomainForName:kName], nil);
  EXPECT_FALSE(fs::exists(file()));
}

TEST_F(UserDefaultsDomains, DoNotLeaveTheirFolder) {
  for (NSString *bad : {@"../../escaped", @"/tmp/escaped", @""}) {
    [defaults() setPersistentDomain:number(1) forName:bad];
    EXPECT_EQ([defaults() persistentDomainForName:bad], nil) << [bad UTF8String];
  }
  EXPECT_FALSE(fs::exists(folder()));
  EXPECT_EQ(veltro::test::logged_lines().size(), 3U);
}

TEST_F(UserDefaultsDomains, AreNotWrittenWithoutANameOrSettings) {
  [defaults() setPersistentDomain:number(1) forName:nil];
  [defaults() setPersistentDomain:nil forName:kName];
  [defaults() removePersistentDomainForName:nil];
  EXPECT_FALSE(fs::exists(folder()));
  EXPECT_THAT(veltro::test::logged_lines(),
              ElementsAre("Preferences not written: no name",
                          "Preferences not written: org.example.domain"));
}

TEST_F(UserDefaultsDomains, AreNotWrittenUnderANameWithoutUTF8) {
  NSMutableString *const name = [NSMutableString stringWithString:@"a\U0001F600b"];
  [name deleteCharactersInRange:NSMakeRange(2, 1)]; // half a surrogate pair
  [defaults() setPersistentDomain:number(1) forName:name];
  EXPECT_FALSE(fs::exists(folder()));
  EXPECT_THAT(veltro::test::logged_lines(), ElementsAre("Preferences not written: "));
}

TEST_F(UserDefaultsDomains, SayWhatCannotBeWritten) {
  std::ofstream(veltro::test::device_root() / "var") << "a file";
  [defaults() setPersistentDomain:number(1) forName:kName];
  fs::remove(veltro::test::device_root() / "var");
  NSArray *const no_list = [NSArray arrayWithObjects:@"text", defaults(), nil];
  [defaults() setPersistentDomain:[NSDictionary dictionaryWithObject:no_list forKey:@"key"]
                          forName:kName];
  EXPECT_FALSE(fs::exists(file()));
  EXPECT_THAT(veltro::test::logged_lines(),
              ElementsAre("Preferences not written: org.example.domain",
                          "Preferences not written: org.example.domain"));
}

TEST_F(UserDefaultsDomains, LeaveTheApplicationsOwnToGNUstep) {
  NSString *const own = [[NSProcessInfo processInfo] processName];
  [defaults() setPersistentDomain:number(9) forName:own];
  EXPECT_EQ([[defaults() objectForKey:@"number"] intValue], 9);
  EXPECT_EQ([[[defaults() persistentDomainForName:own] objectForKey:@"number"] intValue], 9);
  [defaults() removePersistentDomainForName:own];
  EXPECT_EQ([defaults() objectForKey:@"number"], nil);
  EXPECT_FALSE(fs::exists(folder()));
  EXPECT_THAT(veltro::test::logged_lines(), IsEmpty());
}

} // namespace
