// A component as an add-on's author builds it for the device: a bit of everything that the loader
// has to make work beside the library.

#import <Foundation/Foundation.h>
#import <veltro/veltro.h>

@interface NSException : NSObject
+ (void)raise:(NSString *)name format:(NSString *)format, ...;
@end

struct Extent {
  double left, width, right;
};

@protocol AddOnNamed <NSObject>
- (NSString *)name;
@end

@protocol AddOnCounting <AddOnNamed>
- (NSInteger)count;
@end

@interface AddOnCounter : NSObject <AddOnCounting> {
  BOOL _even;
  NSInteger _count;
  NSString *_name;
}
@property (nonatomic, copy) NSString *name;
@property (nonatomic) BOOL even;
@end

// Set by the destructor of what a method holds while an exception passes it.
extern "C" int add_on_cleanups;
int add_on_cleanups = 0;

extern "C" NSString *const AddOnGreeting = @"gr\u00fc\u00df dich \U0001F600";

namespace {

struct Cleanup {
  ~Cleanup() { ++add_on_cleanups; }
};

} // namespace

@implementation AddOnCounter
@synthesize name = _name, even = _even;
+ (AddOnCounter *)counterWithName:(NSString *)name {
  AddOnCounter *const made = [[[self alloc] init] autorelease];
  made.name = name;
  return made;
}
- (void)dealloc {
  [_name release];
  [super dealloc];
}
- (NSInteger)count {
  return _count;
}
- (void)add:(NSInteger)number {
  _count += number;
  _even = _count % 2 == 0;
}
- (NSInteger (^)(NSInteger))adder {
  return [[^(NSInteger number) {
    [self add:number];
    return [self count];
  } copy] autorelease];
}
- (void)apply:(void (^)(void))block {
  const Cleanup cleanup;
  block();
}
- (void)raise:(NSString *)reason {
  [self apply:^{
    [NSException raise:@"AddOnException" format:@"%@ at %ld", reason, (long)[self count]];
  }];
}
- (Extent)extentOf:(double)width {
  return {.left = double(_count), .width = width, .right = double(_count) + width};
}
- (double)rightOf:(double)width {
  return [self extentOf:width].right;
}
@end

@interface AddOnMessage : ZLTWhatsAppMessage {
  NSInteger _priority;
}
@property (nonatomic) NSInteger priority;
@end

@implementation AddOnMessage
@synthesize priority = _priority;
- (void)setContent:(id)content {
  [super setContent:[NSString stringWithFormat:@"%@!", content]];
}
@end

// The superclass has a variable of the same name where the add-on runs, which its author cannot
// know.
@interface AddOnFormatter : NSDateFormatter {
  NSInteger _dateFormat;
}
- (NSInteger)mark;
- (void)setMark:(NSInteger)mark;
@end

@implementation AddOnFormatter
- (NSInteger)mark {
  return _dateFormat;
}
- (void)setMark:(NSInteger)mark {
  _dateFormat = mark;
}
@end

// Values of 64 bits among narrower ones, which two platforms may pass in different places.
@protocol AddOnMixing
- (double)mix:(int)a with:(double)b and:(short)c and:(long long)d and:(float)e and:(double)f;
- (void)visit:(long long (^)(int number, long long wide, char narrow, double real))visitor;
@end

@interface AddOnMixer : NSObject
@end

@implementation AddOnMixer
+ (double)mix:(int)a with:(double)b and:(short)c and:(long long)d and:(float)e and:(double)f {
  return a + 10 * b + 100 * c + 1000 * double(d) + 10000 * double(e) + 100000 * f;
}
+ (double)mixBy:(id<AddOnMixing>)other {
  return [other mix:1 with:2.5 and:-3 and:4LL << 32 and:0.5F and:-6];
}
+ (long long)showTo:(id<AddOnMixing>)other {
  __block long long shown = 0;
  [other visit:^(int number, long long wide, char narrow, double real) {
    shown = wide + number;
    return (long long)real - narrow;
  }];
  return shown;
}
@end

@interface NSDate (AddOn)
- (NSString *)addOn_day;
+ (BOOL)addOn_isAddOn;
@end

@implementation NSDate (AddOn)
- (NSString *)addOn_day {
  return [self veltro_isToday] ? @"today" : @"some day";
}
+ (BOOL)addOn_isAddOn {
  return YES;
}
@end

extern "C" NSString *add_on_domain(void) {
  @autoreleasepool {
    return [ZLTUtils isIOS9] ? kZLTKeyChainErrorDomain : nil;
  }
}
