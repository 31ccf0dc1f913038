// The bundle objects of this process, one a folder. GNUstep's own registry hands out objects that
// it does not retain, so that another thread's last release frees them meanwhile.
#pragma once

@class NSArray, NSBundle, NSString;

namespace veltro::host {

/// The object for the folder at `path`, retained; adopts `fresh`, an object without a folder,
/// which becomes that object where there is none yet. The objects stay; one that was not loaded
/// and whose Info.plist changed is followed by a new one. Any thread.
NSBundle *bundle_at(NSString *path, NSBundle *fresh);

/// The newest object of a folder that is still there and has that identifier, or nil. Any thread.
NSBundle *bundle_identified(NSString *identifier);

/// The objects for all folders that are still there, the oldest first. Any thread.
NSArray *all_bundles();

} // namespace veltro::host
