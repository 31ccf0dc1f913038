// GCC's <objc/runtime.h>, after the wrapped <objc/objc.h>.
#pragma once

#include <objc/objc.h>

#include_next <objc/runtime.h>
