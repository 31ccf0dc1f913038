// A system without LSApplicationProxy: the program's own objc_getClass does not find the class.
#import <ChatKit/ChatKit.h>
#import <veltro/ZLTUtils+Apps.h>

#include "support/app_bundles.hpp"

#include <cstring>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <objc/runtime.h>

namespace {

int lookups = 0;

} // namespace

extern "C" Class objc_getClass(const char *name) {
  using Function = Class (*)(const char *);
  static const auto real = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "objc_getClass"));
  if (std::strcmp(name, "LSApplicationProxy") != 0)
    return real(name);
  ++lookups;
  return nil;
}

namespace {

TEST(NoAppRegistry, MeansNoUserApps) {
  veltro::test::lay_user_app("an.app", "App", "U1");
  lookups = 0;
  EXPECT_EQ([ZLTUtils applicationInstalledDirectory:@"an.app"], nil);
  EXPECT_EQ([ZLTUtils applicationDataContainerDirectory:@"an.app"], nil);
  EXPECT_EQ([ZLTUtils appExecutableName:@"an.app"], nil);
  EXPECT_EQ([ZLTUtils bundleForIdentifier:@"an.app"], nil);
  EXPECT_EQ(lookups, 4) << "the class is looked up by name at every call";
}

} // namespace
