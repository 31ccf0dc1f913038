// What only Linux has: what happens where the environment makes no sense. The library never calls
// this; tools may define it.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/// Called with one line, in UTF-8, about a variable that chooses the device (VELTRO_SYSTEM_VERSION,
/// VELTRO_SCREEN_SCALE, VELTRO_LOG) and has a value without meaning: once for each value, at the
/// start of the process (before main) or where a value that was set later is first used, on that
/// thread. Logs the line; the variable then counts as unset. A program that wants something else
/// defines this function itself.
void VHReportEnvironment(const char *problem);

#ifdef __cplusplus
}
#endif
