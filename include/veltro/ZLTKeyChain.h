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
/// The forms without an error report a failure only by their result. All methods block until the
/// keychain has returned; any thread may call them.
VELTRO_EXPORT
@interface ZLTKeyChain : NSObject

/// The password as a string.
/// @param service The item's service; nil is a failure with ZLTKeyChainErrorBadArguments.
/// @param account The item's account; nil is a failure with ZLTKeyChainErrorBadArguments.
/// @return The password, autoreleased; nil on failure, as where there is no such item
/// (errSecItemNotFound), and, without an error, where its bytes are empty or not UTF-8.
+ (NSString *)passwordForService:(NSString *)service account:(NSString *)account;
/// The same, with the error of a failure.
/// @param service The item's service; nil is a failure with ZLTKeyChainErrorBadArguments.
/// @param account The item's account; nil is a failure with ZLTKeyChainErrorBadArguments.
/// @param error Where an error, autoreleased, is left on failure and only then; may be null.
/// @return As without `error`: the password, autoreleased, or nil.
+ (NSString *)passwordForService:(NSString *)service
                         account:(NSString *)account
                           error:(NSError **)error;

/// Deletes the item.
/// @param service The item's service; nil is a failure with ZLTKeyChainErrorBadArguments.
/// @param account The item's account; nil is a failure with ZLTKeyChainErrorBadArguments.
/// @return YES; NO on failure, as where there is no such item (errSecItemNotFound).
+ (BOOL)deletePasswordForService:(NSString *)service account:(NSString *)account;
/// The same, with the error of a failure.
/// @param service The item's service; nil is a failure with ZLTKeyChainErrorBadArguments.
/// @param account The item's account; nil is a failure with ZLTKeyChainErrorBadArguments.
/// @param error Where an error, autoreleased, is left on failure and only then; may be null.
/// @return As without `error`: YES, or NO on failure.
+ (BOOL)deletePasswordForService:(NSString *)service
                         account:(NSString *)account
                           error:(NSError **)error;

/// Stores the password's UTF-8 bytes as a new item, after deleting the one that was there: its
/// creation date is new as well.
/// @param password The password; an empty one is stored, and nil is a failure with
/// ZLTKeyChainErrorBadArguments.
/// @param service The item's service; nil is a failure with ZLTKeyChainErrorBadArguments.
/// @param account The item's account; nil is a failure with ZLTKeyChainErrorBadArguments.
/// @return YES; NO on failure.
+ (BOOL)setPassword:(NSString *)password forService:(NSString *)service account:(NSString *)account;
/// The same, with the error of a failure.
/// @param password The password; nil is a failure with ZLTKeyChainErrorBadArguments.
/// @param service The item's service; nil is a failure with ZLTKeyChainErrorBadArguments.
/// @param account The item's account; nil is a failure with ZLTKeyChainErrorBadArguments.
/// @param error Where an error, autoreleased, is left on failure and only then; may be null.
/// @return As without `error`: YES, or NO on failure.
+ (BOOL)setPassword:(NSString *)password
         forService:(NSString *)service
            account:(NSString *)account
              error:(NSError **)error;

/// The attribute dictionaries of all generic-password items that the process may see, without their
/// secrets.
/// @return The dictionaries, autoreleased; nil on failure, as where there is no item
/// (errSecItemNotFound).
+ (NSArray *)allAccounts;
/// The same, with the error of a failure.
/// @param error Where an error, autoreleased, is left on failure and only then; may be null.
/// @return As without `error`: the dictionaries, autoreleased, or nil.
+ (NSArray *)allAccounts:(NSError **)error;

/// The same for the items of one service.
/// @param service The service; nil for all.
/// @return The dictionaries, autoreleased; nil on failure, as where there is no item
/// (errSecItemNotFound).
+ (NSArray *)accountsForService:(NSString *)service;
/// The same, with the error of a failure.
/// @param service The service; nil for all.
/// @param error Where an error, autoreleased, is left on failure and only then; may be null.
/// @return As without `error`: the dictionaries, autoreleased, or nil.
+ (NSArray *)accountsForService:(NSString *)service error:(NSError **)error;

/// The accessibility that every save of this process gives its item.
/// @return The constant, which the library keeps; null, as it is at first, for the keychain's own
/// default.
+ (CFStringRef)accessibilityType;

/// Sets it, and does not fail. Set it once at start-up, from one thread, before the first save.
/// @param accessibilityType One of the platform's kSecAttrAccessible… constants, which is retained.
/// Not null: once set, the setting cannot be cleared.
+ (void)setAccessibilityType:(CFTypeRef)accessibilityType;

@end

#endif
