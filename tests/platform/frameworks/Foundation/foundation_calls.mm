// Calls every method of the classes of Foundation that the platform patches, on ordinary and on odd
// objects, and prints a line for each call: what it returned, raised, or died of. Linked with
// nothing but GNUstep; with the platform's shared object preloaded it prints what the patches make
// of it.

#import <Foundation/Foundation.h>
#import <objc/runtime.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

/// Without addresses, line ends and what is too long to compare by eye; GNUstep's folder by one of
/// its two names.
std::string plain(std::string text) {
  for (std::size_t at = 0; (at = text.find("/usr/lib/GNUstep", at)) != std::string::npos;)
    text.replace(at, 8, "/usr/share");
  std::string result;
  for (std::size_t at = 0; at < text.size() && result.size() < 200; ++at) {
    if (text.compare(at, 2, "0x") == 0) {
      at = std::min(text.find_first_not_of("0123456789abcdefABCDEF", at + 2), text.size()) - 1;
      result += "0x";
    } else {
      result += text[at] == '\n' ? ' ' : text[at];
    }
  }
  return result;
}

std::string described(id object) {
  if (object == nil)
    return "nil";
  NSString *const text = [object description];
  const char *const bytes = [text UTF8String];
  return bytes != nullptr ? bytes : "(no UTF-8)";
}

bool is_one_of(std::string_view name, std::initializer_list<std::string_view> names) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

/// Ends, waits, takes a varying number of arguments, changes more than the object, or is the
/// runtime's.
bool is_left_out(const std::string &name) {
  for (const char *part : {"Format",           "WithObjects:",  "AndKeys:",
                           "erform",           "dealloc",       "finalize",
                           "orward",           "write",         "Write",
                           "synchronize",      "Thread",        "Coder",
                           "awakeAfter",       "replace",       "poseAs",
                           "Distant",          "Suite",         "olatileDomain",
                           "ersistentDomain",  "resetStandard", "setDefaultTimeZone",
                           "KeyPath",          "Observer",      "AtIndexes",
                           "Repeating",        "IndexSet",      "setUser",
                           "registerDefaults", "stripped",      "toFile",
                           "abbreviationMap",  "SearchList",    "Random"})
    if (name.find(part) != std::string::npos)
      return true;
  return name.empty() || name[0] == '_' ||
         is_one_of(name, {"load",
                          "initialize",
                          "release",
                          "retain",
                          "autorelease",
                          "retainCount",
                          "zone",
                          "hash",
                          "alloc",
                          "new",
                          "self",
                          "methodForSelector:",
                          "unload",
                          "atexit",
                          "inspect",
                          "gcFinalize",
                          "subclassResponsibility:",
                          "notImplemented:",
                          "version",
                          "setVersion:",
                          "instanceMethodForSelector:",
                          "doesNotRecognizeSelector:",
                          "decodePoint",
                          "decodeRect",
                          "decodeSize"});
}

/// The objects that stand for every argument, in turn; the null object stands for nil.
NSArray *arguments() {
  return [NSArray arrayWithObjects:[NSNull null], @"", @"text",
                                   [NSString stringWithUTF8String:"Stra\xc3\x9f"],
                                   [NSNumber numberWithInt:7],
                                   [NSDate dateWithTimeIntervalSinceReferenceDate:0],
                                   [NSData dataWithBytes:"bplist00\0" length:9],
                                   [NSDictionary dictionaryWithObject:@"value" forKey:@"key"],
                                   [NSTimeZone timeZoneWithName:@"Etc/UTC"], nil];
}

struct Receiver {
  std::string name;
  id object;
  bool fresh = false; ///< a class: a new object of it for every call
};

void add(std::vector<Receiver> &all, const char *name, id object) {
  all.push_back({name, object, false});
}

/// The classes that are patched, and objects of them.
std::vector<Receiver> receivers() {
  std::vector<Receiver> all;
  for (const char *name :
       {"NSArray", "NSBundle", "NSCalendar", "NSData", "NSDate", "NSDictionary", "NSKeyedArchiver",
        "NSKeyedUnarchiver", "NSLocale", "NSPropertyListSerialization", "NSString", "NSTimeZone",
        "NSUserDefaults"})
    add(all, name, objc_getClass(name));
  add(all, "empty array", [NSArray array]);
  add(all, "array", [NSArray arrayWithObjects:@"one", @"two", nil]);
  add(all, "main bundle", [NSBundle mainBundle]);
  add(all, "library bundle",
      [[NSBundle class] performSelector:NSSelectorFromString(@"bundleForLibrary:")
                             withObject:@"gnustep-base"]);
  add(all, "class's bundle", [NSBundle bundleForClass:[NSString class]]);
  add(all, "folder's bundle", [NSBundle bundleWithPath:@"/usr/share"]);
  NSCalendar *const calendar =
      [[NSCalendar alloc] initWithCalendarIdentifier:NSCalendarIdentifierGregorian];
  [calendar setTimeZone:[NSTimeZone timeZoneWithName:@"Etc/UTC"]];
  add(all, "calendar", calendar);
  add(all, "empty data", [NSData data]);
  add(all, "data", [NSData dataWithBytes:"bytes" length:5]);
  add(all, "date", [NSDate dateWithTimeIntervalSinceReferenceDate:1e8]);
  add(all, "far date", [NSDate dateWithTimeIntervalSinceReferenceDate:1e300]);
  add(all, "empty dictionary", [NSDictionary dictionary]);
  add(all, "dictionary", [NSDictionary dictionaryWithObject:@"value" forKey:@"key"]);
  add(all, "archiver",
      [[NSKeyedArchiver alloc] initForWritingWithMutableData:[NSMutableData data]]);
  add(all, "unarchiver",
      [[NSKeyedUnarchiver alloc]
          initForReadingWithData:[NSKeyedArchiver archivedDataWithRootObject:@"text"]]);
  add(all, "locale", [[NSLocale alloc] initWithLocaleIdentifier:@"de_DE"]);
  add(all, "literal", @"text");
  add(all, "empty string", [NSString stringWithUTF8String:""]);
  add(all, "string", [NSString stringWithUTF8String:"some/Text.plist"]);
  add(all, "wide string", [NSString stringWithUTF8String:"\xe2\x82\xac uro"]);
  add(all, "mutable string", [NSMutableString stringWithString:@"1.5 text"]);
  add(all, "UTC", [NSTimeZone timeZoneWithName:@"Etc/UTC"]);
  add(all, "Berlin", [NSTimeZone timeZoneWithName:@"Europe/Berlin"]);
  add(all, "defaults", [[NSUserDefaults alloc] init]);
  return all;
}

/// The methods that a class of Foundation has itself or from a superclass other than NSObject.
std::vector<std::string> methods_of(Class owner) {
  std::set<std::string> names;
  const Class root =
      class_isMetaClass(owner) ? object_getClass([NSObject class]) : [NSObject class];
  for (Class level = owner; level != nil && level != root && level != [NSObject class];
       level = class_getSuperclass(level)) {
    unsigned count = 0;
    Method *const list = class_copyMethodList(level, &count);
    for (unsigned index = 0; index < count; ++index)
      names.insert(sel_getName(method_getName(list[index])));
    std::free(list);
  }
  std::erase_if(names, is_left_out);
  return {names.begin(), names.end()};
}

const char *unqualified(const char *type) {
  return type + std::strspn(type, "rnNoORV");
}

alignas(16) unsigned char scratch[1 << 16];

/// Gives the invocation its argument; false where the type is none that can be made up.
bool set_argument(NSInvocation *invocation, NSUInteger index, const char *type, id object,
                  int choice) {
  const long long integers[] = {0, 1, 4, -1, 1000};
  const double reals[] = {0, 1.5, -1, 1e9, NAN};
  id value = object == [NSNull null] ? nil : object;
  static NSError *error_place;
  error_place = nil;
  NSError **error = &error_place;
  void *pointer = choice == 0 ? nullptr : scratch;
  NSRange range = NSMakeRange(0, static_cast<NSUInteger>(choice % 3));
  SEL selector = @selector(compare:);
  double real = reals[choice % 5];
  if (*type == '#')
    value = [NSString class];
  switch (*type) {
  case '@':
  case '#':
    if (type[1] == '?')
      return false;
    [invocation setArgument:&value atIndex:static_cast<NSInteger>(index)];
    return true;
  case ':':
    [invocation setArgument:&selector atIndex:static_cast<NSInteger>(index)];
    return true;
  case '*':
  case '^':
    [invocation setArgument:type[1] == '@' && choice != 0 ? static_cast<void *>(&error) : &pointer
                    atIndex:static_cast<NSInteger>(index)];
    return true;
  case 'd':
    [invocation setArgument:&real atIndex:static_cast<NSInteger>(index)];
    return true;
  case '{':
    if (std::strncmp(type, "{_NSRange=", 10) != 0)
      return false;
    [invocation setArgument:&range atIndex:static_cast<NSInteger>(index)];
    return true;
  default: {
    long long integer = integers[choice % 5];
    if (std::strchr("cCsSiIlLqQB", *type) == nullptr)
      return false;
    [invocation setArgument:&integer atIndex:static_cast<NSInteger>(index)];
    return true;
  }
  }
}

std::string returned(NSInvocation *invocation, const char *type) {
  alignas(16) unsigned char bytes[256] = {};
  if (*type == 'v')
    return "nothing";
  [invocation getReturnValue:bytes];
  long long integer = 0;
  double real = 0;
  id object = nil;
  switch (*type) {
  case '@':
  case '#':
    std::memcpy(&object, bytes, sizeof object);
    return described(object);
  case 'd':
    std::memcpy(&real, bytes, sizeof real);
    return std::to_string(real);
  case 'c':
  case 'C':
  case 'B':
    return std::to_string(bytes[0]);
  case '*':
  case '^':
    std::memcpy(&integer, bytes, sizeof integer);
    return integer == 0 ? "null" : "a pointer";
  case '{':
    std::memcpy(&integer, bytes, sizeof integer);
    return "a structure of " + std::to_string(integer);
  default:
    std::memcpy(&integer, bytes,
                std::min<std::size_t>(sizeof integer, strchr("iI", *type) ? 4 : 8));
    return std::to_string(integer);
  }
}

std::string outcome(const Receiver &receiver, SEL selector, id argument, int choice) {
  id const target = receiver.fresh ? [receiver.object alloc] : receiver.object;
  NSMethodSignature *const signature = [target methodSignatureForSelector:selector];
  NSInvocation *const invocation = [NSInvocation invocationWithMethodSignature:signature];
  [invocation setTarget:target];
  [invocation setSelector:selector];
  for (NSUInteger index = 2; index < [signature numberOfArguments]; ++index)
    if (!set_argument(invocation, index, unqualified([signature getArgumentTypeAtIndex:index]),
                      argument, choice))
      return "not called";
  @try {
    [invocation invoke];
    return returned(invocation, unqualified([signature methodReturnType]));
  } @catch (NSException *exception) {
    return "raises " + described([exception name]);
  }
}

/// All calls of one method from the argument `first` on, a line each; each line is told to `lines`
/// before the next call may end the process.
void call(const Receiver &receiver, const std::string &method, NSUInteger first, int lines) {
  const SEL selector = sel_registerName(method.c_str());
  NSArray *const all = arguments();
  const bool takes_any = method.find(':') != std::string::npos;
  for (NSUInteger index = first; index < (takes_any ? [all count] : 1); ++index)
    @autoreleasepool {
      const std::string line =
          plain(outcome(receiver, selector, [all objectAtIndex:index], static_cast<int>(index))) +
          '\n';
      if (write(lines, line.data(), line.size()) < 0)
        _exit(1);
    }
}

/// The lines of one method, called in processes of their own: the rest after a death by another.
void report(const Receiver &receiver, const std::string &method) {
  NSUInteger done = 0;
  for (bool died = true; died;) {
    int ends[2];
    if (pipe(ends) != 0)
      std::abort();
    const pid_t child = fork();
    if (child == 0) {
      alarm(100);
      call(receiver, method, done, ends[1]);
      _exit(0);
    }
    close(ends[1]);
    std::string text;
    char part[4096];
    for (ssize_t count = 0; (count = read(ends[0], part, sizeof part)) > 0;)
      text.append(part, static_cast<std::size_t>(count));
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    died = WIFSIGNALED(status);
    if (died)
      text += "dies\n";
    for (std::size_t at = 0; at < text.size(); ++done) {
      const std::size_t end = text.find('\n', at);
      std::printf("%s %s #%lu: %s\n", receiver.name.c_str(), method.c_str(),
                  static_cast<unsigned long>(done), text.substr(at, end - at).c_str());
      at = end + 1;
    }
    died = died && done < [arguments() count];
  }
}

} // namespace

int main() {
  @autoreleasepool {
    for (const Receiver &receiver : receivers()) {
      const bool is_class = class_isMetaClass(object_getClass(receiver.object)) != NO;
      for (const std::string &method : methods_of(object_getClass(receiver.object)))
        // Of any folder at all, and so of the whole disk.
        if (!method.starts_with("init") && (receiver.object != [NSBundle class] ||
                                            method.find("inDirectory") == std::string::npos))
          report(receiver, method);
      if (is_class)
        for (const std::string &method : methods_of(receiver.object))
          if (method.starts_with("init"))
            report({"new " + receiver.name, receiver.object, true}, method);
    }
  }
  return 0;
}
