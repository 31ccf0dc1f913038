// The record of one installed app. The class is private: find it by name at run time, with
// objc_getClass("LSApplicationProxy"); this header gives tools and tests the selectors.
#pragma once

#import <Foundation/Foundation.h>

@interface LSApplicationProxy : NSObject {
@private
  struct LSApplicationRecord *_record;
}

/// The record of the app with that identifier as it is installed now, or nil where there is none.
/// Any thread.
+ (LSApplicationProxy *)applicationProxyForIdentifier:(NSString *)identifier;

@property (nonatomic, readonly) NSString *applicationIdentifier;
/// "User" for an app that the user installed, "System" for one of the system's.
@property (nonatomic, readonly) NSString *applicationType;
/// The app's bundle, <Name>.app.
@property (nonatomic, readonly) NSURL *bundleURL;
/// The container that holds a user app's bundle; nil for a system app.
@property (nonatomic, readonly) NSURL *bundleContainerURL;
/// The container of the app's data; nil where it has none.
@property (nonatomic, readonly) NSURL *dataContainerURL;
/// The executable's name, and its path; nil where Info.plist names none.
@property (nonatomic, readonly) NSString *bundleExecutable;
@property (nonatomic, readonly) NSString *canonicalExecutablePath;
@property (nonatomic, readonly) NSString *localizedName;
/// The version to show; nil where Info.plist names none.
@property (nonatomic, readonly) NSString *shortVersionString;

@end
