#pragma once

#include <veltro/ZLTLanguage.h>

#ifdef VELTRO_LANGUAGE

#import <veltro/ZLTUtils.h>

/// Where installed apps lie, and labels out of other bundles. Nothing here keeps state but
/// `dateFormatter`; all methods may be called on any thread; absence gives nil or -1, with
/// no log line.
@interface ZLTUtils (Apps)

/// What the getter named `selector` of the app's `LSApplicationProxy` returns.
/// @param identifier The app's bundle identifier; may be nil, which no app has.
/// @param selector The name of a getter that returns an object; not nil.
/// @return The path where the getter returns an NSURL, else the object itself, autoreleased; nil
/// for an identifier that no app has, for an app whose type is not "User", and where the system has
/// no `LSApplicationProxy`.
+ (id)appRelatedDirectory:(NSString *)identifier selector:(NSString *)selector;

/// The path of a user app's bundle container, the folder that holds its bundle.
/// @param identifier The app's bundle identifier; may be nil, which no app has.
/// @return The path, autoreleased; nil as above.
+ (NSString *)applicationInstalledDirectory:(NSString *)identifier;

/// The path of a user app's data container.
/// @param identifier The app's bundle identifier; may be nil, which no app has.
/// @return The path, autoreleased; nil as above.
+ (NSString *)applicationDataContainerDirectory:(NSString *)identifier;

/// The file name of a user app's executable.
/// @param identifier The app's bundle identifier; may be nil, which no app has.
/// @return The name, autoreleased; nil as above.
+ (NSString *)appExecutableName:(NSString *)identifier;

/// The bundle that the system finds by `identifier`, as it is; else the bundle of the user app's
/// installed directory, loaded. That directory is the app's bundle container, so the strings tables
/// inside the app's own bundle are not this bundle's. A bundle that was loaded stays so.
/// @param identifier A bundle identifier; may be nil, which no bundle has.
/// @return The bundle, autoreleased; nil where there is none.
+ (NSBundle *)bundleForIdentifier:(NSString *)identifier;

/// The string for `key` in a strings table of the bundle that `bundleForIdentifier:` returns.
/// @param identifier A bundle identifier; may be nil, which no bundle has.
/// @param table The name of the table; nil for the bundle's default one.
/// @param key The key; may be nil, for which a bundle has the empty string.
/// @return The string, autoreleased; `key` itself where the table has none; nil where there is no
/// such bundle.
+ (NSString *)localizedLabel:(NSString *)identifier table:(NSString *)table key:(NSString *)key;

/// UIKit's string for `key`, from its default table.
/// @param key The key; may be nil.
/// @return The string, autoreleased; `key` itself where the table has none, and the empty string
/// for nil. Nil only where the system has no UIKit.
+ (NSString *)localizedLabelFromUIKit:(NSString *)key;

/// ChatKit's string for `key`; where it has none, that of the Couria settings bundle's default
/// table.
/// @param key The key; may be nil, for which ChatKit has the empty string.
/// @return The string, autoreleased; `key` itself where neither has one; nil where ChatKit's bundle
/// cannot be had, and where ChatKit has no string and the Couria settings are not installed.
+ (NSString *)couriaLocalizedString:(NSString *)key;

/// One formatter for the whole process, made at the first call with the system's own settings and
/// never released. Callers set it up before each use; it is not guarded against two threads.
/// @return The formatter, which the caller does not own; never nil.
+ (NSDateFormatter *)dateFormatter;

/// The index of the last of `entries` whose label equals `identifier`, ignoring case.
/// @param entries Objects that return a dictionary for `properties`, whose value for "label" is the
/// label; those without one are passed over. May be nil, which holds none.
/// @param identifier The label to look for; no label equals nil.
/// @return The index, from 0; -1 where no entry has that label.
+ (int)idetifierIndex:(NSArray *)entries identifier:(NSString *)identifier;

@end

#endif
