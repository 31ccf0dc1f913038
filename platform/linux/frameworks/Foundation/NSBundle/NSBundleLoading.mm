// NSBundle's resources and executable in the device's flat layout, all in the bundle's folder
// itself, beside GNUstep's own layout.
//
// -load links an executable that can be linked. A bundle without one, or whose executable is a
// program, has nothing to link: it counts as loaded, YES. Where Info.plist names an executable that
// is missing the result is NO. A bundle that was loaded stays, also as an object.

#import <Foundation/Foundation.h>

#include "frameworks/Foundation/replace_method.hpp"
#include "machine/property_lists/corrupt_file.hpp"
#include "machine/property_lists/property_list.hpp"
#include "machine/text/utf8.hpp"

#include <cstring>
#include <elf.h>
#include <filesystem>
#include <fstream>
#include <link.h>

namespace {

using veltro::host::replace_method;

// GNUstep's mark of a library's bundle in _bundleType.
constexpr unsigned kLibraryBundle = 4;

NSDictionary *(*gnustep_info)(NSBundle *, SEL);
NSString *(*gnustep_resource_path)(NSBundle *, SEL);
BOOL (*gnustep_load)(NSBundle *, SEL);
Class (*gnustep_class)(NSBundle *, SEL, NSString *);

/// Whether the regular file at `path` is a shared object, which a process can link while it runs,
/// and no program, script or file of another kind.
bool can_be_linked(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  ElfW(Ehdr) header{};
  if (!file.read(reinterpret_cast<char *>(&header), sizeof header) ||
      std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_type != ET_DYN)
    return false;
  // Programs are shared objects to the letter, too; but only they name an interpreter.
  file.seekg(static_cast<std::streamoff>(header.e_phoff));
  for (int left = header.e_phnum; left > 0; --left) {
    ElfW(Phdr) segment{};
    if (!file.read(reinterpret_cast<char *>(&segment), sizeof segment) ||
        segment.p_type == PT_INTERP)
      return false;
  }
  return true;
}

NSString *flat_info_path(NSBundle *bundle) {
  return [[bundle bundlePath] stringByAppendingPathComponent:@"Info.plist"];
}

NSDictionary *info_dictionary(NSBundle *self, SEL command) {
  @synchronized(self) {
    if (self->_infoDict == nil)
      self->_infoDict =
          [veltro::host::dictionary_in([NSData dataWithContentsOfFile:flat_info_path(self)])
              retain];
  }
  if (self->_infoDict != nil)
    return self->_infoDict;
  NSDictionary *const info = gnustep_info(self, command);
  if ([info count] == 0)
    veltro::host::log_corrupt_file([flat_info_path(self) fileSystemRepresentation]);
  return info;
}

NSString *resource_path(NSBundle *self, SEL command) {
  NSString *path = gnustep_resource_path(self, command);
  return [[NSFileManager defaultManager] fileExistsAtPath:path] ? path : [self bundlePath];
}

BOOL link(NSBundle *bundle, SEL command) {
  // The code of a library's bundle runs already. Asked for the path of it, GNUstep looks where the
  // principal class comes from, and so would load the bundle first.
  if (bundle->_bundleType == kLibraryBundle)
    return gnustep_load(bundle, command);
  const std::string path = veltro::host::utf8_of([bundle executablePath]);
  std::error_code error;
  if (!path.empty() && !std::filesystem::is_regular_file(path, error))
    return NO;
  if (bundle == [NSBundle mainBundle] || can_be_linked(path))
    return gnustep_load(bundle, command);
  bundle->_codeLoaded = YES;
  return YES;
}

BOOL load(NSBundle *self, SEL command) {
  @synchronized(self) {
    if ([self isLoaded])
      return YES;
    if (!link(self, command))
      return NO;
    [self retain];
    return YES;
  }
}

/// A name that is not ASCII is no class's; GNUstep raises when it looks for one.
Class class_named(NSBundle *self, SEL command, NSString *name) {
  return [name canBeConvertedToEncoding:NSASCIIStringEncoding] ? gnustep_class(self, command, name)
                                                               : Nil;
}

} // namespace

VH_AT_LOAD(VHBundleLoading) {
  Class bundle = objc_getClass("NSBundle");
  gnustep_info = replace_method(bundle, "infoDictionary", info_dictionary);
  gnustep_resource_path = replace_method(bundle, "resourcePath", resource_path);
  gnustep_load = replace_method(bundle, "load", ::load);
  gnustep_class = replace_method(bundle, "classNamed:", class_named);
}
