// The variables that choose what device this machine plays, as they were set.
#pragma once

#include <string_view>

namespace veltro::host {

/// The variable's value; empty where it is unset.
std::string_view variable(const char *name);

/// Called with each line about a variable, in UTF-8. Null while the process starts: nothing is told
/// then, nor noted as told.
extern void (*variable_reporter)(const char *problem);

/// Tells the reporter what the variable must be and is not, once for each value and process.
void report_variable(const char *name, const char *must_be);

/// Pixels a point: `VELTRO_SCREEN_SCALE` as it stands at this moment, 1, 2 or 3; 2 where it is
/// unset or empty, and where it is something else, which is reported.
int screen_scale();

} // namespace veltro::host
