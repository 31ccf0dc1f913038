// Source as it is written for the device, unchanged: what it is made of compiles and does here what
// it does there. What the runtime of GCC cannot do is not in it: subscripts of objects, properties
// without an instance variable of their own, instance variables outside the interface, ARC.

#import <Foundation/Foundation.h>
#import <UIKit/UIKit.h>
#import <objc/runtime.h>
#import <veltro/veltro.h>

#include <dispatch/dispatch.h>

#include <gtest/gtest.h>

NS_ASSUME_NONNULL_BEGIN

typedef NS_ENUM(NSInteger, VTMood) { VTMoodCalm, VTMoodHappy };
typedef NS_OPTIONS(NSUInteger, VTParts) {
  VTPartsNone = 0,
  VTPartsHead = 1 << 0,
  VTPartsTail = 1 << 1
};

@protocol VTSpeaking <NSObject>
- (NSString *)speak;
@optional
- (void)shout;
@end

@interface VTPerson : NSObject <VTSpeaking, NSCopying> {
  NSString *_name;
  NSUInteger _age;
  BOOL _tall;
  id<VTSpeaking> _delegate;
  void (^_handler)(NSString *_Nullable text);
}
@property (nonatomic, copy, nullable) NSString *name;
@property (nonatomic, assign) NSUInteger age;
@property (nonatomic, assign, getter=isTall) BOOL tall;
@property (nonatomic, assign, nullable) id<VTSpeaking> delegate;
@property (nonatomic, copy, nullable) void (^handler)(NSString *_Nullable text);
@property (nonatomic, readonly) NSString *greeting;
+ (instancetype)personWithName:(nullable NSString *)name;
- (instancetype)initWithName:(nullable NSString *)name NS_DESIGNATED_INITIALIZER;
@end

@interface VTPerson (Moods)
- (VTMood)mood;
@end

NS_ASSUME_NONNULL_END

@implementation VTPerson
@synthesize name = _name;
@synthesize age = _age;
@synthesize tall = _tall;
@synthesize delegate = _delegate;
@synthesize handler = _handler;

+ (instancetype)personWithName:(NSString *)name {
  return [[[self alloc] initWithName:name] autorelease];
}

- (instancetype)init {
  return [self initWithName:nil];
}

- (instancetype)initWithName:(NSString *)name {
  self = [super init];
  if (self) {
    _name = [name copy];
  }
  return self;
}

- (void)dealloc {
  [_name release];
  [_handler release];
  [super dealloc];
}

- (id)copyWithZone:(NSZone *)zone {
  return [[[self class] allocWithZone:zone] initWithName:self.name];
}

- (NSString *)greeting {
  return [NSString stringWithFormat:@"Hello, %@", self.name ?: @"nobody"];
}

- (NSString *)speak {
  return self.greeting;
}

@end

@implementation VTPerson (Moods)
- (VTMood)mood {
  return self.isTall ? VTMoodHappy : VTMoodCalm;
}
@end

static NSArray<NSString *> *VTNames(void) {
  return @[ @"Ann", @"Bob" ];
}

namespace {

TEST(Idioms, NilFitsEveryPointer) {
  NSString *const nowhere = @"/nowhere/at/all";
  EXPECT_TRUE([NSString stringWithContentsOfFile:nowhere encoding:NSUTF8StringEncoding
                                           error:nil] == nil);
  NSError *error = nil;
  id const list = [NSPropertyListSerialization propertyListWithData:[NSData data]
                                                            options:NSPropertyListImmutable
                                                             format:nil
                                                              error:&error];
  EXPECT_TRUE(list == nil && error != nil);
  ZLTKeyChainQuery *const query = [[[ZLTKeyChainQuery alloc] init] autorelease];
  EXPECT_FALSE([query save:nil]);
  Class none = Nil;
  SEL selector = nil;
  void (^block)(void) = nil;
  const char *text = nil;
  EXPECT_TRUE(none == Nil && selector == nil && block == nil && text == nil);
  id const object = error ? @"object" : nil;
  EXPECT_TRUE([object isEqual:@"object"]);
  UIView *view = nil;
  EXPECT_TRUE([view superview] == nil && view.tag == 0);
}

TEST(Idioms, Literals) {
  NSDictionary *const values = @{
    @"yes" : @YES,
    @"no" : @NO,
    @"integer" : @42,
    @"real" : @2.5,
    @"character" : @'c',
    @"boxed" : @(40 + 2),
    @"text" : @("UTF-8"),
    @"mood" : @(VTMoodHappy),
    @"list" : @[ @1, @2 ]
  };
  EXPECT_EQ([[values objectForKey:@"yes"] class], [[NSNumber numberWithBool:YES] class]);
  EXPECT_STREQ([[[values objectForKey:@"text"] description] UTF8String], "UTF-8");
  EXPECT_EQ([[values objectForKey:@"boxed"] intValue], 42);
  EXPECT_EQ([[values objectForKey:@"list"] count], 2U);
  EXPECT_TRUE([values objectForKey:@"no"] != nil && ![[values objectForKey:@"no"] boolValue]);
}

TEST(Idioms, PropertiesWithDots) {
  VTPerson *const person = [VTPerson personWithName:nil];
  EXPECT_STREQ(person.greeting.UTF8String, "Hello, nobody");
  NSMutableString *const name = [NSMutableString stringWithString:@"Ann"];
  person.name = name;
  [name setString:@"changed"];
  person.age += 2;
  person.tall = YES;
  person.delegate = person;
  EXPECT_STREQ([person.delegate speak].UTF8String, "Hello, Ann");
  EXPECT_EQ(person.age, 2U);
  EXPECT_EQ(person.mood, VTMoodHappy);
  VTPerson *const copy = [[person copy] autorelease];
  EXPECT_TRUE([copy.name isEqualToString:person.name] && copy != person);
  EXPECT_TRUE([person respondsToSelector:@selector(speak)]);
  EXPECT_FALSE([person respondsToSelector:@selector(shout)]);
}

TEST(Idioms, BlocksInPropertiesAndCollections) {
  __block NSUInteger letters = 0;
  VTPerson *const person = [VTPerson personWithName:@"Ann"];
  person.handler = ^(NSString *text) {
    letters += text.length;
  };
  person.handler(person.greeting);
  [VTNames() enumerateObjectsUsingBlock:^(NSString *name, NSUInteger index, BOOL *stop) {
    letters += name.length;
    *stop = index == 0 ? YES : NO;
  }];
  EXPECT_EQ(letters, 13U);
  NSArray *const sorted = [@[ @3, @1, @2 ] sortedArrayUsingComparator:^(id one, id other) {
    return [one compare:other];
  }];
  EXPECT_TRUE([sorted isEqual:(@[ @1, @2, @3 ])]);
}

TEST(Idioms, FastEnumeration) {
  NSUInteger letters = 0;
  for (NSString *name in VTNames())
    letters += name.length;
  for (NSString *key in @{@"one" : @1})
    letters += key.length;
  EXPECT_EQ(letters, 9U);
}

TEST(Idioms, ExceptionsLocksAndPools) {
  int steps = 0;
  @autoreleasepool {
    @try {
      [NSException raise:NSInvalidArgumentException format:@"%@", @"reason"];
    } @catch (NSException *exception) {
      steps += [exception.reason isEqualToString:@"reason"] ? 1 : 0;
    } @finally {
      steps += 10;
    } @
    synchronized([NSObject class]) {
      steps += 100;
    }
  }
  EXPECT_EQ(steps, 111);
}

TEST(Idioms, TheMainQueue) {
  static dispatch_once_t once;
  __block int steps = 0;
  for (int time = 0; time < 2; ++time)
    dispatch_once(&once, ^{
      steps += 1;
    });
  __block BOOL done = NO;
  dispatch_async(dispatch_get_main_queue(), ^{
    steps += 10;
    dispatch_after(dispatch_time(DISPATCH_TIME_NOW, (int64_t)(0.001 * NSEC_PER_SEC)),
                   dispatch_get_main_queue(), ^{
                     done = YES;
                   });
  });
  EXPECT_EQ(steps, 1);
  NSDate *const late = [NSDate dateWithTimeIntervalSinceNow:60];
  while (!done && [late timeIntervalSinceNow] > 0)
    [[NSRunLoop currentRunLoop] runMode:NSDefaultRunLoopMode
                             beforeDate:[NSDate dateWithTimeIntervalSinceNow:0.01]];
  EXPECT_TRUE(done);
  EXPECT_EQ(steps, 11);
}

TEST(Idioms, TheRuntimeByItsFunctions) {
  VTParts const parts = VTPartsHead | VTPartsTail;
  EXPECT_EQ(parts, 3U);
  EXPECT_TRUE(objc_getClass("VTPerson") == [VTPerson class]);
  EXPECT_TRUE(class_getInstanceMethod([VTPerson class], @selector(speak)) != nil);
  EXPECT_TRUE([NSStringFromClass([VTPerson class]) isEqualToString:@"VTPerson"]);
  EXPECT_TRUE([VTPerson instancesRespondToSelector:NSSelectorFromString(@"speak")]);
}

} // namespace
