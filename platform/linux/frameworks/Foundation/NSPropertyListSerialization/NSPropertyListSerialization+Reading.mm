// Reading property lists. For a damaged list the device returns nil and an error; GNUstep raises
// for some, and for a list that nests deeply or refers to itself runs into the end of the stack.
// Its readers get only what they can read. -[NSString propertyList] reads this way too; strings
// tables hold nothing that nests. Follows Apple's NSPropertyListSerialization reference.
//
// CDATA sections are read, which GNUstep passes over.
//
// -initWithContentsOfFile: and -initWithContentsOfURL: of NSDictionary and NSArray read binary
// lists too, which GNUstep takes for text.

#import <Foundation/Foundation.h>

#include "frameworks/Foundation/replace_method.hpp"
#include "machine/property_lists/property_list.hpp"
#include "machine/property_lists/property_list_guard.hpp"
#include "machine/text/utf8.hpp"

#include <objc/runtime.h>
#include <string>
#include <string_view>
#include <type_traits>

namespace {

using veltro::host::bytes_of;
using veltro::host::replace_class_method;
using veltro::host::replace_method;

constexpr NSInteger kReadCorrupt = 3840; // Foundation's NSPropertyListReadCorruptError

id (*gnustep_list)(id, SEL, NSData *, NSPropertyListReadOptions, NSPropertyListFormat *,
                   NSError **);
id (*gnustep_text)(id, SEL, const void *, NSUInteger, NSStringEncoding);

/// GNUstep takes for XML only what begins with a declaration, at its very start.
NSData *declared(NSData *data) {
  const std::string_view list = veltro::host::from_first_character(bytes_of(data));
  const bool lacks_it = list.starts_with("<plist") || list.starts_with("<!");
  if (!lacks_it && !list.starts_with("<?xml"))
    return data;
  const std::string whole = (lacks_it ? "<?xml version=\"1.0\"?>" : "") + std::string(list);
  return [NSData dataWithBytes:whole.data() length:whole.size()];
}

id list_with_data(id self, SEL selector, NSData *source, NSPropertyListReadOptions options,
                  NSPropertyListFormat *format, NSError **error) {
  // Initializes the class: a first message that finds a replaced method does not.
  [self class];
  NSString *reason = @"not a property list";
  @try {
    NSData *const data = declared(source);
    if (veltro::host::is_harmless_property_list(bytes_of(data)))
      return gnustep_list(self, selector, data, options, format, error);
  } @catch (NSException *exception) {
    if ([[exception reason] length] != 0)
      reason = [exception reason];
  }
  if (error != nullptr)
    *error = [NSError errorWithDomain:NSCocoaErrorDomain
                                 code:kReadCorrupt
                             userInfo:@{NSLocalizedDescriptionKey : reason}];
  return nil;
}

/// The text of binary lists is big-endian, which iconv converts and refuses for half a surrogate
/// pair. What begins with a byte order mark GNUstep converts, and removes it and another one.
id text_of(id self, SEL selector, const void *bytes, NSUInteger size, NSStringEncoding encoding) {
  id const text = gnustep_text(self, selector, bytes, size, encoding);
  if (text != nil || encoding != NSUTF16BigEndianStringEncoding || size % 2 != 0)
    return text;
  const std::string all = "\xFE\xFF\xFE\xFF" + std::string(static_cast<const char *>(bytes), size);
  return gnustep_text(self, selector, all.data(), all.size(), NSUTF16StringEncoding);
}

/// Fills a collection from a binary list; what is none, GNUstep reads. A file that does not hold
/// the collection gives nil, as on the device.
template <typename Collection> struct Reading {
  using Init = id (*)(Collection *, SEL, id);
  static inline Init gnustep_from_file;
  static inline Init gnustep_from_url;

  static id from_file(Collection *self, SEL selector, id path) {
    NSData *const data = [NSData dataWithContentsOfFile:path];
    if (!bytes_of(data).starts_with("bplist"))
      return gnustep_from_file(self, selector, path);
    id const list = veltro::host::property_list_in(data);
    if (![list isKindOfClass:[Collection class]]) {
      [self release];
      return nil;
    }
    if constexpr (std::is_same_v<Collection, NSArray>)
      return [self initWithArray:list];
    else
      return [self initWithDictionary:list];
  }

  static id from_url(Collection *self, SEL selector, id url) {
    return [url isFileURL] ? [self initWithContentsOfFile:[static_cast<NSURL *>(url) path]]
                           : gnustep_from_url(self, selector, url);
  }

  static void patch(const char *collection) {
    const Class owner = objc_getClass(collection);
    gnustep_from_file = replace_method(owner, "initWithContentsOfFile:", from_file);
    gnustep_from_url = replace_method(owner, "initWithContentsOfURL:", from_url);
  }
};

} // namespace

VH_AT_LOAD(VHReadingPropertyLists) {
  gnustep_list = replace_class_method(objc_getClass("NSPropertyListSerialization"),
                                      "propertyListWithData:options:format:error:", list_with_data);
  gnustep_text = replace_method(objc_getClass("GSPlaceholderString"),
                                "initWithBytes:length:encoding:", text_of);
  Reading<NSDictionary>::patch("NSDictionary");
  Reading<NSArray>::patch("NSArray");
}

@interface GSXMLPListParser : NSObject <NSXMLParserDelegate>
@end

@implementation GSXMLPListParser (VHSections)

- (void)parser:(NSXMLParser *)parser foundCDATA:(NSData *)text {
  [self parser:parser foundCharacters:veltro::host::string_of(std::string(bytes_of(text)))];
}

@end
