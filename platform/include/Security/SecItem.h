// Keychain items: the keys of their dictionaries and the four functions, for generic passwords.
//
// On Linux the items lie under the device root; docs/keychain.md says how, and what is left out.
#pragma once

#include <Security/SecBase.h>

#ifdef __cplusplus
extern "C" {
#endif

/// The class of an item; every query gives it.
extern const CFStringRef kSecClass;
extern const CFStringRef kSecClassGenericPassword;

/// Attributes. A CFString unless said otherwise.
extern const CFStringRef kSecAttrAccessGroup;
extern const CFStringRef kSecAttrAccessible; ///< one of kSecAttrAccessible…
extern const CFStringRef kSecAttrAccount;
extern const CFStringRef kSecAttrComment;
extern const CFStringRef kSecAttrCreationDate; ///< CFDate
extern const CFStringRef kSecAttrCreator;      ///< CFNumber, a four-character code
extern const CFStringRef kSecAttrDescription;
extern const CFStringRef kSecAttrGeneric;     ///< CFData
extern const CFStringRef kSecAttrIsInvisible; ///< CFBoolean
extern const CFStringRef kSecAttrIsNegative;  ///< CFBoolean
extern const CFStringRef kSecAttrLabel;
extern const CFStringRef kSecAttrModificationDate; ///< CFDate
extern const CFStringRef kSecAttrService;
extern const CFStringRef kSecAttrSynchronizable; ///< CFBoolean, or kSecAttrSynchronizableAny
extern const CFStringRef kSecAttrSynchronizableAny;
extern const CFStringRef kSecAttrType; ///< CFNumber, a four-character code

/// When an item may be read. kSecAttrAccessibleWhenUnlocked is the default.
extern const CFStringRef kSecAttrAccessibleWhenUnlocked;
extern const CFStringRef kSecAttrAccessibleAfterFirstUnlock;
extern const CFStringRef kSecAttrAccessibleAlways;
extern const CFStringRef kSecAttrAccessibleWhenPasscodeSetThisDeviceOnly;
extern const CFStringRef kSecAttrAccessibleWhenUnlockedThisDeviceOnly;
extern const CFStringRef kSecAttrAccessibleAfterFirstUnlockThisDeviceOnly;
extern const CFStringRef kSecAttrAccessibleAlwaysThisDeviceOnly;

/// The secret, a CFData.
extern const CFStringRef kSecValueData;

/// How many items a search returns: a CFNumber of at least 1, or one of these. The default is one;
/// a deletion or an update without a limit concerns every item that matches.
extern const CFStringRef kSecMatchLimit;
extern const CFStringRef kSecMatchLimitOne;
extern const CFStringRef kSecMatchLimitAll;

/// What a search returns, each a CFBoolean. References are not offered.
extern const CFStringRef kSecReturnData;
extern const CFStringRef kSecReturnAttributes;
extern const CFStringRef kSecReturnRef;
extern const CFStringRef kSecReturnPersistentRef;

/// Adds one item. Its identity is account, service, access group and synchronisable flag; a second
/// one of the same identity gives errSecDuplicateItem. `result` may be null; the caller owns what
/// is stored there.
OSStatus SecItemAdd(CFDictionaryRef attributes, CFTypeRef *result);

/// Finds the items that match every attribute given; without kSecAttrSynchronizable those that are
/// not synchronised. Stores a CFData, a CFDictionary or, where the limit is not one, a CFArray of
/// them, which the caller owns. Returns errSecItemNotFound where nothing matches, and then stores
/// nothing.
OSStatus SecItemCopyMatching(CFDictionaryRef query, CFTypeRef *result);

/// Changes the items that match `query`: the attributes and the secret in `attributesToUpdate`.
OSStatus SecItemUpdate(CFDictionaryRef query, CFDictionaryRef attributesToUpdate);

/// Deletes the items that match `query`; errSecItemNotFound where there are none.
OSStatus SecItemDelete(CFDictionaryRef query);

#ifdef __cplusplus
}
#endif
