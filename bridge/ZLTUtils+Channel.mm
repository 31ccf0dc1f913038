#import <veltro/ZLTSocketUtils.h>
#import <veltro/ZLTUtils+Channel.h>
#import <veltro/ZLTUtils+ProcessTable.h>

#include "bridge/transfer.hpp"
#include "bridge/wire_format.hpp"

#include <stdlib.h>

namespace {

/// The streams of one request's connection, closed and released in the order that is the channel's.
struct StreamPair {
  CFReadStreamRef read = nullptr;
  CFWriteStreamRef write = nullptr;

  StreamPair() = default;
  StreamPair(const StreamPair &) = delete;
  StreamPair &operator=(const StreamPair &) = delete;
  ~StreamPair() {
    if (complete()) {
      CFReadStreamClose(read);
      CFWriteStreamClose(write);
    }
    if (read != nullptr)
      CFRelease(read);
    if (write != nullptr)
      CFRelease(write);
  }

  [[nodiscard]] bool complete() const { return read != nullptr && write != nullptr; }
};

bool write_request(Class utils, CFWriteStreamRef stream, char identifier, NSData *payload) {
  const NSUInteger length = [payload length];
  const veltro::LengthField field = veltro::encode_length(length);
  return [utils writeBytes:stream bytes:&identifier length:sizeof identifier] &&
         [utils writeBytes:stream bytes:field.data() length:field.size()] &&
         [utils writeBytes:stream bytes:[payload bytes] length:length];
}

/// The reply, or nil.
NSData *read_reply(Class utils, CFReadStreamRef stream) {
  veltro::LengthField field{};
  if (![utils readBytes:stream buffer:field.data() length:field.size()])
    return nil;
  const auto length = veltro::decode_length<NSUInteger>(field);
  void *bytes = malloc(length);
  if (bytes == nullptr)
    return nil;
  if (![utils readBytes:stream buffer:bytes length:length]) {
    free(bytes);
    return nil;
  }
  return [NSData dataWithBytesNoCopy:bytes length:length freeWhenDone:YES];
}

/// The reply to one request over a connection of its own, or nil.
NSData *ask_server(Class utils, char identifier, NSData *payload) {
  StreamPair streams;
  CFStreamCreatePairWithSocketToHost(
      kCFAllocatorDefault, reinterpret_cast<CFStringRef>(@"127.0.0.1"),
      static_cast<UInt32>([ZLTSocketUtils socketPort]), &streams.read, &streams.write);
  if (!streams.complete())
    return nil;
  // What opening returns tells nothing: a connection that fails shows in the transfers.
  CFReadStreamOpen(streams.read);
  CFWriteStreamOpen(streams.write);
  if (!write_request(utils, streams.write, identifier, payload))
    return nil;
  return read_reply(utils, streams.read);
}

} // namespace

@implementation ZLTUtils (Channel)

+ (BOOL)readBytes:(CFReadStreamRef)stream buffer:(void *)buffer length:(NSUInteger)length {
  return veltro::transfer_all(
      static_cast<UInt8 *>(buffer), length, [stream](UInt8 *position, NSUInteger left) {
        return CFReadStreamRead(stream, position, static_cast<CFIndex>(left));
      });
}

+ (BOOL)writeBytes:(CFWriteStreamRef)stream bytes:(const void *)bytes length:(NSUInteger)length {
  return veltro::transfer_all(
      static_cast<const UInt8 *>(bytes), length, [stream](const UInt8 *position, NSUInteger left) {
        return CFWriteStreamWrite(stream, position, static_cast<CFIndex>(left));
      });
}

+ (NSData *)sendMessage:(char)messageId messageData:(NSData *)messageData {
  // The bracket without a partner is part of the line, which log readers know letter for letter; so
  // is the number 319 below.
  NSLog(@"messageId %d & messageData: %@, ZLTSocketUtils socketPort]: %ld",
        static_cast<signed char>(messageId), messageData,
        static_cast<long>([ZLTSocketUtils socketPort]));
  if (![self isWhatsAppRunning]) {
    NSLog(@"com.norvane.Veltro: Error => %s, [Line %d], Seems WhatsApp is not running, hence "
          @"returning...",
          "+[ZLTUtils sendMessage:messageData:]", 319);
    return [NSData data];
  }
  NSData *reply = ask_server(self, messageId, messageData);
  return reply != nil ? reply : [NSData data];
}

@end
