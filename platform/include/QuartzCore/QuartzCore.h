// Core Animation as far as this library uses it.
#pragma once

#import <QuartzCore/CALayer.h>
