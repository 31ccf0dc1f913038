// AudioToolbox as far as this library uses it.
#pragma once

#include <MacTypes.h>

#import <Foundation/Foundation.h>

typedef UInt32 SystemSoundID;

#import <AudioToolbox/AudioServicesVibration.h>
