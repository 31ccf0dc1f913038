// The Security framework as far as this library uses it.
#pragma once

#include <Security/SecBase.h>
#include <Security/SecItem.h>
