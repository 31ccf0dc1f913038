// File times that have not ticked since a file was looked at: they stand still in this program.

#include "platform/frameworks/Security/keychain.hpp"

#include <dlfcn.h>

namespace {

int stopped(const char *name, auto file, struct stat *status) {
  const auto real =
      reinterpret_cast<int (*)(decltype(file), struct stat *)>(dlsym(RTLD_NEXT, name));
  const int result = real(file, status);
  status->st_ctim = {};
  return result;
}

} // namespace

extern "C" {

int stat(const char *path, struct stat *status) noexcept {
  return stopped("stat", path, status);
}

int fstat(int file, struct stat *status) noexcept {
  return stopped("fstat", file, status);
}

} // extern "C"

namespace veltro::test {
namespace {

using KeychainTicks = Keychain;

TEST_F(KeychainTicks, AKeyThatOthersMayReadIsRefusedAtOnce) {
  ASSERT_EQ(add(@"mail", @"ann", "secret"), errSecSuccess);
  ASSERT_EQ(chmod(paths().key.c_str(), 0644), 0);
  EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecNotAvailable);
  ASSERT_EQ(chmod(paths().key.c_str(), 0600), 0);
  EXPECT_EQ(status_of_search(item(@"mail", @"ann")), errSecSuccess);
}

} // namespace
} // namespace veltro::test
