// The tool refuses variables without meaning, where other programs log them.

#include <VeltroHost/VHEnvironment.h>
#include <cstdio>
#include <unistd.h>

/// Runs before main, when the standard streams of C++ may not be ready.
extern "C" void VHReportEnvironment(const char *problem) {
  dprintf(STDERR_FILENO, "veltro: %s\n", problem);
  _exit(2);
}
