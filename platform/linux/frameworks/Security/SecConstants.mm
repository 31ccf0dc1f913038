// The keys and values of item dictionaries: the strings of the device, which appear in what it
// returns. String literals need no initialiser, so they stand before any code of a program runs.

#include <Security/SecItem.h>

#import <Foundation/Foundation.h>

#define CONSTANT(name, value) const CFStringRef name = (CFStringRef) @value

extern "C" {

CONSTANT(kSecClass, "class");
CONSTANT(kSecClassGenericPassword, "genp");

CONSTANT(kSecAttrAccessGroup, "agrp");
CONSTANT(kSecAttrAccessible, "pdmn");
CONSTANT(kSecAttrAccount, "acct");
CONSTANT(kSecAttrComment, "icmt");
CONSTANT(kSecAttrCreationDate, "cdat");
CONSTANT(kSecAttrCreator, "crtr");
CONSTANT(kSecAttrDescription, "desc");
CONSTANT(kSecAttrGeneric, "gena");
CONSTANT(kSecAttrIsInvisible, "invi");
CONSTANT(kSecAttrIsNegative, "nega");
CONSTANT(kSecAttrLabel, "labl");
CONSTANT(kSecAttrModificationDate, "mdat");
CONSTANT(kSecAttrService, "svce");
CONSTANT(kSecAttrSynchronizable, "sync");
CONSTANT(kSecAttrSynchronizableAny, "syna");
CONSTANT(kSecAttrType, "type");

CONSTANT(kSecAttrAccessibleWhenUnlocked, "ak");
CONSTANT(kSecAttrAccessibleAfterFirstUnlock, "ck");
CONSTANT(kSecAttrAccessibleAlways, "dk");
CONSTANT(kSecAttrAccessibleWhenPasscodeSetThisDeviceOnly, "akpu");
CONSTANT(kSecAttrAccessibleWhenUnlockedThisDeviceOnly, "aku");
CONSTANT(kSecAttrAccessibleAfterFirstUnlockThisDeviceOnly, "cku");
CONSTANT(kSecAttrAccessibleAlwaysThisDeviceOnly, "dku");

CONSTANT(kSecValueData, "v_Data");

CONSTANT(kSecMatchLimit, "m_Limit");
CONSTANT(kSecMatchLimitOne, "m_LimitOne");
CONSTANT(kSecMatchLimitAll, "m_LimitAll");

CONSTANT(kSecReturnData, "r_Data");
CONSTANT(kSecReturnAttributes, "r_Attributes");
CONSTANT(kSecReturnRef, "r_Ref");
CONSTANT(kSecReturnPersistentRef, "r_PersistentRef");

} // extern "C"
