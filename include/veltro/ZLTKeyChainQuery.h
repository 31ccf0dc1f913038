#pragma once

#include <veltro/ZLTLanguage.h>

#ifdef VELTRO_LANGUAGE

#import <Foundation/Foundation.h>
#include <MacTypes.h>
#import <veltro/ZLTExport.h>

/// Whether an item is synchronised across devices; in a search, which ones match. 64 bits wide on
/// every build.
typedef NS_ENUM(unsigned long long, ZLTKeyChainQuerySynchronizationMode) {
  ZLTKeyChainQuerySynchronizationModeAny = 0, ///< one or the other
  ZLTKeyChainQuerySynchronizationModeNo = 1,
  ZLTKeyChainQuerySynchronizationModeYes = 2,
};

/// One request to the keychain for a generic-password item. Set the properties, then run one of the
/// operations, which read the properties at that moment.
///
/// The error of an operation that failed has the domain kZLTKeyChainErrorDomain. Its code is the
/// keychain's status, or ZLTKeyChainErrorBadArguments for a missing property, in which case the
/// keychain was not called. Operations block until the keychain has returned. A query is to be used
/// by one thread at a time. All objects are nil at first.
VELTRO_EXPORT
@interface ZLTKeyChainQuery : NSObject {
@private
  NSString *_account;
  NSString *_service;
  NSString *_label;
  NSString *_accessGroup;
  ZLTKeyChainQuerySynchronizationMode _synchronizationMode;
  NSData *_passwordData;
}

/// The item's account name; nil for none.
@property (copy, nonatomic) NSString *account;

/// The item's service name; nil for none.
@property (copy, nonatomic) NSString *service;

/// A label for people to read; used by saving only. Nil for none.
@property (copy, nonatomic) NSString *label;

/// The keychain access group; given to the keychain wherever it is not nil.
@property (copy, nonatomic) NSString *accessGroup;

/// Any, unless it is set. Has no effect before iOS 7. Its range is the three values: from iOS 7 on
/// others make the operations raise NSInvalidArgumentException.
@property (nonatomic) ZLTKeyChainQuerySynchronizationMode synchronizationMode;

/// The secret: its bytes; nil for none. The two properties below are views of it.
@property (copy, nonatomic) NSData *passwordData;

/// The secret as the object whose keyed archive it is, autoreleased; nil where it is empty or nil.
/// What the unarchiver raises for bytes that are no archive is passed on.
@property (copy, nonatomic) id<NSCoding> passwordObject;

/// The secret as UTF-8 text, autoreleased; nil where it is empty or nil, or is not UTF-8. Setting
/// nil sets the secret to nil.
@property (copy, nonatomic) NSString *password;

/// Whether this release has synchronised items: from iOS 7 on. Any thread.
/// @return YES or NO.
+ (BOOL)isSynchronizationAvailable;

/// The error for a keychain status. Its description is looked up in the table "ZLTKeyChain" of the
/// process's main bundle, under a key such as "errSecItemNotFound", and is that key where the table
/// has no such entry. Any thread.
/// @param code A status of the Security framework or a ZLTKeyChainErrorCode, any number.
/// @return The error, autoreleased; nil for 0.
+ (NSError *)errorWithCode:(OSStatus)code;

/// The attributes that every operation starts from, as a new dictionary. Raises
/// NSInvalidArgumentException for a synchronisation mode out of range, and does not fail otherwise.
/// @return The dictionary, autoreleased; never nil.
- (NSMutableDictionary *)query;

/// Writes the item: deletes the one that matches, if any, and adds a new one, with the
/// accessibility that ZLTKeyChain holds. Service, account and secret must not be nil; the secret
/// may be empty.
/// @param error Where an error, autoreleased, is left on failure and only then; may be null.
/// @return YES; NO on failure.
- (BOOL)save:(NSError **)error;

/// Deletes what matches. Service and account must not be nil. Fails with errSecItemNotFound where
/// nothing does.
/// @param error Where an error, autoreleased, is left on failure and only then; may be null.
/// @return YES; NO on failure.
- (BOOL)deleteItem:(NSError **)error;

/// Reads the item's secret into `passwordData`, which is left as it is on failure. Service and
/// account must not be nil.
/// @param error Where an error, autoreleased, is left on failure and only then; may be null.
/// @return YES; NO on failure, as where there is no such item (errSecItemNotFound).
- (BOOL)fetch:(NSError **)error;

/// The attribute dictionaries of all items that match, keyed by the kZLTKeyChain…Key constants; no
/// secrets. No property is needed: without any, all items that the process may see.
/// @param error Where an error, autoreleased, is left on failure and only then; may be null.
/// @return The dictionaries, autoreleased; nil on failure, as where nothing matches
/// (errSecItemNotFound).
- (NSArray *)fetchAll:(NSError **)error;

@end

#endif
