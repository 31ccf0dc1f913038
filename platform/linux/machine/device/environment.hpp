// The variables that choose what device this machine plays, as they were set.
#pragma once

#include <string_view>

namespace veltro::host {

/// The variable's value; empty where it is unset.
std::string_view variable(const char *name);

/// Tells the reporter what the variable must be and is not, once for each value and process.
void report_variable(const char *name, const char *must_be);

/// Has `reporter` called with each such line, in UTF-8. Nothing is told, nor noted as told, before
/// there is one: while the process starts no line can be logged.
void set_variable_reporter(void (*reporter)(const char *problem));

/// Pixels a point: `VELTRO_SCREEN_SCALE` as it stands at this moment, 1, 2 or 3; 2 where it is
/// unset or empty, and where it is something else, which is reported.
int screen_scale();

} // namespace veltro::host
