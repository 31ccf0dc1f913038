#include "machine/device/environment.hpp"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <mutex>
#include <set>
#include <string>

namespace veltro::host {
namespace {

constinit std::atomic<void (*)(const char *)> reporter_of_variables = nullptr;

} // namespace

std::string_view variable(const char *name) {
  const char *const value = std::getenv(name);
  return value != nullptr ? value : "";
}

void report_variable(const char *name, const char *must_be) {
  const auto report = reporter_of_variables.load();
  if (report == nullptr)
    return;
  static std::mutex mutex;
  static std::set<std::string> reported;
  std::string problem = name;
  problem.append(" is '").append(variable(name)).append("'; it must be ").append(must_be);
  std::ranges::replace_if(problem, [](char byte) { return byte >= 0 && byte < ' '; }, '?');
  {
    // Not held while the reporter runs, which may itself look at a variable.
    const std::lock_guard lock(mutex);
    if (!reported.insert(problem).second)
      return;
  }
  report(problem.c_str());
}

void set_variable_reporter(void (*reporter)(const char *problem)) {
  reporter_of_variables = reporter;
}

int screen_scale() {
  constexpr const char *kVariable = "VELTRO_SCREEN_SCALE";
  const std::string_view chosen = variable(kVariable);
  if (chosen.size() == 1 && chosen.front() >= '1' && chosen.front() <= '3')
    return chosen.front() - '0';
  if (!chosen.empty())
    report_variable(kVariable, "1, 2 or 3");
  return 2;
}

} // namespace veltro::host
