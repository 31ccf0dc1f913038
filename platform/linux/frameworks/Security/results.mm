#include "frameworks/Security/results.hpp"

#include "frameworks/Security/attribute_keys.hpp"

#include <Security/SecItem.h>
#include <array>

namespace veltro::host::keychain {
namespace {

/// The classes, looked up once: the runtime finds them by name each time.
struct Classes {
  Class string = [NSString class];
  Class date = [NSDate class];
  Class dictionary = [NSDictionary class];
};

const Classes &classes() {
  static const Classes classes;
  return classes;
}

NSData *new_data(Secret secret) {
  const std::size_t length = secret.length();
  return [[NSData alloc] initWithBytesNoCopy:secret.take() length:length freeWhenDone:YES];
}

NSString *new_text(std::string_view text) {
  return [[classes().string alloc] initWithBytes:text.data()
                                          length:text.size()
                                        encoding:NSUTF8StringEncoding];
}

} // namespace

Results::Results(bool data, bool attributes)
    : data_(data), attributes_(attributes), last_(attributes ? keychain::attributes.size() : 0) {}

Results::~Results() {
  for (const Text &text : last_)
    [text.object release];
}

id Results::new_value(std::size_t at, const Field &field) {
  switch (attributes[at].kind) {
  case Kind::data:
    return [[NSData alloc] initWithBytes:field.bytes.data() length:field.bytes.size()];
  case Kind::number:
    return [[NSNumber alloc] initWithLongLong:field.integer];
  case Kind::boolean:
  case Kind::synchronizable:
    return [(id)(field.integer != 0 ? kCFBooleanTrue : kCFBooleanFalse) retain];
  case Kind::date:
    return [[classes().date alloc] initWithTimeIntervalSinceReferenceDate:field.real];
  case Kind::text:
  case Kind::accessible:
    break;
  }
  return shared_text(at, field.bytes);
}

// The rows of one listing mostly have the same group, accessibility and service as the row before.
id Results::shared_text(std::size_t at, std::string_view bytes) {
  Text &last = last_[at];
  if (last.object == nil || last.bytes != bytes) {
    [last.object release];
    last.object = new_text(bytes);
    last.bytes = bytes;
  }
  return [last.object retain];
}

void Results::wipe_secret_of(id answer) {
  NSData *const secret = [answer isKindOfClass:classes().dictionary]
                             ? [answer objectForKey:(id)kSecValueData]
                             : (NSData *)answer;
  if (secret != nil)
    wipe({static_cast<unsigned char *>(const_cast<void *>([secret bytes])), [secret length]});
}

id Results::new_answer(const Fields &fields, Secret secret) {
  if (!attributes_)
    return new_data(std::move(secret));
  std::array<id, attributes.size() + 1> values;
  std::array<id, attributes.size() + 1> keys;
  std::size_t count = 0;
  for (std::size_t at = 0; at < attributes.size(); ++at)
    if (fields[at].present()) {
      keys[count] = (id)*keys_of_attributes[at];
      values[count++] = new_value(at, fields[at]);
    }
  if (data_) {
    keys[count] = (id)kSecValueData;
    values[count++] = new_data(std::move(secret));
  }
  NSDictionary *const answer = [[classes().dictionary alloc] initWithObjects:values.data()
                                                                     forKeys:keys.data()
                                                                       count:count];
  for (std::size_t at = 0; at < count; ++at)
    [values[at] release];
  return answer;
}

} // namespace veltro::host::keychain
