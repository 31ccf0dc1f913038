// GCC's <objc/message.h>, after the wrapped <objc/objc.h>.
#pragma once

#include <objc/objc.h>

#include_next <objc/message.h>
