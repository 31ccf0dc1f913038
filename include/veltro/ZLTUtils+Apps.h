#pragma once

#include <veltro/ZLTLanguage.h>

#ifdef VELTRO_LANGUAGE

#import <veltro/ZLTUtils.h>

/// Where installed apps lie, and labels out of other bundles. Nothing here keeps state but
/// `dateFormatter`; all methods may be called on any thread; absence gives nil or -1, with
/// no log line. Every object is autoreleased.
@interface ZLTUtils (Apps)

/// What the getter named `selector` of the app's `LSApplicationProxy` returns: the path where that
/// is an NSURL, else the object itself. Nil for an identifier that no app has, for an app whose
/// type is not "User", and where the system has no `LSApplicationProxy`. `selector` must name a
/// getter that returns an object.
+ (id)appRelatedDirectory:(NSString *)identifier selector:(NSString *)selector;

/// The path of a user app's bundle container, the folder that holds its bundle; nil as above.
+ (NSString *)applicationInstalledDirectory:(NSString *)identifier;

/// The path of a user app's data container; nil as above.
+ (NSString *)applicationDataContainerDirectory:(NSString *)identifier;

/// The file name of a user app's executable; nil as above.
+ (NSString *)appExecutableName:(NSString *)identifier;

/// The bundle that the system finds by `identifier`, as it is; else the bundle of the user app's
/// installed directory, loaded; else nil. That directory is the app's bundle container, so the
/// strings tables inside the app's own bundle are not this bundle's. A bundle that was loaded stays
/// so.
+ (NSBundle *)bundleForIdentifier:(NSString *)identifier;

/// The string for `key` in a strings table of the bundle that `bundleForIdentifier:` returns, or
/// `key` itself where the table has none; nil where there is no such bundle. A nil `table` is the
/// bundle's default one.
+ (NSString *)localizedLabel:(NSString *)identifier table:(NSString *)table key:(NSString *)key;

/// UIKit's string for `key`, from its default table, or `key` itself; the empty string for nil.
+ (NSString *)localizedLabelFromUIKit:(NSString *)key;

/// ChatKit's string for `key`; where it has none, that of the Couria settings bundle's default
/// table or `key` itself. Nil where ChatKit's bundle cannot be had, and where ChatKit has no string
/// and the Couria settings are not installed.
+ (NSString *)couriaLocalizedString:(NSString *)key;

/// One formatter for the whole process, made at the first call with the system's own settings and
/// never released. Callers set it up before each use; it is not guarded against two threads.
+ (NSDateFormatter *)dateFormatter;

/// The index of the last of `entries` whose label equals `identifier`, ignoring case, or -1. An
/// entry returns a dictionary for `properties`, whose value for "label" is its label; entries
/// without one are passed over. No label equals nil.
+ (int)idetifierIndex:(NSArray *)entries identifier:(NSString *)identifier;

@end

#endif
