// Follows Apple's "Keychain items" reference: item class, attribute, search and return keys.

#include "frameworks/Security/item_dictionaries.hpp"

#include <Security/SecItem.h>

#include "machine/text/utf8.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace veltro::host::keychain {
namespace {

/// The keys that a dictionary may have: those of the attributes, in the order of `kAttributes`, and
/// the others.
constexpr std::array<const CFStringRef *, kAttributes.size() + 7> kKeys{
    &kSecAttrService,      &kSecAttrAccount,          &kSecAttrAccessGroup, &kSecAttrSynchronizable,
    &kSecAttrCreationDate, &kSecAttrModificationDate, &kSecAttrAccessible,  &kSecAttrLabel,
    &kSecAttrDescription,  &kSecAttrComment,          &kSecAttrGeneric,     &kSecAttrCreator,
    &kSecAttrType,         &kSecAttrIsInvisible,      &kSecAttrIsNegative,  &kSecClass,
    &kSecValueData,        &kSecMatchLimit,           &kSecReturnData,      &kSecReturnAttributes,
    &kSecReturnRef,        &kSecReturnPersistentRef};

/// The classes of the values, looked up once: the runtime finds them by name each time.
struct Classes {
  Class string = [NSString class];
  Class data = [NSData class];
  Class number = [NSNumber class];
  Class date = [NSDate class];
  Class dictionary = [NSDictionary class];
};

const Classes &classes() {
  static const Classes classes;
  return classes;
}

bool is(id object, Class wanted) {
  return [object isKindOfClass:wanted];
}

bool equals(id object, CFStringRef constant) {
  return object == (id)constant || [object isEqual:(id)constant];
}

bool read_text(id value, std::size_t at, ItemQuery &out) {
  if (!is(value, classes().string))
    return false;
  std::string &text = out.texts[at];
  text.assign([value length], '\0');
  // Plain text needs no object of its own. Its bytes are looked at one by one: a zero or half a
  // surrogate pair, which GNUstep drops without a word, must not make two names one.
  if (![value getCString:text.data() maxLength:text.size() + 1 encoding:NSUTF8StringEncoding] ||
      !std::ranges::all_of(text, [](char byte) { return byte > 0; })) {
    @autoreleasepool {
      NSData *const utf8 = [value dataUsingEncoding:NSUTF8StringEncoding];
      NSString *const again = [[[NSString alloc] initWithData:utf8
                                                     encoding:NSUTF8StringEncoding] autorelease];
      if (![again isEqualToString:value])
        return false;
      text = bytes_of(utf8);
    }
  }
  out.query.fields[at] = Field::text(text);
  return true;
}

bool read_data(id value, Field &field) {
  if (!is(value, classes().data))
    return false;
  field = Field::data(bytes_of(value));
  return true;
}

/// Where the constant that `key` equals stands among the keys; behind them where there is none.
std::size_t index_of(id key) {
  // Mostly it is the constant itself.
  const auto *found =
      std::ranges::find_if(kKeys, [&](const CFStringRef *known) { return key == (id)*known; });
  if (found == kKeys.end())
    found =
        std::ranges::find_if(kKeys, [&](const CFStringRef *known) { return equals(key, *known); });
  return static_cast<std::size_t>(found - kKeys.begin());
}

constexpr double kLargestExact = 9007199254740992; // 2^53: beyond, a double no longer tells

bool read_number(id value, Field &field) {
  if (!is(value, classes().number))
    return false;
  const double approximate = [value doubleValue];
  if (!(std::abs(approximate) <= kLargestExact) || std::trunc(approximate) != approximate)
    return false;
  field = Field::of(std::int64_t{[value longLongValue]});
  return true;
}

bool read_boolean(id value, Field &field) {
  if (value == (id)kCFBooleanTrue || value == (id)kCFBooleanFalse)
    field = Field::of(std::int64_t{value == (id)kCFBooleanTrue});
  else if (!read_number(value, field))
    return false;
  return field.integer == 0 || field.integer == 1;
}

bool read_boolean(id value, bool &out) {
  Field field;
  const bool read = read_boolean(value, field);
  out = field.integer == 1;
  return read;
}

bool read_date(id value, Field &field) {
  if (!is(value, classes().date))
    return false;
  // Adding nothing makes a negative zero, which would not come back, a plain one.
  const double seconds = [value timeIntervalSinceReferenceDate] + 0.0;
  if (!std::isfinite(seconds))
    return false;
  field = Field::of(seconds);
  return true;
}

bool read_accessible(id value, std::size_t at, ItemQuery &out) {
  constexpr std::array<std::string_view, 7> kKnown{"ak", "ck", "dk", "akpu", "aku", "cku", "dku"};
  return read_text(value, at, out) &&
         std::ranges::find(kKnown, out.query.fields[at].bytes) != kKnown.end();
}

bool read_sync(id value, Use use, ItemQuery &out) {
  if (!equals(value, kSecAttrSynchronizableAny))
    return read_boolean(value, out.query.fields[sync]);
  // An item that is added so is not synchronised; a change to it says nothing.
  if (use == Use::changes)
    return false;
  out.query.any_sync = use != Use::add;
  return true;
}

bool read_attribute(std::size_t at, id value, Use use, ItemQuery &out) {
  Field &field = out.query.fields[at];
  switch (kAttributes[at].kind) {
  case Kind::text:
    return read_text(value, at, out);
  case Kind::data:
    return read_data(value, field);
  case Kind::number:
    return read_number(value, field);
  case Kind::boolean:
    return read_boolean(value, field);
  case Kind::date:
    return read_date(value, field);
  case Kind::accessible:
    return read_accessible(value, at, out);
  case Kind::synchronizable:
    return read_sync(value, use, out);
  }
  return false;
}

bool read_limit(id value, ItemQuery &out) {
  if (equals(value, kSecMatchLimitOne))
    out.query.limit = 1;
  else if (equals(value, kSecMatchLimitAll))
    out.query.limit = 0;
  else {
    const double wanted = is(value, classes().number) ? [value doubleValue] : 0;
    if (!(wanted >= 1) || !std::isfinite(wanted) || std::trunc(wanted) != wanted)
      return false;
    // More than anybody has is all.
    out.query.limit = wanted < kLargestExact ? static_cast<std::int64_t>(wanted) : 0;
  }
  out.many = out.query.limit != 1;
  return true;
}

/// The secret, what to return and how much of it.
bool read_request(CFStringRef key, id value, Use use, ItemQuery &out, bool &wants_reference) {
  const bool returns = use == Use::add || use == Use::search;
  if (key == kSecValueData) {
    Field data;
    if ((use != Use::add && use != Use::changes) || !read_data(value, data))
      return false;
    out.secret = data.bytes;
    return true;
  }
  if (key == kSecMatchLimit)
    return use != Use::add && use != Use::changes && read_limit(value, out);
  if (key == kSecReturnData)
    return returns && read_boolean(value, out.return_data);
  if (key == kSecReturnAttributes)
    return returns && read_boolean(value, out.return_attributes);
  if (key == kSecReturnRef || key == kSecReturnPersistentRef) {
    bool wanted = false;
    const bool read = returns && read_boolean(value, wanted);
    wants_reference |= wanted;
    return read;
  }
  return false;
}

NSData *new_data(Secret secret) {
  const std::size_t length = secret.get_deleter().length;
  return [[classes().data alloc] initWithBytesNoCopy:secret.release()
                                              length:length
                                        freeWhenDone:YES];
}

id new_value(Kind kind, const Field &field) {
  switch (kind) {
  case Kind::data:
    return [[classes().data alloc] initWithBytes:field.bytes.data() length:field.bytes.size()];
  case Kind::number:
    return [[classes().number alloc] initWithLongLong:field.integer];
  case Kind::boolean:
  case Kind::synchronizable:
    return [(id)(field.integer != 0 ? kCFBooleanTrue : kCFBooleanFalse) retain];
  case Kind::date:
    return [[classes().date alloc] initWithTimeIntervalSinceReferenceDate:field.real];
  case Kind::text:
  case Kind::accessible:
    break;
  }
  return [[classes().string alloc] initWithBytes:field.bytes.data()
                                          length:field.bytes.size()
                                        encoding:NSUTF8StringEncoding];
}

} // namespace

OSStatus read_item_query(CFDictionaryRef dictionary, Use use, ItemQuery &out) {
  NSDictionary *const entries = (NSDictionary *)dictionary;
  if (entries == nil || !is(entries, classes().dictionary))
    return errSecParam;
  if (use == Use::search)
    out.query.limit = 1;
  bool wants_reference = false;
  bool has_class = use == Use::changes; // which name none
  // Each key is looked up once: GNUstep hashes a constant string anew each time.
  for (id key in entries) {
    id value = [entries objectForKey:key];
    const std::size_t at = index_of(key);
    if (at == kKeys.size())
      return errSecParam;
    if (at < kAttributes.size()) {
      if (!read_attribute(at, value, use, out))
        return errSecParam;
    } else if (*kKeys[at] == kSecClass) {
      if (has_class || !equals(value, kSecClassGenericPassword))
        return errSecParam;
      has_class = true;
    } else if (!read_request(*kKeys[at], value, use, out, wants_reference)) {
      return errSecParam;
    }
  }
  if (!has_class)
    return errSecParam;
  return wants_reference ? errSecUnimplemented : errSecSuccess;
}

Results::Results(bool attributes) : last_(attributes ? kAttributes.size() : 0) {}

Results::~Results() {
  for (const Value &value : last_)
    [value.object release];
}

// The rows of one listing mostly have the same group, accessibility and service as the row before.
id Results::value(std::size_t at, const Field &field) {
  Value &last = last_[at];
  if (last.object == nil || last.field != field) {
    [last.object release];
    last.object = new_value(kAttributes[at].kind, field);
    last.bytes = field.bytes;
    last.field = field;
    last.field.bytes = last.bytes;
  }
  return last.object;
}

void Results::wipe_secret_of(id result) {
  NSData *const secret = [result isKindOfClass:classes().dictionary]
                             ? [result objectForKey:(id)kSecValueData]
                             : (NSData *)result;
  if (secret != nil)
    wipe({static_cast<unsigned char *>(const_cast<void *>([secret bytes])), [secret length]});
}

id Results::new_result(const Fields &fields, Secret secret) {
  NSData *const data = secret ? new_data(std::move(secret)) : nil;
  if (last_.empty())
    return data;
  std::array<id, kAttributes.size() + 1> values;
  std::array<id, kAttributes.size() + 1> keys;
  std::size_t count = 0;
  for (std::size_t at = 0; at < kAttributes.size(); ++at)
    if (fields[at].present()) {
      // An item that was never changed has one date.
      const bool unchanged = at == modified && fields[at].real == fields[created].real;
      keys[count] = (id)*kKeys[at];
      values[count++] = value(unchanged ? created : at, fields[at]);
    }
  if (data != nil) {
    keys[count] = (id)kSecValueData;
    values[count++] = data;
  }
  NSDictionary *const result = [[classes().dictionary alloc] initWithObjects:values.data()
                                                                     forKeys:keys.data()
                                                                       count:count];
  [data release];
  return result;
}

} // namespace veltro::host::keychain
