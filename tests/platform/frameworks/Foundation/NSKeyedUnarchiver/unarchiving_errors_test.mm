// The forms of unarchiving that report an error.

#import <VeltroHost/NSKeyedArchiving+Device.h>

#include <gtest/gtest.h>

namespace {

NSData *archive_of(id object) {
  return [NSKeyedArchiver archivedDataWithRootObject:object];
}

NSKeyedUnarchiver *secure_reader_of(id object) {
  NSKeyedUnarchiver *const reader =
      [[[NSKeyedUnarchiver alloc] initForReadingWithData:archive_of(object)] autorelease];
  [reader setRequiresSecureCoding:YES];
  return reader;
}

TEST(UnarchivingErrors, ReturnsTheRootObject) {
  NSError *error = nil;
  EXPECT_TRUE([[NSKeyedUnarchiver unarchivedObjectOfClass:[NSString class]
                                                 fromData:archive_of(@"text")
                                                    error:&error] isEqual:@"text"]);
  NSSet *const classes = [NSSet setWithObjects:[NSDate class], [NSString class], nil];
  EXPECT_TRUE([[NSKeyedUnarchiver unarchivedObjectOfClasses:classes
                                                   fromData:archive_of(@"text")
                                                      error:&error] isEqual:@"text"]);
  EXPECT_TRUE([[NSKeyedUnarchiver unarchiveTopLevelObjectWithData:archive_of(@"text")
                                                            error:&error] isEqual:@"text"]);
  EXPECT_EQ(error, nil);
}

TEST(UnarchivingErrors, ReportsAClassNotAskedFor) {
  NSError *error = nil;
  EXPECT_EQ([NSKeyedUnarchiver unarchivedObjectOfClass:[NSDate class]
                                              fromData:archive_of(@"text")
                                                 error:&error],
            nil);
  EXPECT_TRUE([[error domain] isEqualToString:NSCocoaErrorDomain]);
  EXPECT_EQ([error code], NSCoderReadCorruptError);
  EXPECT_GT([[error localizedDescription] length], 0U);
  EXPECT_EQ([NSKeyedUnarchiver unarchivedObjectOfClass:[NSDate class]
                                              fromData:archive_of(@"text")
                                                 error:nullptr],
            nil);
}

TEST(UnarchivingErrors, ReportsDataThatIsNoArchive) {
  NSData *const texts[] = {nil, [NSData data], [@"text" dataUsingEncoding:NSUTF8StringEncoding],
                           [@"(a, b)" dataUsingEncoding:NSUTF8StringEncoding],
                           [NSData dataWithBytes:"bplist00\xff\xff" length:10]};
  for (NSData *data : texts) {
    NSError *error = nil;
    EXPECT_EQ([NSKeyedUnarchiver unarchivedObjectOfClass:[NSString class]
                                                fromData:data
                                                   error:&error],
              nil);
    EXPECT_EQ([error code], NSCoderReadCorruptError);
    error = nil;
    EXPECT_EQ([NSKeyedUnarchiver unarchiveTopLevelObjectWithData:data error:&error], nil);
    EXPECT_EQ([error code], NSCoderReadCorruptError);
  }
}

TEST(UnarchivingErrors, ReportsAnArchiveWithoutARoot) {
  NSMutableData *const data = [NSMutableData data];
  NSKeyedArchiver *const archiver =
      [[[NSKeyedArchiver alloc] initForWritingWithMutableData:data] autorelease];
  [archiver encodeObject:@"text" forKey:@"elsewhere"];
  [archiver finishEncoding];
  NSError *error = nil;
  EXPECT_EQ([NSKeyedUnarchiver unarchivedObjectOfClass:[NSString class] fromData:data error:&error],
            nil);
  EXPECT_EQ([error code], NSCoderValueNotFoundError);
}

TEST(UnarchivingErrors, KeysOfAReader) {
  NSError *error = nil;
  NSSet *const texts = [NSSet setWithObject:[NSString class]];
  EXPECT_TRUE([[secure_reader_of(@"text") decodeTopLevelObjectForKey:@"root"
                                                               error:&error] isEqual:@"text"]);
  EXPECT_TRUE([[secure_reader_of(@"text") decodeTopLevelObjectOfClass:[NSString class]
                                                               forKey:@"root"
                                                                error:&error] isEqual:@"text"]);
  EXPECT_TRUE([[secure_reader_of(@"text") decodeTopLevelObjectOfClasses:texts
                                                                 forKey:@"root"
                                                                  error:&error] isEqual:@"text"]);
  EXPECT_EQ([secure_reader_of(@"text") decodeTopLevelObjectForKey:@"missing" error:&error], nil);
  EXPECT_EQ(error, nil);

  EXPECT_EQ([secure_reader_of([NSDate date]) decodeTopLevelObjectOfClasses:texts
                                                                    forKey:@"root"
                                                                     error:&error],
            nil);
  EXPECT_EQ([error code], NSCoderReadCorruptError);
}

TEST(UnarchivingErrors, ReportsAClassUnknownHere) {
  NSMutableData *const data = [NSMutableData data];
  NSKeyedArchiver *const archiver =
      [[[NSKeyedArchiver alloc] initForWritingWithMutableData:data] autorelease];
  [archiver setClassName:@"UnknownHere" forClass:[NSURL class]];
  [archiver encodeObject:[NSURL URLWithString:@"http://a/b"] forKey:@"root"];
  [archiver finishEncoding];
  NSError *error = nil;
  EXPECT_EQ([NSKeyedUnarchiver unarchiveTopLevelObjectWithData:data error:&error], nil);
  EXPECT_EQ([error code], NSCoderReadCorruptError);
  error = nil;
  EXPECT_EQ([NSKeyedUnarchiver unarchivedObjectOfClass:[NSURL class] fromData:data error:&error],
            nil);
  EXPECT_EQ([error code], NSCoderReadCorruptError);
}

} // namespace
