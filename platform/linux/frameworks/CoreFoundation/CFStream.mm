// Socket streams: the two streams of a TCP connection, which share one socket. Follows Apple's
// CFStream, CFReadStream and CFWriteStream references. Opening waits until the connection stands or
// has failed, where the device connects behind the caller's back; the transfers behave alike.
// The first fields of a request (one byte, then eight) reach the peer together with what follows,
// with the next read or 200 ms later. Other kinds of streams, status, errors, properties, clients
// and run loops are left out.

#include <CoreFoundation/CFStream.h>

#import <Foundation/Foundation.h>

#include "frameworks/CoreFoundation/tcp_connection.hpp"

#include <memory>
#include <netdb.h>

using veltro::host::TcpConnection;
using SharedConnection = std::shared_ptr<TcpConnection>;

/// One direction of a connection.
@interface VHSocketStream : NSObject {
@public
  /// This stream's hold on the connection, until it is closed.
  SharedConnection *_connection;
  BOOL _opened;
  BOOL _failed;
}
- (BOOL)open;
- (void)close;
@end

@implementation VHSocketStream

- (void)dealloc {
  [self close];
  [super dealloc];
}

- (BOOL)open {
  if (_opened || _connection == nullptr)
    return NO;
  (*_connection)->open();
  _opened = YES;
  return YES;
}

- (void)close {
  if (_connection != nullptr)
    (*_connection)->push(); // the other stream may keep the connection for long
  delete _connection;
  _connection = nullptr;
}

@end

namespace {

VHSocketStream *object(const void *stream) {
  return static_cast<VHSocketStream *>(const_cast<void *>(stream));
}

/// One call of `move` on the connection of an open stream that has not failed yet. A failure is
/// final, as on the device, also where the socket would say next that the stream has ended.
template <typename Buffer>
CFIndex transfer(const void *reference, ssize_t (TcpConnection::*move)(Buffer *, std::size_t),
                 Buffer *buffer, CFIndex length) {
  VHSocketStream *const stream = object(reference);
  if (!stream->_opened || stream->_connection == nullptr || stream->_failed || length < 0)
    return -1;
  const CFIndex moved = ((**stream->_connection).*move)(buffer, static_cast<std::size_t>(length));
  if (moved < 0)
    stream->_failed = YES;
  return moved;
}

template <typename Reference>
void make_stream(const SharedConnection &connection, Reference *place) {
  if (place == nullptr)
    return;
  VHSocketStream *const stream = [[VHSocketStream alloc] init];
  stream->_connection = new SharedConnection(connection);
  *place = reinterpret_cast<Reference>(stream);
}

} // namespace

extern "C" {

void CFStreamCreatePairWithSocketToHost(CFAllocatorRef /*allocator*/, CFStringRef host, UInt32 port,
                                        CFReadStreamRef *readStream,
                                        CFWriteStreamRef *writeStream) {
  NSString *string = reinterpret_cast<NSString *>(const_cast<__CFString *>(host));
  char name[NI_MAXHOST];
  if (![string getCString:name maxLength:sizeof name encoding:NSUTF8StringEncoding])
    name[0] = '\0'; // longer than any host's, which does not exist either
  const auto connection = std::make_shared<TcpConnection>(name, port);
  make_stream(connection, readStream);
  make_stream(connection, writeStream);
}

Boolean CFReadStreamOpen(CFReadStreamRef stream) {
  return [object(stream) open];
}

Boolean CFWriteStreamOpen(CFWriteStreamRef stream) {
  return [object(stream) open];
}

CFIndex CFReadStreamRead(CFReadStreamRef stream, UInt8 *buffer, CFIndex bufferLength) {
  return transfer<void>(stream, &TcpConnection::read, buffer, bufferLength);
}

CFIndex CFWriteStreamWrite(CFWriteStreamRef stream, const UInt8 *buffer, CFIndex bufferLength) {
  return transfer<const void>(stream, &TcpConnection::write, buffer, bufferLength);
}

void CFReadStreamClose(CFReadStreamRef stream) {
  [object(stream) close];
}

void CFWriteStreamClose(CFWriteStreamRef stream) {
  [object(stream) close];
}

} // extern "C"
