// NSBundle by path and by identifier, as on the device:
//  - a path that exists under the device root is that one; any other path is this machine's;
//  - every call looks at the disk, where GNUstep remembers folders that were missing or there;
//  - a path gives the bundle at that path, where GNUstep gives an older one with the same
//    identifier;
//  - an identifier finds the system's frameworks too, and no apps that no bundle object of this
//    process stands for;
//  - the main bundle of a program NAME without GNUstep's folder Resources/NAME beside it is
//    ../share/NAME, where installed programs keep their files;
//  - +allBundles lists every object whose folder is still there.

#import <Foundation/Foundation.h>

#include "frameworks/Foundation/replace_method.hpp"
#include "machine/root/device_root.hpp"
#include "machine/root/system_files.hpp"
#include "machine/text/utf8.hpp"

#include <algorithm>
#include <filesystem>
#include <mutex>
#include <vector>

namespace {

using veltro::host::replace_class_method;
using veltro::host::replace_method;
using veltro::host::string_of;
using veltro::host::utf8_of;

id (*gnustep_init)(NSBundle *, SEL, NSString *);
id (*gnustep_main_bundle)(Class, SEL);
NSArray *(*gnustep_all_bundles)(Class, SEL);
id (*gnustep_bundle_with_identifier)(Class, SEL, NSString *);

// GNUstep's mark of a plain bundle in _bundleType.
constexpr unsigned kPlainBundle = 1;

// The main bundle's folder is allowed to be missing: a tool's seldom exists.
thread_local bool making_main_bundle = false;

struct Known {
  std::string path;
  NSData *info; // Info.plist as it was
  NSBundle *bundle;
};

// The bundle objects of this process, the oldest first, which stay: GNUstep's own registry hands
// out objects that another thread's last release frees meanwhile. Never destroyed: other threads
// may ask while the process ends.
std::mutex &mutex = *new std::mutex;
std::vector<Known> &registry = *new std::vector<Known>;

bool is_folder(NSString *path) {
  BOOL folder = NO;
  return [[NSFileManager defaultManager] fileExistsAtPath:path isDirectory:&folder] && folder;
}

NSString *on_this_machine(NSString *path) {
  const std::string on_device = utf8_of(path);
  if (!on_device.starts_with('/'))
    return path;
  NSString *in_root = string_of(veltro::host::on_this_machine(on_device));
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

/// The object for the folder at `path`, retained: `fresh` becomes that object where there is none
/// yet, or one that was not loaded and whose Info.plist changed.
NSBundle *bundle_at(NSString *path, NSBundle *fresh) {
  const std::string folder = std::filesystem::path(utf8_of(path)).lexically_normal();
  NSData *info =
      [NSData dataWithContentsOfFile:[path stringByAppendingPathComponent:@"Info.plist"]];
  const std::lock_guard lock(mutex);
  const auto newest = std::find_if(registry.rbegin(), registry.rend(),
                                   [&](const Known &known) { return known.path == folder; });
  if (newest != registry.rend() &&
      (newest->info == info || [newest->info isEqual:info] || [newest->bundle isLoaded])) {
    [fresh release];
    return [newest->bundle retain];
  }
  fresh->_path = [path copy];
  fresh->_bundleType = kPlainBundle;
  registry.push_back({folder, [info retain], [fresh retain]});
  return fresh;
}

id init_with_path(NSBundle *self, SEL command, NSString *path) {
  if (making_main_bundle)
    return gnustep_init(self, command, shared_folder(path));
  NSString *place = on_this_machine(path);
  if (is_folder(place))
    return bundle_at(place, self);
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

NSMutableArray *known_bundles() {
  NSMutableArray *const all = [NSMutableArray array];
  const std::lock_guard lock(mutex);
  for (const Known &known : registry)
    if (std::error_code error; std::filesystem::is_directory(known.path, error))
      [all addObject:known.bundle];
  return all;
}

NSArray *all_bundles(Class self, SEL command) {
  NSMutableArray *const all = [[gnustep_all_bundles(self, command) mutableCopy] autorelease];
  NSArray *const known = known_bundles();
  [all removeObjectsInArray:known];
  [all addObjectsFromArray:known];
  return all;
}

id bundle_with_identifier(Class self, SEL command, NSString *identifier) {
  const std::string name = [identifier isKindOfClass:[NSString class]] ? utf8_of(identifier) : "";
  if (name.empty())
    return nil;
  if (const auto framework = veltro::host::system_framework(name); !framework.empty())
    return [NSBundle bundleWithPath:string_of(framework)];
  // Not under the lock: a bundle that is asked may ask for another one.
  for (NSBundle *bundle in [known_bundles() reverseObjectEnumerator])
    if ([[bundle bundleIdentifier] isEqual:identifier])
      return bundle;
  return gnustep_bundle_with_identifier(self, command, identifier);
}

} // namespace

VH_AT_LOAD(VHBundleFinding) {
  Class bundle = objc_getClass("NSBundle");
  gnustep_init = replace_method(bundle, "initWithPath:", init_with_path);
  gnustep_main_bundle = replace_class_method(bundle, "mainBundle", main_bundle);
  gnustep_all_bundles = replace_class_method(bundle, "allBundles", all_bundles);
  gnustep_bundle_with_identifier =
      replace_class_method(bundle, "bundleWithIdentifier:", bundle_with_identifier);
}
