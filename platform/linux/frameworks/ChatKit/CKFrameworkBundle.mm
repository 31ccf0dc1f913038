// CKFrameworkBundle: ChatKit's bundle, of which only the strings are here. No public documentation
// describes ChatKit; all else of it is left out.

#import <ChatKit/ChatKit.h>

#include "machine/root/device_root.hpp"
#include "machine/root/system_files.hpp"
#include "machine/text/utf8.hpp"

extern "C" NSBundle *CKFrameworkBundle(void) {
  constexpr const char *kFramework = "/System/Library/PrivateFrameworks/ChatKit.framework";
  veltro::host::provide_system_folder(kFramework);
  NSString *path = veltro::host::string_of(veltro::host::on_this_machine(kFramework));
  return [[[NSBundle alloc] initWithPath:path] autorelease];
}
