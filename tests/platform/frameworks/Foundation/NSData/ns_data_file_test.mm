// Reading a file into NSData.
#import <Foundation/Foundation.h>

#include "support/app_bundles.hpp"

#include <atomic>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>

namespace {

namespace fs = std::filesystem;
using namespace veltro::test;

class DataOfFile : public testing::Test {
protected:
  static NSString *text(const fs::path &path) {
    return [NSString stringWithUTF8String:path.c_str()];
  }

  const ScratchFolder folder_;
  const fs::path file_ = folder_.path() / "file";
};

TEST_F(DataOfFile, HasTheWholeFile) {
  for (const std::size_t length : {0U, 1U, 16383U, 16384U, 16385U, 1000000U}) {
    const std::string contents(length, 'x');
    write_file(file_, contents);
    NSData *data = [NSData dataWithContentsOfFile:text(file_)];
    ASSERT_NE(data, nil) << length;
    EXPECT_EQ(std::string(static_cast<const char *>([data bytes]), [data length]), contents);
  }
}

TEST_F(DataOfFile, CanBeMutable) {
  write_file(file_, "text");
  NSMutableData *data = [NSMutableData dataWithContentsOfFile:text(file_)];
  [data appendBytes:"!" length:1];
  EXPECT_EQ(std::string(static_cast<const char *>([data bytes]), [data length]), "text!");
}

TEST_F(DataOfFile, IsNoneWithoutAFile) {
  EXPECT_EQ([NSData dataWithContentsOfFile:text(file_)], nil);
  EXPECT_EQ([NSData dataWithContentsOfFile:text(folder_.path())], nil);
  EXPECT_EQ([NSData dataWithContentsOfFile:@""], nil);
  EXPECT_EQ([NSData dataWithContentsOfFile:nil], nil);
  const unichar half_a_pair = 0xD83D;
  EXPECT_EQ([NSData dataWithContentsOfFile:[NSString stringWithCharacters:&half_a_pair length:1]],
            nil);
  ASSERT_EQ(mkfifo(file_.c_str(), 0600), 0);
  EXPECT_EQ([NSData dataWithContentsOfFile:text(file_)], nil) << "and does not wait for a writer";
}

TEST_F(DataOfFile, IsReadWhileTheFileIsWritten) {
  std::atomic<bool> done = false;
  std::thread writer([&] {
    for (int round = 0; round < 500; ++round)
      std::ofstream(file_) << "some text";
    done = true;
  });
  while (!done)
    @autoreleasepool {
      EXPECT_NO_THROW([NSData dataWithContentsOfFile:text(file_)]);
    }
  writer.join();
  EXPECT_EQ([[NSData dataWithContentsOfFile:text(file_)] length], 9U);
}

} // namespace
