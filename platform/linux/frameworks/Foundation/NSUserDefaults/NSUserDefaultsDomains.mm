// The persistent domains of NSUserDefaults as the device keeps them: one binary property list a
// domain in var/mobile/Library/Preferences under the device root, replaced as a whole and read
// every time, so that any process sees what another wrote last. GNUstep keeps domains in files of
// its own and remembers them; the application's own and the global domain stay there. It takes a
// file that does not read for an empty one: before it replaces such a file, that is kept under
// another name. The names of all domains, managed preferences and change notifications are left
// out.

#import <Foundation/Foundation.h>

#include "frameworks/Foundation/NSPropertyListSerialization/binary_property_list.hpp"
#include "frameworks/Foundation/replace_method.hpp"
#include "machine/files/file.hpp"
#include "machine/log/log_line.hpp"
#include "machine/property_lists/corrupt_file.hpp"
#include "machine/property_lists/property_list.hpp"
#include "machine/root/device_root.hpp"
#include "machine/text/utf8.hpp"

#include <filesystem>
#include <objc/runtime.h>
#include <unistd.h>

namespace {

using veltro::host::replace_method;
using veltro::host::string_of;

void (*initialize_of_gnustep)(Class, SEL);
NSDictionary *(*read_of_gnustep)(NSUserDefaults *, SEL, NSString *);
void (*write_of_gnustep)(NSUserDefaults *, SEL, NSDictionary *, NSString *);
void (*remove_of_gnustep)(NSUserDefaults *, SEL, NSString *);
BOOL (*synchronize_of_gnustep)(id, SEL);

/// Makes the shared defaults while the runtime lets nobody else initialize a class. Later, they are
/// made under their own lock, for which NSBundle's initialization waits: a deadlock.
void initialize(Class self, SEL selector) {
  initialize_of_gnustep(self, selector);
  [self standardUserDefaults];
}

bool is_gnustep_s(NSString *domain) {
  return [domain isEqual:NSGlobalDomain] || [domain isEqual:NSArgumentDomain] ||
         [domain isEqual:NSRegistrationDomain] ||
         [domain isEqual:[[NSProcessInfo processInfo] processName]] ||
         [domain isEqual:[[NSBundle mainBundle] bundleIdentifier]];
}

std::string folder() {
  return veltro::host::on_this_machine("/var/mobile/Library/Preferences");
}

/// The domain's file; empty for a name that cannot be a file's.
std::string file_of(NSString *domain) {
  const std::string name = veltro::host::utf8_of(domain);
  if (name.empty() || name.find('/') != std::string::npos)
    return {};
  return folder() + '/' + name + ".plist";
}

/// For the user only: it holds what they set.
bool make_folder() {
  namespace fs = std::filesystem;
  std::error_code error;
  if (fs::create_directories(folder(), error))
    fs::permissions(folder(), fs::perms::owner_all, error);
  return fs::is_directory(folder(), error);
}

NSDictionary *read_domain(NSUserDefaults *self, SEL selector, NSString *domain) {
  if (is_gnustep_s(domain))
    return read_of_gnustep(self, selector, domain);
  const std::string file = file_of(domain);
  if (file.empty())
    return nil;
  NSDictionary *const settings =
      veltro::host::dictionary_in([NSData dataWithContentsOfFile:string_of(file)]);
  if (settings == nil)
    veltro::host::log_corrupt_file(file);
  return settings;
}

/// Whether the file may be replaced: what does not read is kept under another name.
bool make_way(const std::string &file) {
  NSData *const old = [NSData dataWithContentsOfFile:string_of(file)];
  return old == nil || veltro::host::dictionary_in(old) != nil ||
         veltro::host::quarantine_file(file);
}

void write_domain(NSUserDefaults *self, SEL selector, NSDictionary *settings, NSString *domain) {
  if (is_gnustep_s(domain)) {
    write_of_gnustep(self, selector, settings, domain);
    return;
  }
  const std::string file = file_of(domain);
  // Nil for what no property list can hold; GNUstep would write its description.
  NSData *const data = veltro::host::binary_property_list(settings);
  if (file.empty() || data == nil || !make_folder() || !make_way(file) ||
      !veltro::host::replace_file(file, veltro::host::bytes_of(data)))
    veltro::host::log_line(
        std::string("Preferences not written: ") +
        (domain != nil ? veltro::host::utf8_of([domain description]) : "no name"));
}

void remove_domain(NSUserDefaults *self, SEL selector, NSString *domain) {
  if (is_gnustep_s(domain))
    remove_of_gnustep(self, selector, domain);
  else
    unlink(file_of(domain).c_str());
}

/// An object that a domain of GNUstep's holds in the variable `name`.
id held(id domain, const char *name) {
  return object_getIvar(domain, class_getInstanceVariable(object_getClass(domain), name));
}

bool has_changes(id domain) {
  return [held(domain, "added") count] != 0 || [held(domain, "modified") count] != 0 ||
         [held(domain, "removed") count] != 0;
}

BOOL synchronize(id self, SEL selector) {
  NSString *const path = held(self, "path");
  NSData *const data = [NSData dataWithContentsOfFile:path];
  if (data != nil && ![veltro::host::property_list_in(data) isKindOfClass:[NSDictionary class]]) {
    const char *const file = [path fileSystemRepresentation];
    veltro::host::log_corrupt_file(file);
    if (has_changes(self) && !veltro::host::quarantine_file(file))
      return NO;
  }
  return synchronize_of_gnustep(self, selector);
}

} // namespace

VH_AT_LOAD(VHUserDefaultsDomains) {
  const Class defaults = objc_getClass("NSUserDefaults");
  initialize_of_gnustep = veltro::host::replace_class_method(defaults, "initialize", initialize);
  read_of_gnustep = replace_method(defaults, "persistentDomainForName:", read_domain);
  write_of_gnustep = replace_method(defaults, "setPersistentDomain:forName:", write_domain);
  remove_of_gnustep = replace_method(defaults, "removePersistentDomainForName:", remove_domain);
  synchronize_of_gnustep =
      replace_method(objc_getClass("GSPersistentDomain"), "synchronize", synchronize);
}
