#pragma once

#include <CoreFoundation/CFBase.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct __CFReadStream *CFReadStreamRef;
typedef struct __CFWriteStream *CFWriteStreamRef;

/// Makes the two streams of one TCP connection to `port` of `host`, a name or an address. Nothing
/// is looked up or connected before one of them is opened. Each is the caller's to release; where
/// `readStream` or `writeStream` is null that stream is not made.
void CFStreamCreatePairWithSocketToHost(CFAllocatorRef allocator, CFStringRef host, UInt32 port,
                                        CFReadStreamRef *readStream, CFWriteStreamRef *writeStream);

/// Opens the stream, and with the first stream of a pair the connection. False for a stream that
/// was opened or closed before. A connection that cannot be made shows in the transfers, not here.
Boolean CFReadStreamOpen(CFReadStreamRef stream);
Boolean CFWriteStreamOpen(CFWriteStreamRef stream);

/// Reads at most `bufferLength` bytes, waiting until there is at least one: how many, 0 at the end
/// of the stream, -1 on an error or where the stream is not open.
CFIndex CFReadStreamRead(CFReadStreamRef stream, UInt8 *buffer, CFIndex bufferLength);

/// Writes at most `bufferLength` bytes, waiting until at least one is taken: how many, or -1 on an
/// error or where the stream is not open.
CFIndex CFWriteStreamWrite(CFWriteStreamRef stream, const UInt8 *buffer, CFIndex bufferLength);

/// Closes the stream for good. The connection ends when no stream of the pair needs it any more.
void CFReadStreamClose(CFReadStreamRef stream);
void CFWriteStreamClose(CFWriteStreamRef stream);

#ifdef __cplusplus
}
#endif
