// NSBundle by path and by identifier, as on the device:
//  - a path that exists under the device root is that one (so an absolute path of the device
//    resolves there); any other path is this machine's, such as one that lies under the root
//    already;
//  - every call looks at the disk, where GNUstep remembers that a folder was missing and continues
//  to
//    find a bundle whose folder is gone;
//  - a path gives the bundle at that path, where GNUstep gives an older one with the same
//    identifier;
//  - an identifier finds the system's frameworks too. It does not find apps that no bundle object
//    of this process stands for, neither does the device;
//  - the main bundle of a program NAME without GNUstep's folder Resources/NAME beside it is
//    ../share/NAME, where installed programs keep their files;
//  - +allBundles lists every object whose folder is still there.

#import <Foundation/Foundation.h>

#include "frameworks/Foundation/NSBundle/bundle_registry.hpp"
#include "frameworks/Foundation/replace_method.hpp"
#include "machine/root/device_root.hpp"
#include "machine/root/system_files.hpp"
#include "machine/text/utf8.hpp"

#include <sys/stat.h>

namespace {

using veltro::host::replace_class_method;
using veltro::host::replace_method;

id (*gnustep_init)(NSBundle *, SEL, NSString *);
id (*gnustep_main_bundle)(Class, SEL);
NSArray *(*gnustep_all_bundles)(Class, SEL);
id (*gnustep_bundle_with_identifier)(Class, SEL, NSString *);

// The main bundle's folder is allowed to be missing: a tool's seldom exists.
thread_local bool making_main_bundle = false;

bool is_folder(NSString *path) {
  struct stat status{};
  return [path length] != 0 && stat([path fileSystemRepresentation], &status) == 0 &&
         S_ISDIR(status.st_mode);
}

NSString *on_this_machine(NSString *path) {
  if (![path isAbsolutePath])
    return path;
  NSString *in_root = veltro::host::string_of(veltro::host::on_this_machine([path UTF8String]));
  return is_folder(in_root) ? in_root : path;
}

/// ../share/NAME for a main bundle BIN/Resources/NAME that is not there, else `path`.
NSString *shared_folder(NSString *path) {
  NSString *bin = [[path stringByDeletingLastPathComponent] stringByDeletingLastPathComponent];
  NSString *shared =
      [[[bin stringByDeletingLastPathComponent] stringByAppendingPathComponent:@"share"]
          stringByAppendingPathComponent:[path lastPathComponent]];
  return !is_folder(path) && is_folder(shared) ? shared : path;
}

id init_with_path(NSBundle *self, SEL command, NSString *path) {
  if (making_main_bundle)
    return gnustep_init(self, command, shared_folder(path));
  NSString *place = on_this_machine(path);
  if (is_folder(place))
    return veltro::host::bundle_at(place, self);
  [self release];
  return nil;
}

id main_bundle(Class self, SEL command) {
  // Initializes the class: where this is the first message to it, its lock is not there yet.
  [self class];
  making_main_bundle = true;
  id bundle = gnustep_main_bundle(self, command);
  making_main_bundle = false;
  return bundle;
}

NSArray *all_bundles(Class self, SEL command) {
  NSMutableArray *const all = [[gnustep_all_bundles(self, command) mutableCopy] autorelease];
  for (NSBundle *bundle in veltro::host::all_bundles())
    if ([all indexOfObjectIdenticalTo:bundle] == NSNotFound)
      [all addObject:bundle];
  return all;
}

id bundle_with_identifier(Class self, SEL command, NSString *identifier) {
  const char *wanted =
      [identifier isKindOfClass:[NSString class]] ? [identifier UTF8String] : nullptr;
  if (wanted == nullptr)
    return nil;
  const std::string framework = veltro::host::system_framework(wanted);
  if (!framework.empty())
    return [NSBundle bundleWithPath:veltro::host::string_of(framework)];
  if (NSBundle *known = veltro::host::bundle_identified(identifier); known != nil)
    return known;
  return gnustep_bundle_with_identifier(self, command, identifier);
}

} // namespace

VH_AT_LOAD(VHBundleFinding) {
  Class bundle = objc_getClass("NSBundle");
  gnustep_init = replace_method(bundle, "initWithPath:", init_with_path);
  gnustep_main_bundle = replace_class_method(bundle, "mainBundle", main_bundle);
  gnustep_all_bundles = replace_class_method(bundle, "allBundles", ::all_bundles);
  gnustep_bundle_with_identifier =
      replace_class_method(bundle, "bundleWithIdentifier:", bundle_with_identifier);
}
