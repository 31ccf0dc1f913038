/// @file
/// Passwords in the keychain, and the names of what its listings tell.
#pragma once

#include <veltro/ZLTLanguage.h>

#ifdef VELTRO_LANGUAGE

#include <CoreFoundation/CoreFoundation.h>

#import <Foundation/Foundation.h>
#import <veltro/ZLTExport.h>

/// The domain of every error of the keychain store. Its codes are the statuses of the Security
/// framework, unchanged, and those of ZLTKeyChainErrorCode.
VELTRO_EXPORT extern NSString *const kZLTKeyChainErrorDomain;

// Keys of the attribute dictionaries that the listings return. Each value is as the keychain has
// it.

/// The account, an NSString.
VELTRO_EXPORT extern NSString *const kZLTKeyChainAccountKey;
/// When the item was made, an NSDate.
VELTRO_EXPORT extern NSString *const kZLTKeyChainCreatedAtKey;
/// The same string as kZLTKeyChainLabelKey, as it always was: callers that read the one or the
/// other get the label.
VELTRO_EXPORT extern NSString *const kZLTKeyChainClassKey;
/// The description, an NSString.
VELTRO_EXPORT extern NSString *const kZLTKeyChainDescriptionKey;
/// The label, an NSString.
VELTRO_EXPORT extern NSString *const kZLTKeyChainLabelKey;
/// When the item was last changed, an NSDate.
VELTRO_EXPORT extern NSString *const kZLTKeyChainLastModifiedKey;
/// The service, an NSString.
VELTRO_EXPORT extern NSString *const kZLTKeyChainWhereKey;

/// The store's own error codes.
typedef NS_ENUM(NSInteger, ZLTKeyChainErrorCode) {
  /// A request without a service, an account or, where one is saved, a secret.
  ZLTKeyChainErrorBadArguments = -1001,
};

/// Passwords in the keychain, by service and account, in one call each. Every method uses a
/// ZLTKeyChainQuery of its own, which matches synchronised and other items alike and names no
/// access group.
///
/// An error is stored through the last argument, where one is given, on failure only, and is
/// autoreleased; the forms without that argument report only by their result. A nil service or
/// account is a failure with ZLTKeyChainErrorBadArguments, except in listings. All methods block
/// until the keychain has returned; any thread may call them.
VELTRO_EXPORT
@interface ZLTKeyChain : NSObject

/// The password as a string (autoreleased). Nil where there is no such item (errSecItemNotFound),
/// and, without an error, where its bytes are empty or not UTF-8.
+ (NSString *)passwordForService:(NSString *)service account:(NSString *)account;
/// The same; the error of a failure is left in `error` (autoreleased), unless that is null.
+ (NSString *)passwordForService:(NSString *)service
                         account:(NSString *)account
                           error:(NSError **)error;

/// Deletes the item; NO where there is none (errSecItemNotFound).
+ (BOOL)deletePasswordForService:(NSString *)service account:(NSString *)account;
/// The same; the error of a failure is left in `error` (autoreleased), unless that is null.
+ (BOOL)deletePasswordForService:(NSString *)service
                         account:(NSString *)account
                           error:(NSError **)error;

/// Stores the password's UTF-8 bytes as a new item, after deleting the one that was there: its
/// creation date is new as well. An empty password is stored; nil is ZLTKeyChainErrorBadArguments.
+ (BOOL)setPassword:(NSString *)password forService:(NSString *)service account:(NSString *)account;
/// The same; the error of a failure is left in `error` (autoreleased), unless that is null.
+ (BOOL)setPassword:(NSString *)password
         forService:(NSString *)service
            account:(NSString *)account
              error:(NSError **)error;

/// The attribute dictionaries of all generic-password items that the process may see
/// (autoreleased), without their secrets. Nil on failure, and where there is none
/// (errSecItemNotFound).
+ (NSArray *)allAccounts;
/// The same; the error of a failure is left in `error` (autoreleased), unless that is null.
+ (NSArray *)allAccounts:(NSError **)error;

/// The same for the items of one service, or of all where it is nil.
+ (NSArray *)accountsForService:(NSString *)service;
/// The same; the error of a failure is left in `error` (autoreleased), unless that is null.
+ (NSArray *)accountsForService:(NSString *)service error:(NSError **)error;

/// The accessibility that every save of this process gives its item; null, as it is at first, for
/// the keychain's own default.
+ (CFStringRef)accessibilityType;

/// Sets it to one of the platform's kSecAttrAccessible… constants, which is retained for good. Not
/// null: once set, the setting cannot be cleared. Set it once at start-up, from one thread, before
/// the first save.
+ (void)setAccessibilityType:(CFTypeRef)accessibilityType;

@end

#endif
