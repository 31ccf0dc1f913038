// The model where there is no memory for it: the allocation is the test's own. What is handed out
// for zero bytes may not be touched at all, which no sanitizer sees: theirs are one byte long.

#import <veltro/ZLTUtils+System.h>

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/sysctl.h>
#include <unistd.h>

namespace {

size_t reported;  ///< the length that the variable is said to have
bool can_be_read; ///< whether the variable can be read
bool asked_for_length;
bool watching;               ///< whether the allocations are the library's
void *given;                 ///< what was handed out for `reported` bytes
void *const none = nullptr;  ///< handed out where there is no memory
void *const *handed = &none; ///< what to hand out

char leftover[] = "leftover"; ///< what an earlier user left in the memory that is handed out

/// A page without any rights.
void *forbidden() {
  static void *const page = mmap(nullptr, static_cast<size_t>(sysconf(_SC_PAGESIZE)), PROT_NONE,
                                 MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return page;
}

} // namespace

extern "C" {

void *__libc_malloc(size_t size);
void __libc_free(void *block);

int sysctlbyname(const char *, void *buffer, size_t *length, void *, size_t) {
  watching = !asked_for_length; // the allocation comes between the two calls
  asked_for_length = !asked_for_length;
  given = buffer;
  *length = reported;
  return can_be_read ? 0 : -1;
}

#if !__has_feature(address_sanitizer)
void *malloc(size_t size) {
  if (!watching || size != reported)
    return __libc_malloc(size);
  watching = false;
  return *handed;
}

void free(void *block) {
  if (block != forbidden() && block != leftover)
    __libc_free(block);
}
#endif

} // extern "C"

namespace {

class ModelWithoutMemory : public testing::Test {
protected:
  void SetUp() override {
#if __has_feature(address_sanitizer)
    GTEST_SKIP() << "the sanitizer's allocation stands in the way";
#endif
    [ZLTUtils platform]; // so that the string classes have made what they keep
  }
};

TEST_F(ModelWithoutMemory, NothingIsWrittenToABlockOfNoBytes) {
  void *const block = forbidden();
  handed = &block;
  for (const bool readable : {true, false}) {
    can_be_read = readable;
    reported = 0;
    EXPECT_STREQ([[ZLTUtils platform] UTF8String], "");
    EXPECT_EQ(given, block);
  }
  handed = &none;
}

TEST_F(ModelWithoutMemory, NothingIsWrittenWithoutMemory) {
  reported = 4711;
  EXPECT_STREQ([[ZLTUtils platform] UTF8String], "");
  EXPECT_EQ(given, nullptr);
}

TEST_F(ModelWithoutMemory, WhatCannotBeReadIsNotWhatStoodInTheMemory) {
  void *const block = leftover;
  handed = &block;
  can_be_read = false;
  reported = sizeof leftover;
  EXPECT_STREQ([[ZLTUtils platform] UTF8String], "");
  EXPECT_EQ(given, block);
  handed = &none;
}

} // namespace
