#include "frameworks/Foundation/NSBundle/bundle_registry.hpp"

#import <Foundation/Foundation.h>

#include <algorithm>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

namespace veltro::host {
namespace {

// GNUstep's mark of a plain bundle in _bundleType.
constexpr unsigned kPlainBundle = 1;

struct Known {
  std::string path;
  NSData *info; // Info.plist as it was
  NSBundle *bundle;
};

// Never destroyed: other threads may ask while the process ends.
std::mutex &mutex = *new std::mutex;
std::vector<Known> &registry = *new std::vector<Known>; // the oldest first

} // namespace

NSBundle *bundle_at(NSString *path, NSBundle *fresh) {
  const std::string folder =
      std::filesystem::path([path fileSystemRepresentation]).lexically_normal();
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

NSArray *all_bundles() {
  NSMutableArray *const all = [NSMutableArray array];
  const std::lock_guard lock(mutex);
  for (const Known &known : registry)
    if (std::filesystem::is_directory(known.path))
      [all addObject:known.bundle];
  return all;
}

NSBundle *bundle_identified(NSString *identifier) {
  // Not under the lock: a bundle that is asked may ask for another one.
  for (NSBundle *bundle in [all_bundles() reverseObjectEnumerator])
    if ([[bundle bundleIdentifier] isEqual:identifier])
      return bundle;
  return nil;
}

} // namespace veltro::host
