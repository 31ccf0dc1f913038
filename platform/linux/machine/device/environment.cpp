#include "machine/device/environment.hpp"

#include <algorithm>
#include <cstdlib>
#include <mutex>
#include <set>
#include <string>

namespace veltro::host {

void (*variable_reporter)(const char *problem) = nullptr;

std::string_view variable(const char *name) {
  const char *const value = std::getenv(name);
  return value != nullptr ? value : "";
}

void report_variable(const char *name, const char *must_be) {
  if (variable_reporter == nullptr)
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
  variable_reporter(problem.c_str());
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
