#pragma once

#include <veltro/ZLTLanguage.h>

#ifdef VELTRO_LANGUAGE

#import <veltro/ZLTUtils.h>

#include <CoreFoundation/CoreFoundation.h>

/// Requests to the add-on's server inside the messaging app: one TCP connection to 127.0.0.1 for
/// one request and one reply.
@interface ZLTUtils (Channel)

/// Reads exactly `length` bytes from an open stream into `buffer`, which must be large enough.
/// NO at the end of the stream or on an error; what was read before then is in the buffer. For
/// length 0 the result is YES and the stream is not touched. Blocks the calling thread without a
/// timeout.
+ (BOOL)readBytes:(CFReadStreamRef)stream buffer:(void *)buffer length:(NSUInteger)length;

/// Writes exactly `length` bytes to an open stream. NO when the stream takes no more; what was
/// written before then stays written. For length 0 the result is YES and the stream is not touched.
/// Blocks the calling thread without a timeout.
+ (BOOL)writeBytes:(CFWriteStreamRef)stream bytes:(const void *)bytes length:(NSUInteger)length;

/// Sends one request to port `socketPort` of ZLTSocketUtils and waits for the reply.
///
/// What an identifier means is agreed between the client and the server. `messageData` is the
/// payload and may be nil, which counts as empty. The result is the reply's bytes, autoreleased and
/// never nil. It is empty on every failure: the messaging app is not running (the only one that is
/// logged), no connection, a connection that ends early, a reply too large for memory. A reply that
/// is empty by itself looks the same. A 32-bit build uses the low 32 bits of the reply's length
/// only.
///
/// Blocks the calling thread until the reply is there or the connection ends; there is no timeout.
/// Threads may send at the same time, each over its own connection. Every request logs one line
/// with its identifier, its whole payload and the port.
+ (NSData *)sendMessage:(char)messageId messageData:(NSData *)messageData;

@end

#endif
