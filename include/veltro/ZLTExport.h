#pragma once

/// Marks what the library exports: its classes and constants. Everything else in it is hidden.
#define VELTRO_EXPORT __attribute__((visibility("default")))
