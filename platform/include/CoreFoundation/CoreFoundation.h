// Core Foundation as far as this library uses it.
#pragma once

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFNumber.h>
#include <CoreFoundation/CFStream.h>
