#include "frameworks/libSystem/blocks.hpp"

#include <Block.h>
#import <Foundation/Foundation.h>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>

/// Counts how many of its kind are alive.
@interface VTCounted : NSObject
@end

namespace {
int alive = 0;
} // namespace

@implementation VTCounted
- (instancetype)init {
  self = [super init];
  if (self != nil)
    alive += 1;
  return self;
}
- (void)dealloc {
  alive -= 1;
  [super dealloc];
}
@end

namespace {

using Question = int (^)();

// Made out of the test's frame, so that the copy cannot live off what is still on the stack.
[[gnu::noinline]] Question adder(int first, int second) {
  return Block_copy(^{
    return first + second;
  });
}

[[gnu::noinline]] int overwrite_the_stack() {
  volatile int junk[512];
  for (const int i : {0, 511})
    junk[i] = -1;
  return junk[0] + junk[511];
}

TEST(Blocks, AreThoseOfThisPlatform) {
  Dl_info info{};
  ASSERT_NE(dladdr(dlsym(RTLD_DEFAULT, "_Block_object_assign"), &info), 0);
  EXPECT_NE(std::string(info.dli_fname).find("libveltro-host"), std::string::npos);
}

TEST(Blocks, CopiesABlockThatCapturesNoObject) {
  const Question question = adder(40, 2);
  EXPECT_EQ(overwrite_the_stack(), -2);
  EXPECT_EQ(question(), 42);
  Block_release(question);
}

TEST(Blocks, NullAndGlobalBlocksStayThemselves) {
  EXPECT_EQ(_Block_copy(nullptr), nullptr);
  _Block_release(nullptr);
  const Question global = ^{
    return 1;
  };
  EXPECT_EQ(Block_copy(global), global);
  Block_release(global);
  EXPECT_EQ(global(), 1);
}

TEST(Blocks, ACopyOfACopyIsOneMoreReference) {
  alive = 0;
  VTCounted *object = [[VTCounted alloc] init];
  const Question first = Block_copy(^{
    return object != nil ? 1 : 0;
  });
  const Question second = Block_copy(first);
  EXPECT_EQ(first, second);
  [object release];
  Block_release(first);
  EXPECT_EQ(alive, 1);
  EXPECT_EQ(second(), 1);
  Block_release(second);
  EXPECT_EQ(alive, 0);
}

TEST(Blocks, RetainsCapturedObjectsUntilTheLastRelease) {
  alive = 0;
  VTCounted *object = [[VTCounted alloc] init];
  void (^block)() = Block_copy(^{
    [object self];
  });
  EXPECT_EQ([object retainCount], 2U);
  [object release];
  EXPECT_EQ(alive, 1);
  block();
  Block_release(block);
  EXPECT_EQ(alive, 0);
}

TEST(Blocks, CopiesCapturedBlocksToo) {
  const int base = 40;
  int more = 2;
  const Question inner = ^{
    return base + more;
  };
  const Question outer = Block_copy(^{
    return inner();
  });
  more = 100;
  EXPECT_EQ(overwrite_the_stack(), -2);
  EXPECT_EQ(outer(), 42);
  Block_release(outer);
}

TEST(Blocks, SharesABlockVariableBetweenScopeAndCopies) {
  __block int count = 0;
  void (^first)() = Block_copy(^{
    count += 1;
  });
  void (^second)() = Block_copy(^{
    count += 10;
  });
  first();
  second();
  count += 100;
  EXPECT_EQ(count, 111);
  Block_release(first);
  second();
  EXPECT_EQ(count, 121);
  Block_release(second);
  EXPECT_EQ(count, 121);
}

TEST(Blocks, DoesNotRetainObjectsInBlockVariables) {
  alive = 0;
  __block VTCounted *object = [[VTCounted alloc] init];
  void (^block)() = Block_copy(^{
    [object self];
  });
  EXPECT_EQ([object retainCount], 1U);
  Block_release(block);
  EXPECT_EQ(alive, 1);
  [object release];
  EXPECT_EQ(alive, 0);
}

TEST(Blocks, CopiesAndDestroysCxxObjects) {
  const auto shared = std::make_shared<int>(7);
  {
    // The copy is what is tested. NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
    __block std::shared_ptr<int> variable = shared;
    const Question block = Block_copy(^{
      return *shared + *variable;
    });
    EXPECT_EQ(block(), 14);
    EXPECT_GE(shared.use_count(), 3);
    Block_release(block);
  }
  EXPECT_EQ(shared.use_count(), 1);
}

// Blocks as objects.

[[gnu::noinline]] NSArray *adders() {
  NSMutableArray *const all = [NSMutableArray array];
  for (int first = 0; first < 3; ++first)
    [all addObject:[[^{
           return first + 40;
         } copy] autorelease]];
  return all;
}

TEST(Blocks, AreCopiedAndReleasedByMessage) {
  alive = 0;
  VTCounted *const object = [[VTCounted alloc] init];
  id const copy = [^{
    return object != nil ? 1 : 0;
  } copy];
  [object release];
  EXPECT_EQ([copy copy], copy) << "one more reference";
  [copy release];
  EXPECT_EQ([copy retain], copy);
  [copy release];
  const Question question = copy;
  EXPECT_EQ(question(), 1);
  [copy release];
  EXPECT_EQ(alive, 0);
}

TEST(Blocks, AreHeldByCollections) {
  NSArray *const questions = adders();
  EXPECT_EQ(overwrite_the_stack(), -2);
  const Question question = [questions objectAtIndex:2];
  EXPECT_EQ(question(), 42);
}

TEST(Blocks, StayOnTheStackWhenTheyAreRetained) {
  int value = 7;
  const Question on_stack = ^{
    return value;
  };
  EXPECT_EQ([static_cast<id>(on_stack) retain], static_cast<id>(on_stack));
  [static_cast<id>(on_stack) release];
  EXPECT_EQ(on_stack(), 7);
}

TEST(Blocks, AreObjectsWithoutACaptureToo) {
  id const global = ^{
    return 1;
  };
  EXPECT_EQ([[global copy] autorelease], global);
  EXPECT_TRUE([global isKindOfClass:[NSObject class]]);
  EXPECT_FALSE([global isEqual:@"text"]);
}

TEST(Blocks, ABlockReferencedTooOftenStaysForEver) {
  int value = 5;
  const Question block = Block_copy(^{
    return value;
  });
  for (int i = 0; i < 70000; ++i)
    EXPECT_EQ(veltro::host::copy_block(reinterpret_cast<const void *>(block)),
              reinterpret_cast<const void *>(block));
  for (int i = 0; i < 70000; ++i)
    veltro::host::release_block(reinterpret_cast<const void *>(block));
  EXPECT_EQ(block(), 5);
  free(reinterpret_cast<void *>(block));
}

} // namespace
