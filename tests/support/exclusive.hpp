// For a test file that starts a process named WhatsApp or relies on there being none: its program
// then runs under tests/support/exclusive, however it is started.
#pragma once

/// Stands once in the file, outside all namespaces.
#define VELTRO_TEST_EXCLUSIVE extern "C" const char veltro_test_exclusive = 1

namespace veltro::test {

/// Starts the program again under tests/support/exclusive where it asks for that and does not run
/// so yet.
void run_exclusively_if_asked(int argc, char **argv);

} // namespace veltro::test
