// GNUstep's headers ask for the blocks runtime by this name.
#pragma once
#include <Block.h>
