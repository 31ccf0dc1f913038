// CoreMedia as far as this library uses it.
#pragma once

#import <CoreMedia/FigVibrator.h>
