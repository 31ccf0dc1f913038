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
- (instancetype)initWithConnection:(const SharedConnection &)connection;
- (BOOL)open;
- (void)close;
@end

@implementation VHSocketStream

- (instancetype)initWithConnection:(const SharedConnection &)connection {
  self = [super init];
  if (self != nil)
    _connection = new SharedConnection(connection);
  return self;
}

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

/// One call of `move` on the connection of an open stream that has not failed yet. A failure is
/// final, as on the device, also where the socket would say next that the stream has ended.
template <typename Move> CFIndex transfer(VHSocketStream *stream, CFIndex length, Move move) {
  if (!stream->_opened || stream->_connection == nullptr || stream->_failed || length < 0)
    return -1;
  const CFIndex moved = move(**stream->_connection, static_cast<std::size_t>(length));
  if (moved < 0)
    stream->_failed = YES;
  return moved;
}

VHSocketStream *object(const void *stream) {
  return static_cast<VHSocketStream *>(const_cast<void *>(stream));
}

template <typename Reference>
void make_stream(const SharedConnection &connection, Reference *place) {
  if (place != nullptr)
    *place = reinterpret_cast<Reference>([[VHSocketStream alloc] initWithConnection:connection]);
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
  return transfer(object(stream), bufferLength,
                  [buffer](TcpConnection &connection, std::size_t length) {
                    return connection.read(buffer, length);
                  });
}

CFIndex CFWriteStreamWrite(CFWriteStreamRef stream, const UInt8 *buffer, CFIndex bufferLength) {
  return transfer(object(stream), bufferLength,
                  [buffer](TcpConnection &connection, std::size_t length) {
                    return connection.write(buffer, length);
                  });
}

void CFReadStreamClose(CFReadStreamRef stream) {
  [object(stream) close];
}

void CFWriteStreamClose(CFWriteStreamRef stream) {
  [object(stream) close];
}

} // extern "C"
