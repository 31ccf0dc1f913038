// GNUstep's headers ask for the blocks runtime by this name; on Linux it is BlocksRuntime's.
#pragma once
#include <Block.h>
