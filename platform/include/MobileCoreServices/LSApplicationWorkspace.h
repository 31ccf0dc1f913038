// The installed apps as a whole. Private like LSApplicationProxy, and found by name in the same
// way.
#pragma once

#import <Foundation/Foundation.h>

#ifdef __cplusplus
extern "C" {
#endif

/// The domain of the errors of installing; the code is always 1, the description says what is
/// wrong.
extern NSString *const LSApplicationWorkspaceErrorDomain;

#ifdef __cplusplus
}
#endif

@interface LSApplicationWorkspace : NSObject

/// The one workspace of the process. Any thread may use it.
+ (LSApplicationWorkspace *)defaultWorkspace;

/// An LSApplicationProxy for every installed app, ordered by identifier.
- (NSArray *)allInstalledApplications;

/// Installs a copy of the app bundle (<Name>.app) that `bundle` is the file URL of, as a user app
/// with a data container; an app with the same identifier is replaced and keeps its data container.
/// All or nothing, whatever happens meanwhile. NO where it cannot be, with an error of the domain
/// LSApplicationWorkspaceErrorDomain. `options` is not looked at.
- (BOOL)installApplication:(NSURL *)bundle
               withOptions:(NSDictionary *)options
                     error:(NSError **)error;

/// As above, without the reason.
- (BOOL)installApplication:(NSURL *)bundle withOptions:(NSDictionary *)options;

/// Removes a user app and its data container. NO where there is none with that identifier, for a
/// system app, and where the folders cannot be written, with an error as above. A process of the
/// app is not ended. `options` is not looked at.
- (BOOL)uninstallApplication:(NSString *)identifier
                 withOptions:(NSDictionary *)options
                       error:(NSError **)error;

/// As above, without the reason.
- (BOOL)uninstallApplication:(NSString *)identifier withOptions:(NSDictionary *)options;

@end
