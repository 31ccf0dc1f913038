// Any bytes as a request to the messenger. The first byte is the identifier, the second chooses
// what the rest is: the payload, or changes to one that makes sense. What is acknowledged must be
// in the store, and nothing else.

#include "message_archive.hpp"
#include "requests.hpp"

#include <array>
#include <cstdlib>
#include <cstring>
#include <span>

namespace {

using namespace veltro::messenger;

Bytes copy_of(NSData *data) {
  Bytes bytes([data length]);
  std::memcpy(bytes.data(), [data bytes], bytes.size());
  return bytes;
}

Bytes arguments() {
  NSDictionary *arguments = @{
    @"UserIdentifier" : @"anna",
    @"Last" : @3,
    @"Since" : [NSDate dateWithTimeIntervalSinceReferenceDate:1],
  };
  return copy_of([NSPropertyListSerialization dataWithPropertyList:arguments
                                                            format:NSPropertyListBinaryFormat_v1_0
                                                           options:0
                                                             error:nullptr]);
}

Bytes message() {
  return copy_of([NSKeyedArchiver archivedDataWithRootObject:archivable({.user = "anna",
                                                                         .text = "hi",
                                                                         .outgoing = true,
                                                                         .time = 7e8})]);
}

/// The payload that the input stands for: raw bytes, or a whole one with bytes XORed, three of the
/// input for one of the payload.
Bytes payload_of(unsigned kind, std::span<const std::uint8_t> rest) {
  static const std::array<Bytes, 2> wholes = [] {
    @autoreleasepool {
      return std::array{arguments(), message()};
    }
  }();
  if (kind % 3 == 2) {
    const auto raw = std::as_bytes(rest);
    return {raw.begin(), raw.end()};
  }
  Bytes payload = wholes[kind % 3];
  for (; rest.size() >= 3; rest = rest.subspan(3))
    payload[(rest[0] + 256U * rest[1]) % payload.size()] ^= std::byte{rest[2]};
  return payload;
}

} // namespace

// Foundation does not release what it had made when it raises.
extern "C" const char *__asan_default_options() {
  return "detect_leaks=0";
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  if (size < 2)
    return 0;
  const auto identifier = static_cast<signed char>(data[0]);
  const Bytes payload = payload_of(data[1], std::span(data, size).subspan(2));

  std::string error;
  const std::unique_ptr<Store> store = Store::open(":memory:", error);
  store->add({"anna", "hello", false, 7e8});
  const Bytes reply = reply_to(*store, identifier, payload);
  if (Request{identifier} == Request::echo) {
    if (reply != payload)
      std::abort();
    return 0;
  }
  if (!reply.empty() && std::memcmp(reply.data(), "bplist00", 8) != 0)
    std::abort();
  const std::vector<Chat> chats = store->chats().value_or(std::vector<Chat>{});
  std::int64_t messages = 0;
  for (const Chat &chat : chats)
    messages += chat.count;
  const bool acknowledged = Request{identifier} == Request::send && !reply.empty();
  if (messages != (acknowledged ? 2 : 1))
    std::abort();
  return 0;
}
