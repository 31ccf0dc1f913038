#include "support/exclusive.hpp"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <span>
#include <string_view>
#include <unistd.h>
#include <vector>

extern "C" __attribute__((weak)) const char veltro_test_exclusive;

namespace veltro::test {

void run_exclusively_if_asked(int argc, char **argv) {
  if (&veltro_test_exclusive == nullptr || std::getenv("VELTRO_TEST_EXCLUSIVE") != nullptr)
    return;
  for (const std::string_view argument : std::span(argv, static_cast<std::size_t>(argc)))
    if (argument == "--gtest_list_tests")
      return;
  std::string script = VELTRO_SOURCE_DIR "/tests/support/exclusive";
  std::string program = std::filesystem::read_symlink("/proc/self/exe");
  std::vector<char *> command{script.data(), program.data()};
  command.insert(command.end(), argv + 1, argv + argc + 1);
  execv(script.c_str(), command.data());
  std::perror("tests/support/exclusive");
  std::exit(1);
}

} // namespace veltro::test
