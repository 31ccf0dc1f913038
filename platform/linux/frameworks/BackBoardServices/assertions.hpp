// What keeps apps running: one thread, from the first assertion on, that continues the processes of
// asserted apps whenever a signal has stopped them.
#pragma once

#include <functional>
#include <memory>
#include <string>

namespace veltro::host {

/// An assertion on the app with a bundle identifier, from construction to destruction.
class Assertion {
public:
  /// `report` is called once, on the thread of the assertions and never before the constructor has
  /// returned, with whether the app runs and the assertion was acquired.
  Assertion(std::string identifier, std::function<void(bool)> report);
  ~Assertion();
  Assertion(const Assertion &) = delete;
  Assertion &operator=(const Assertion &) = delete;

  /// Whether it was acquired and not given up.
  [[nodiscard]] bool valid() const;

  /// Once this has returned no process is continued any more on its behalf. A report that is still
  /// due is given nevertheless, and is no.
  void give_up();

  struct State;

private:
  std::shared_ptr<State> state_;
};

/// Whether any assertion of this process on that app is valid.
bool is_kept_alive(const std::string &identifier);

} // namespace veltro::host
