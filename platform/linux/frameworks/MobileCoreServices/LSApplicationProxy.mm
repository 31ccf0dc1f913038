// LSApplicationProxy: one app of the registry. No public documentation describes it; the selectors
// are those that installed-app lookups on the device rely on. Entitlements, plug-ins, icons,
// install progress and groups are left out.

#import <MobileCoreServices/LSApplicationProxy.h>

#include "machine/apps/app_registry.hpp"
#include "machine/text/utf8.hpp"

#include <utility>

struct LSApplicationRecord {
  veltro::host::AppRecord app;
};

namespace {

NSString *text_or_nil(const std::string &string) {
  return string.empty() ? nil : veltro::host::string_of(string);
}

NSURL *folder(const std::string &path) {
  return path.empty() ? nil : [NSURL fileURLWithPath:text_or_nil(path) isDirectory:YES];
}

} // namespace

@implementation LSApplicationProxy

+ (LSApplicationProxy *)applicationProxyForIdentifier:(NSString *)identifier {
  veltro::host::AppRecord app = veltro::host::installed_app(veltro::host::utf8_of(identifier));
  if (app == nullptr)
    return nil;
  LSApplicationProxy *proxy = [[[self alloc] init] autorelease];
  proxy->_record = new LSApplicationRecord{std::move(app)};
  return proxy;
}

- (void)dealloc {
  delete _record;
  [super dealloc];
}

// A proxy that was made without an identifier knows nothing.
- (const veltro::host::InstalledApp &)app {
  static const veltro::host::InstalledApp none;
  return _record != nullptr ? *_record->app : none;
}

- (NSString *)applicationIdentifier {
  return text_or_nil([self app].identifier);
}

- (NSString *)applicationType {
  if (_record == nullptr)
    return nil;
  return [self app].type == veltro::host::AppType::user ? @"User" : @"System";
}

- (NSURL *)bundleURL {
  return folder([self app].bundle_path);
}

- (NSURL *)bundleContainerURL {
  return folder([self app].container_path);
}

- (NSURL *)dataContainerURL {
  return folder([self app].data_path);
}

- (NSString *)bundleExecutable {
  return text_or_nil([self app].executable);
}

- (NSString *)canonicalExecutablePath {
  return text_or_nil([self app].executable_path());
}

- (NSString *)localizedName {
  return text_or_nil([self app].name);
}

- (NSString *)shortVersionString {
  return text_or_nil([self app].version);
}

@end
