// NSFoundationVersionNumber, which GNUstep does not have: the number of the release that the device
// of this process plays. A plain variable, as on the device, so that a program may set it.

#import <Foundation/Foundation.h>

#include "machine/device/release.hpp"

extern "C" {
double NSFoundationVersionNumber =
    veltro::host::foundation_version_number(veltro::host::system_version());
}
