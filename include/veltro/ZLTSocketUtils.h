#pragma once

#include <veltro/ZLTLanguage.h>

#ifdef VELTRO_LANGUAGE

#import <Foundation/Foundation.h>
#import <veltro/ZLTExport.h>

/// Holds the port of the add-on's server inside the messaging app for this process.
VELTRO_EXPORT
@interface ZLTSocketUtils : NSObject

/// The port that requests go to. Does not fail. Any thread.
/// @return The port as it was set, any number; 0, on which nobody listens, until one is set.
+ (NSInteger)socketPort;

/// Sets the port for all later requests of this process, and does not fail. The port is kept in a
/// plain variable: set it once, before the first request and from one thread. It is not kept beyond
/// the process.
/// @param port The TCP port. Any number is taken as it is; a connection uses its low 32 bits, and
/// only 1 to 65535 reach a server.
+ (void)setSocketPort:(NSInteger)port;

@end

#endif
