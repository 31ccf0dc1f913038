// Secure coding in keyed archives, and the classes asked for.

#import <VeltroHost/NSKeyedArchiving+Device.h>

#include "support/scoped_lsan_disabler.hpp"

#include <gtest/gtest.h>

/// Supports secure coding; holds one object under the key "part".
@interface SecureBox : NSObject <NSSecureCoding> {
@public
  id _part;
}
+ (instancetype)boxWith:(id)part;
@end

@implementation SecureBox

+ (instancetype)boxWith:(id)part {
  SecureBox *const box = [[[self alloc] init] autorelease];
  box->_part = [part retain];
  return box;
}

+ (BOOL)supportsSecureCoding {
  return YES;
}

- (void)encodeWithCoder:(NSCoder *)coder {
  [coder encodeObject:_part forKey:@"part"];
}

- (id)initWithCoder:(NSCoder *)coder {
  self = [super init];
  if (self != nil)
    _part = [[coder decodeObjectForKey:@"part"] retain];
  return self;
}

- (void)dealloc {
  [_part release];
  [super dealloc];
}

@end

/// Inherits secure coding and changes nothing about its coding.
@interface SecureBoxSubclass : SecureBox
@end

@implementation SecureBoxSubclass
@end

/// Inherits secure coding, but decodes by itself without declaring that it does so securely.
@interface CarelessSubclass : SecureBox
@end

@implementation CarelessSubclass

- (id)initWithCoder:(NSCoder *)coder {
  return [super initWithCoder:coder];
}

@end

/// Declares that it does not support secure coding.
@interface RefusingBox : SecureBox
@end

@implementation RefusingBox

+ (BOOL)supportsSecureCoding {
  return NO;
}

@end

/// Raises in the middle of its encoding.
@interface RaisingBox : SecureBox
@end

@implementation RaisingBox

- (void)encodeWithCoder:(NSCoder *)coder {
  [coder encodeObject:@"begun" forKey:@"begun"];
  [NSException raise:NSGenericException format:@"not encoded"];
}

@end

/// Knows nothing of secure coding; counts how often one is made of an archive.
@interface PlainBox : NSObject <NSCoding>
@end

static int plain_boxes_decoded;

@implementation PlainBox

- (void)encodeWithCoder:(NSCoder *)coder {
}

- (id)initWithCoder:(NSCoder *)coder {
  ++plain_boxes_decoded;
  return [super init];
}

@end

namespace {

NSData *archive_of(id object) {
  return [NSKeyedArchiver archivedDataWithRootObject:object];
}

NSKeyedUnarchiver *reader_of(NSData *data, bool secure) {
  NSKeyedUnarchiver *const reader =
      [[[NSKeyedUnarchiver alloc] initForReadingWithData:data] autorelease];
  [reader setRequiresSecureCoding:secure];
  return reader;
}

/// What comes back of `object` where secure coding is required and `expected` asked for.
id securely(id object, Class expected) {
  return [reader_of(archive_of(object), true) decodeObjectOfClass:expected forKey:@"root"];
}

/// The name of the exception that `work` raises, or nil.
NSString *raised_by(void (^work)(void)) {
  const veltro::test::ScopedLsanDisabler disabler;
  @try {
    work();
    return nil;
  } @catch (NSException *exception) {
    return [exception name];
  }
}

bool refused(id object, Class expected) {
  return [raised_by(^{
    securely(object, expected);
  }) isEqualToString:NSInvalidUnarchiveOperationException];
}

bool comes_back(id object, Class expected) {
  return [securely(object, expected) isEqual:object];
}

TEST(SecureCoding, ClassAskedForPasses) {
  EXPECT_TRUE(comes_back(@"text", [NSString class]));
  EXPECT_TRUE(comes_back([NSNumber numberWithInt:-7], [NSNumber class]));
  EXPECT_TRUE(comes_back([NSNumber numberWithBool:YES], [NSNumber class]));
  EXPECT_TRUE(comes_back([NSDate dateWithTimeIntervalSinceReferenceDate:1.25], [NSDate class]));
  EXPECT_TRUE(comes_back([NSData dataWithBytes:"abc" length:3], [NSData class]));
  EXPECT_TRUE(comes_back([NSArray arrayWithObject:@"x"], [NSArray class]));
  EXPECT_TRUE(
      comes_back([NSDictionary dictionaryWithObject:@"v" forKey:@"k"], [NSDictionary class]));
  EXPECT_TRUE(comes_back([NSSet setWithObject:@"x"], [NSSet class]));
  EXPECT_TRUE(comes_back([NSNull null], [NSNull class]));
}

TEST(SecureCoding, SubclassOfTheClassAskedForPasses) {
  EXPECT_TRUE(comes_back([NSMutableString stringWithString:@"text"], [NSString class]));
  EXPECT_TRUE(comes_back([NSMutableArray arrayWithObject:@"x"], [NSArray class]));
  EXPECT_TRUE(comes_back([NSNumber numberWithInt:3], [NSValue class]));
  EXPECT_TRUE(comes_back(@"text", [NSObject class]));
  EXPECT_NE(securely([SecureBoxSubclass boxWith:nil], [SecureBox class]), nil);
}

TEST(SecureCoding, AnotherClassRaises) {
  EXPECT_TRUE(refused(@"text", [NSDate class]));
  EXPECT_TRUE(refused([NSNumber numberWithInt:1], [NSString class]));
  EXPECT_TRUE(refused([NSDate date], [NSString class]));
  EXPECT_TRUE(refused([NSData data], [NSString class]));
  EXPECT_TRUE(refused([NSArray array], [NSDictionary class]));
  EXPECT_TRUE(refused(@"text", [NSMutableString class]));
  EXPECT_TRUE(refused([SecureBox boxWith:nil], [SecureBoxSubclass class]));
}

TEST(SecureCoding, OneOfSeveralClassesPasses) {
  NSSet *const classes = [NSSet setWithObjects:[NSString class], [NSDate class], nil];
  EXPECT_TRUE([[reader_of(archive_of(@"text"), true) decodeObjectOfClasses:classes forKey:@"root"]
      isEqual:@"text"]);
  EXPECT_TRUE([raised_by(^{
    [reader_of(archive_of([NSNumber numberWithInt:1]), true) decodeObjectOfClasses:classes
                                                                            forKey:@"root"];
  }) isEqualToString:NSInvalidUnarchiveOperationException]);
}

TEST(SecureCoding, NullReferenceAndMissingKeyPassAnyClass) {
  NSMutableData *const data = [NSMutableData data];
  NSKeyedArchiver *const archiver =
      [[[NSKeyedArchiver alloc] initForWritingWithMutableData:data] autorelease];
  [archiver encodeObject:nil forKey:@"nothing"];
  [archiver finishEncoding];
  EXPECT_EQ([reader_of(data, true) decodeObjectOfClass:[NSDate class] forKey:@"nothing"], nil);
  EXPECT_EQ([reader_of(data, true) decodeObjectOfClass:[NSDate class] forKey:@"missing"], nil);
}

TEST(SecureCoding, ClassThatDoesNotSupportItIsRefusedBeforeItIsMade) {
  plain_boxes_decoded = 0;
  PlainBox *const plain = [[[PlainBox alloc] init] autorelease];
  EXPECT_TRUE(refused(plain, [PlainBox class]));
  EXPECT_TRUE(refused(plain, [NSString class]));
  EXPECT_TRUE(refused([RefusingBox boxWith:nil], [RefusingBox class]));
  EXPECT_EQ(plain_boxes_decoded, 0);
}

TEST(SecureCoding, ClassThatDecodesByItselfMustDeclareItAgain) {
  EXPECT_TRUE(refused([CarelessSubclass boxWith:nil], [SecureBox class]));
}

TEST(SecureCoding, PartsWithoutClassesOfTheirOwnAreHeldToTheWholesClasses) {
  EXPECT_TRUE(refused([SecureBox boxWith:@"text"], [SecureBox class]));
  SecureBox *const nested = [SecureBox boxWith:[SecureBox boxWith:nil]];
  EXPECT_TRUE([[static_cast<SecureBox *>(securely(nested, [SecureBox class]))->_part class]
      isEqual:[SecureBox class]]);
}

TEST(SecureCoding, ElementsMayBePropertyListObjectsOrTheClassesAskedFor) {
  NSArray *const plain = [NSArray
      arrayWithObjects:@"x", [NSNumber numberWithInt:1], [NSDate date], [NSData data], nil];
  EXPECT_TRUE(comes_back(plain, [NSArray class]));
  NSArray *const boxes = [NSArray arrayWithObject:[SecureBox boxWith:nil]];
  EXPECT_TRUE(refused(boxes, [NSArray class]));
  NSSet *const both = [NSSet setWithObjects:[NSArray class], [SecureBox class], nil];
  EXPECT_EQ([[reader_of(archive_of(boxes), true) decodeObjectOfClasses:both forKey:@"root"] count],
            1U);
  EXPECT_TRUE(
      refused([NSArray arrayWithObject:[[[PlainBox alloc] init] autorelease]], [NSObject class]));
}

TEST(SecureCoding, PropertyListObjectsInsideAnElementAreHeldToTheClasses) {
  NSSet *const both = [NSSet setWithObjects:[NSArray class], [SecureBox class], nil];
  NSArray *const boxes = [NSArray arrayWithObject:[SecureBox boxWith:@"text"]];
  EXPECT_TRUE([raised_by(^{
    [reader_of(archive_of(boxes), true) decodeObjectOfClasses:both forKey:@"root"];
  }) isEqualToString:NSInvalidUnarchiveOperationException]);
}

TEST(SecureCoding, FoundationsObjectsBringTheirParts) {
  NSError *const error = [NSError errorWithDomain:@"domain" code:3 userInfo:nil];
  EXPECT_TRUE([[securely(error, [NSError class]) domain] isEqual:@"domain"]);
  EXPECT_TRUE(comes_back([NSURL URLWithString:@"http://a/b"], [NSURL class]));
  EXPECT_TRUE(comes_back([NSUUID UUID], [NSUUID class]));
  EXPECT_TRUE(comes_back([NSDecimalNumber decimalNumberWithString:@"1.25"], [NSNumber class]));
}

TEST(SecureCoding, KeyWithoutAnyClassTakesWhateverSupportsIt) {
  EXPECT_TRUE([[reader_of(archive_of(@"text"), true) decodeObjectForKey:@"root"] isEqual:@"text"]);
  NSData *const plain = archive_of([[[PlainBox alloc] init] autorelease]);
  EXPECT_TRUE([raised_by(^{
    [reader_of(plain, true) decodeObjectForKey:@"root"];
  }) isEqualToString:NSInvalidUnarchiveOperationException]);
}

TEST(SecureCoding, ObjectMadeBeforeIsHeldToTheClassesAgain) {
  NSMutableData *const data = [NSMutableData data];
  NSKeyedArchiver *const archiver =
      [[[NSKeyedArchiver alloc] initForWritingWithMutableData:data] autorelease];
  SecureBox *const box = [SecureBox boxWith:nil];
  [archiver encodeObject:box forKey:@"first"];
  [archiver encodeObject:box forKey:@"second"];
  [archiver finishEncoding];
  NSKeyedUnarchiver *const reader = reader_of(data, true);
  EXPECT_NE([reader decodeObjectOfClass:[SecureBox class] forKey:@"first"], nil);
  EXPECT_TRUE([raised_by(^{
    [reader decodeObjectOfClass:[NSString class] forKey:@"second"];
  }) isEqualToString:NSInvalidUnarchiveOperationException]);
}

TEST(SecureCoding, ReaderIsOfUseAfterARefusal) {
  NSMutableData *const data = [NSMutableData data];
  NSKeyedArchiver *const archiver =
      [[[NSKeyedArchiver alloc] initForWritingWithMutableData:data] autorelease];
  [archiver encodeObject:[SecureBox boxWith:@"text"] forKey:@"bad"];
  [archiver encodeObject:@"good" forKey:@"good"];
  [archiver finishEncoding];
  NSKeyedUnarchiver *const reader = reader_of(data, true);
  EXPECT_TRUE([raised_by(^{
    [reader decodeObjectOfClass:[SecureBox class] forKey:@"bad"];
  }) isEqualToString:NSInvalidUnarchiveOperationException]);
  EXPECT_TRUE(comes_back(@"another reader", [NSString class]));
}

TEST(SecureCoding, ClassSetForANameIsTheOneThatCounts) {
  NSKeyedUnarchiver *const reader = reader_of(archive_of([SecureBox boxWith:nil]), true);
  [reader setClass:[SecureBoxSubclass class] forClassName:@"SecureBox"];
  EXPECT_TRUE([[[reader decodeObjectOfClass:[SecureBoxSubclass class]
                                     forKey:@"root"] class] isEqual:[SecureBoxSubclass class]]);
}

TEST(SecureCoding, WithoutItTheClassIsIgnored) {
  NSKeyedUnarchiver *const reader = reader_of(archive_of(@"text"), false);
  EXPECT_TRUE([[reader decodeObjectOfClass:[NSDate class] forKey:@"root"] isEqual:@"text"]);
  NSSet *const dates = [NSSet setWithObject:[NSDate class]];
  EXPECT_TRUE([[reader decodeObjectOfClasses:dates forKey:@"root"] isEqual:@"text"]);
  NSKeyedUnarchiver *const plain =
      reader_of(archive_of([[[PlainBox alloc] init] autorelease]), false);
  EXPECT_NE([plain decodeObjectOfClass:[NSDate class] forKey:@"root"], nil);
}

TEST(SecureCoding, FoundationDeclaresIt) {
  for (NSString *name in
       @[ @"NSString", @"NSMutableArray", @"NSNumber", @"NSDecimalNumber", @"NSDate", @"NSURL" ])
    EXPECT_TRUE([NSClassFromString(name) supportsSecureCoding]) << [name UTF8String];
}

TEST(SecureCoding, ArchiverRefusesWhatDoesNotSupportIt) {
  NSKeyedArchiver *const archiver =
      [[[NSKeyedArchiver alloc] initForWritingWithMutableData:[NSMutableData data]] autorelease];
  [archiver setRequiresSecureCoding:YES];
  EXPECT_EQ(raised_by(^{
              [archiver encodeObject:[SecureBox boxWith:@"text"] forKey:@"secure"];
              [archiver encodeObject:nil forKey:@"nothing"];
            }),
            nil);
  EXPECT_TRUE([raised_by(^{
    [archiver encodeObject:[[[PlainBox alloc] init] autorelease] forKey:@"plain"];
  }) isEqualToString:NSInvalidArchiveOperationException]);
}

TEST(SecureCoding, AnArchiverIsReleasedAfterAnObjectInsideAnotherRaised) {
  const veltro::test::ScopedLsanDisabler disabler;
  for (const bool secure : {true, true, false, false})
    @autoreleasepool {
      const id part = secure ? [[[PlainBox alloc] init] autorelease] : [RaisingBox boxWith:nil];
      NSArray *const nested = @[ [SecureBox boxWith:part] ];
      NSError *error = nil;
      EXPECT_EQ([NSKeyedArchiver archivedDataWithRootObject:nested
                                      requiringSecureCoding:secure
                                                      error:&error],
                nil);
      EXPECT_EQ([error code], NSCoderInvalidValueError);
    }
  EXPECT_TRUE(comes_back(@[ @"text" ], [NSArray class]));
}

TEST(SecureCoding, ArchivingReportsAnErrorWhereAsked) {
  NSError *error = nil;
  PlainBox *const plain = [[[PlainBox alloc] init] autorelease];
  EXPECT_EQ([NSKeyedArchiver archivedDataWithRootObject:plain
                                  requiringSecureCoding:YES
                                                  error:&error],
            nil);
  EXPECT_EQ([error code], NSCoderInvalidValueError);
  EXPECT_TRUE([[error domain] isEqualToString:NSCocoaErrorDomain]);
  EXPECT_EQ([NSKeyedArchiver archivedDataWithRootObject:plain
                                  requiringSecureCoding:YES
                                                  error:nullptr],
            nil);

  error = nil;
  for (const bool secure : {false, true}) {
    NSData *const data = [NSKeyedArchiver archivedDataWithRootObject:@"text"
                                               requiringSecureCoding:secure
                                                               error:&error];
    EXPECT_TRUE([[NSKeyedUnarchiver unarchiveObjectWithData:data] isEqual:@"text"]);
    EXPECT_EQ(error, nil);
  }
  EXPECT_NE([NSKeyedArchiver archivedDataWithRootObject:plain
                                  requiringSecureCoding:NO
                                                  error:&error],
            nil);
}

} // namespace
