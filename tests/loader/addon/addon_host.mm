// A program that loads an add-on's library for the device, which VELTRO_ADDON names, beside
// libveltro.so.

#include <VeltroLoader/VeltroLoader.h>
#import <objc/runtime.h>
#import <veltro/veltro.h>

#include <cstdlib>

namespace {

struct Extent {
  double left, width, right;
};

VLImage *add_on() {
  static VLImage *const image = [] {
    char *error = nullptr;
    VLImage *const loaded = VLImageLoad(std::getenv("VELTRO_ADDON"), &error);
    EXPECT_NE(loaded, nullptr) << error;
    return loaded;
  }();
  return image;
}

class AddOn : public testing::Test {
protected:
  void SetUp() override { ASSERT_NE(add_on(), nullptr); }
};

id counter(NSString *name) {
  return [objc_getClass("AddOnCounter") performSelector:@selector(counterWithName:)
                                             withObject:name];
}

long long returned_by_block;

/// Whether the stack of who calls this is aligned as every function of this process counts on.
__attribute__((noinline)) bool is_stack_aligned() {
  alignas(8) char probe[8];
  char *volatile address = probe;
  return reinterpret_cast<uintptr_t>(address) % 8 == 0;
}

#ifdef __arm__
/// What r9, which functions keep, holds after the call of a method, and 0x5eed before.
uintptr_t r9_after(IMP method, id receiver, SEL name, id argument) {
  register id r0 __asm__("r0") = receiver;
  register SEL r1 __asm__("r1") = name;
  register id r2 __asm__("r2") = argument;
  uintptr_t left = 0;
  const uintptr_t before = 0x5eed;
  __asm__ volatile("mov r9, %[before]\n"
                   "blx %[method]\n"
                   "mov %[left], r9"
                   : [left] "=&r"(left), "+r"(r0), "+r"(r1), "+r"(r2)
                   : [method] "r"(method), [before] "r"(before)
                   : "r3", "r9", "ip", "lr", "cc", "memory");
  return left;
}
#endif

} // namespace

@interface NSObject (AddOnMethods)
+ (double)mix:(int)a with:(double)b and:(short)c and:(long long)d and:(float)e and:(double)f;
+ (double)mixBy:(Class)other;
+ (long long)showTo:(Class)other;
- (NSInteger)count;
- (NSString *)name;
- (void)add:(NSInteger)number;
- (BOOL)even;
- (void)setEven:(BOOL)even;
- (NSInteger (^)(NSInteger))adder;
- (void)apply:(void (^)(void))block;
- (void)raise:(NSString *)reason;
- (Extent)extentOf:(double)width;
- (double)rightOf:(double)width;
- (NSInteger)priority;
- (void)setPriority:(NSInteger)priority;
- (NSInteger)mark;
- (void)setMark:(NSInteger)mark;
- (NSString *)addOn_day;
+ (BOOL)addOn_isAddOn;
@end

/// Weighs what it is given in another way than the add-on.
@interface VTMixer : NSObject
@end

@implementation VTMixer
+ (double)mix:(int)a with:(double)b and:(short)c and:(long long)d and:(float)e and:(double)f {
  EXPECT_TRUE(is_stack_aligned());
  return a + 3 * b + 9 * c + 27 * static_cast<double>(d) + 81 * static_cast<double>(e) + 243 * f;
}
+ (void)visit:(long long (^)(int, long long, char, double))visitor {
  EXPECT_TRUE(is_stack_aligned());
  returned_by_block = visitor(7, 1LL << 40, -5, 1e10);
}
@end

TEST_F(AddOn, HasClassesWithVariablesAndProperties) {
  NSMutableString *const name = [NSMutableString stringWithString:@"first"];
  const id made = counter(name);
  [name setString:@"changed"];
  EXPECT_TRUE([[made name] isEqualToString:@"first"]);
  [made add:3];
  [made add:4];
  EXPECT_EQ([made count], 7);
  EXPECT_FALSE([made even]);
  [made setEven:YES];
  EXPECT_EQ([made count], 7);
  EXPECT_TRUE([made even]);
  EXPECT_EQ([counter(@"second") count], 0);
}

TEST_F(AddOn, AdoptsProtocols) {
  unsigned count = 0;
  Protocol **const adopted = class_copyProtocolList(objc_getClass("AddOnCounter"), &count);
  ASSERT_EQ(count, 1u);
  EXPECT_STREQ(protocol_getName(adopted[0]), "AddOnCounting");
  EXPECT_TRUE([objc_getClass("AddOnCounter") conformsToProtocol:adopted[0]]);
  EXPECT_TRUE(protocol_conformsToProtocol(adopted[0], objc_getProtocol("AddOnNamed")));
  EXPECT_STREQ(protocol_getMethodDescription(adopted[0], @selector(count), YES, YES).types,
               sizeof(NSInteger) == 8 ? "q16@0:8" : "i8@0:4");
  free(adopted);
}

TEST_F(AddOn, MakesAndTakesBlocks) {
  const id made = counter(@"blocks");
  NSInteger (^const adder)(NSInteger) = [made adder];
  EXPECT_EQ(adder(2), 2);
  EXPECT_EQ(adder(5), 7);
  __block int calls = 0;
  [made apply:^{
    ++calls;
  }];
  EXPECT_EQ(calls, 1);
}

TEST_F(AddOn, ReturnsStructuresInMemory) {
  const id made = counter(@"structures");
  [made add:10];
  const Extent extent = [made extentOf:2.5];
  EXPECT_EQ(extent.left, 10);
  EXPECT_EQ(extent.width, 2.5);
  EXPECT_EQ(extent.right, 12.5);
  EXPECT_EQ([made rightOf:0.5], 10.5);
}

TEST_F(AddOn, TakesAndPassesValuesOf64BitsAmongOthers) {
  const Class mixer = objc_getClass("AddOnMixer");
  EXPECT_EQ([mixer mix:1 with:2.5 and:-3 and:1LL << 32 and:0.5F and:-6],
            1 + 25 - 300 + 4294967296000.0 + 5000 - 600000);
  EXPECT_EQ([mixer mixBy:[VTMixer class]], 1 + 7.5 - 27 + 463856467968.0 + 40.5 - 1458);
  // By way of an image's block, too.
  EXPECT_EQ([mixer showTo:[VTMixer class]], (1LL << 40) + 7);
  EXPECT_EQ(returned_by_block, 10000000005LL);
}

#ifdef __arm__
TEST_F(AddOn, KeepsTheRegistersThatThisProcessCountsOn) {
  const Class mixer = objc_getClass("AddOnMixer");
  const SEL name = @selector(mixBy:);
  EXPECT_EQ(r9_after([mixer methodForSelector:name], mixer, name, [VTMixer class]), 0x5eedu);
}
#endif

TEST_F(AddOn, RaisesThroughItsOwnFrames) {
  auto *const cleanups = static_cast<int *>(VLImageFindSymbol(add_on(), "add_on_cleanups"));
  ASSERT_NE(cleanups, nullptr);
  const int before = *cleanups;
  const id made = counter(@"exceptions");
  [made add:41];
  NSException *caught = nil;
  @try {
    [made raise:@"raised"];
  } @catch (NSException *exception) {
    caught = exception;
  }
  EXPECT_TRUE([[caught name] isEqualToString:@"AddOnException"]);
  EXPECT_TRUE([[caught reason] isEqualToString:@"raised at 41"]);
  EXPECT_EQ(*cleanups, before + 1);

  // And of this program's, from below the add-on's.
  caught = nil;
  @try {
    [made apply:^{
      [NSException raise:@"HostException" format:@"from here"];
    }];
  } @catch (NSException *exception) {
    caught = exception;
  }
  EXPECT_TRUE([[caught name] isEqualToString:@"HostException"]);
  EXPECT_EQ(*cleanups, before + 2);
}

TEST_F(AddOn, InheritsFromTheLibrary) {
  const Class of = objc_getClass("AddOnMessage");
  EXPECT_EQ(class_getSuperclass(of), [ZLTWhatsAppMessage class]);
  ZLTWhatsAppMessage *const message = [[[of alloc] init] autorelease];
  [message setContent:@"quiet"];
  [message setUserIdentifier:@"42"];
  [message setPriority:9];
  EXPECT_TRUE([[message content] isEqualToString:@"quiet!"]);
  EXPECT_TRUE([[message userIdentifier] isEqualToString:@"42"]);
  EXPECT_EQ([message priority], 9);
  ZLTWhatsAppMessage *const back = [NSKeyedUnarchiver
      unarchiveObjectWithData:[NSKeyedArchiver archivedDataWithRootObject:message]];
  EXPECT_EQ([back class], of);
  EXPECT_TRUE([[back userIdentifier] isEqualToString:@"42"]);
}

TEST_F(AddOn, KeepsVariablesApartFromThoseOfASuperclass) {
  NSDateFormatter *const formatter = [[[objc_getClass("AddOnFormatter") alloc] init] autorelease];
  [formatter setDateFormat:@"yyyy"];
  ASSERT_NE(class_getInstanceVariable([NSDateFormatter class], "_dateFormat"), nullptr);
  [formatter setMark:-1];
  EXPECT_EQ([formatter mark], -1);
  EXPECT_TRUE([[formatter dateFormat] isEqualToString:@"yyyy"]);
}

TEST_F(AddOn, AddsToClassesOfThePlatform) {
  EXPECT_TRUE([[[NSDate date] addOn_day] isEqualToString:@"today"]);
  EXPECT_TRUE([[NSDate dateWithTimeIntervalSince1970:0] addOn_day] != nil);
  EXPECT_TRUE([NSDate addOn_isAddOn]);
}

TEST_F(AddOn, ExportsFunctionsAndConstants) {
  auto *const greeting = static_cast<NSString **>(VLImageFindSymbol(add_on(), "AddOnGreeting"));
  ASSERT_NE(greeting, nullptr);
  EXPECT_STREQ([*greeting UTF8String], "gr\xc3\xbc\xc3\x9f dich \xf0\x9f\x98\x80");
  EXPECT_EQ([*greeting length], 12u);
  auto *const domain =
      reinterpret_cast<NSString *(*)()>(VLImageFindSymbol(add_on(), "add_on_domain"));
  ASSERT_NE(domain, nullptr);
  EXPECT_EQ(domain(), kZLTKeyChainErrorDomain);
  EXPECT_EQ(VLImageFindSymbol(add_on(), "add_on_nothing"), nullptr);
}

TEST_F(AddOn, CannotBeLoadedTwice) {
  char *error = nullptr;
  EXPECT_EQ(VLImageLoad(std::getenv("VELTRO_ADDON"), &error), nullptr);
  EXPECT_EQ(error, std::string(std::getenv("VELTRO_ADDON")) +
                       ": brings class AddOnCounter, which this process has already");
  free(error);
  EXPECT_EQ(VLImageLoad("/nowhere/at.all", nullptr), nullptr);
}

// The other image in this process.
TEST_F(AddOn, RunsBesideTheDevicesLibraryOnly) {
  std::ifstream maps("/proc/self/maps");
  std::string libraries;
  for (std::string line; std::getline(maps, line);)
    if (line.find("/libveltro.so") != std::string::npos &&
        libraries.find(line.substr(line.find('/'))) == std::string::npos)
      libraries += line.substr(line.find('/')) + "\n";
  EXPECT_THAT(libraries, testing::EndsWith("/build/device/x86_64/lib/libveltro.so.0\n"));
  EXPECT_EQ(std::count(libraries.begin(), libraries.end(), '\n'), 1);
}
