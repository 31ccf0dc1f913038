// LSApplicationWorkspace: listing, installing and removing. No public documentation describes it.
// Observers, progress, install options, opening URLs and plug-ins are left out.

#import <MobileCoreServices/LSApplicationProxy.h>
#import <MobileCoreServices/LSApplicationWorkspace.h>

#include "machine/apps/app_installer.hpp"
#include "machine/apps/app_registry.hpp"
#include "machine/text/utf8.hpp"

NSString *const LSApplicationWorkspaceErrorDomain = @"LSApplicationWorkspaceErrorDomain";

namespace {

using veltro::host::string_of;
using veltro::host::utf8_of;

/// Whether there was no problem; where there was, and the caller wants to know, tells him.
BOOL succeeded(const std::string &problem, NSError **error) {
  if (!problem.empty() && error != nullptr)
    *error =
        [NSError errorWithDomain:LSApplicationWorkspaceErrorDomain
                            code:1
                        userInfo:[NSDictionary dictionaryWithObject:string_of(problem)
                                                             forKey:NSLocalizedDescriptionKey]];
  return problem.empty() ? YES : NO;
}

} // namespace

@implementation LSApplicationWorkspace

+ (LSApplicationWorkspace *)defaultWorkspace {
  static LSApplicationWorkspace *const workspace = [[LSApplicationWorkspace alloc] init];
  return workspace;
}

- (NSArray *)allInstalledApplications {
  NSMutableArray *proxies = [NSMutableArray array];
  for (const veltro::host::AppRecord &app : veltro::host::installed_apps()) {
    LSApplicationProxy *proxy =
        [LSApplicationProxy applicationProxyForIdentifier:string_of(app->identifier)];
    if (proxy != nil)
      [proxies addObject:proxy];
  }
  return proxies;
}

- (BOOL)installApplication:(NSURL *)bundle
               withOptions:(NSDictionary *)options
                     error:(NSError **)error {
  return succeeded([bundle isFileURL] ? veltro::host::install_app(utf8_of([bundle path]))
                                      : "not a file URL",
                   error);
}

- (BOOL)installApplication:(NSURL *)bundle withOptions:(NSDictionary *)options {
  return [self installApplication:bundle withOptions:options error:nullptr];
}

- (BOOL)uninstallApplication:(NSString *)identifier
                 withOptions:(NSDictionary *)options
                       error:(NSError **)error {
  return succeeded(veltro::host::remove_app(utf8_of(identifier)), error);
}

- (BOOL)uninstallApplication:(NSString *)identifier withOptions:(NSDictionary *)options {
  return [self uninstallApplication:identifier withOptions:options error:nullptr];
}

@end
