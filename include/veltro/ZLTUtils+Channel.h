#pragma once

#include <veltro/ZLTLanguage.h>

#ifdef VELTRO_LANGUAGE

#import <veltro/ZLTUtils.h>

#include <CoreFoundation/CoreFoundation.h>

/// Requests to the add-on's server inside the messaging app: one TCP connection to 127.0.0.1 for
/// one request and one reply. Every method blocks the calling thread, without a timeout, and may be
/// called on any thread.
@interface ZLTUtils (Channel)

/// Reads exactly `length` bytes from a stream.
/// @param stream An open stream; null only with length 0.
/// @param buffer Where the bytes go, large enough for them; null only with length 0.
/// @param length The number of bytes, any; with 0 the stream is not touched.
/// @return YES where all were read, and for length 0; NO at the end of the stream or on an error:
/// what was read before then is in the buffer.
+ (BOOL)readBytes:(CFReadStreamRef)stream buffer:(void *)buffer length:(NSUInteger)length;

/// Writes exactly `length` bytes to a stream.
/// @param stream An open stream; null only with length 0.
/// @param bytes The bytes; null only with length 0.
/// @param length The number of bytes, any; with 0 the stream is not touched.
/// @return YES where all were written, and for length 0; NO when the stream takes no more: what was
/// written before then stays written.
+ (BOOL)writeBytes:(CFWriteStreamRef)stream bytes:(const void *)bytes length:(NSUInteger)length;

/// Sends one request to port `socketPort` of ZLTSocketUtils and waits for the reply.
///
/// Blocks until the reply is there or the connection ends. Threads may send at the same time, each
/// over its own connection. Every request logs one line with its identifier, its whole payload and
/// the port.
/// @param messageId The request's identifier, any byte. What it means is agreed between the client
/// and the server.
/// @param messageData The payload, of any length; nil counts as empty.
/// @return The reply's bytes, autoreleased; never nil. They are none on every failure: the
/// messaging app is not running (the only one that is logged), no connection, a connection that
/// ends early, a reply too large for memory. A reply that is empty by itself looks the same. A
/// 32-bit build uses the low 32 bits of the reply's length only.
+ (NSData *)sendMessage:(char)messageId messageData:(NSData *)messageData;

@end

#endif
