// The idle app as an installed app of the scratch device root, and its processes.
#pragma once

#include "machine/processes/running.hpp"
#include "support/app_bundles.hpp"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace veltro::test {

/// Whether `happened` within half a minute.
inline bool eventually(const std::function<bool()> &happened) {
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!happened()) {
    if (std::chrono::steady_clock::now() > limit)
      return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

/// An installed user app that runs nothing yet. It goes away, its processes too, with the object.
class IdleApp {
public:
  IdleApp(const std::string &identifier, const std::string &name, const std::string &uuid = "A")
      : bundle_(lay_user_app(identifier, name, uuid)),
        home_(device_root() / "var/mobile/Containers/Data/Application" / uuid),
        executable_(bundle_ / name) {
    namespace fs = std::filesystem;
    fs::remove(executable_);
    fs::copy_file(VELTRO_BUILD_DIR "/tests/idle_app", executable_);
  }
  ~IdleApp() {
    for (const pid_t process : processes())
      kill(process, SIGKILL);
    eventually([this] { return processes().empty(); });
    std::error_code ignored;
    std::filesystem::remove_all(bundle_.parent_path(), ignored);
    std::filesystem::remove_all(home_, ignored);
  }
  IdleApp(const IdleApp &) = delete;
  IdleApp &operator=(const IdleApp &) = delete;

  [[nodiscard]] const std::filesystem::path &bundle() const { return bundle_; }
  [[nodiscard]] const std::filesystem::path &home() const { return home_; }
  [[nodiscard]] const std::filesystem::path &executable() const { return executable_; }

  [[nodiscard]] std::vector<pid_t> processes() const {
    return host::processes_running(executable_.string());
  }

  /// Its process, once there is one; 0 where none comes.
  [[nodiscard]] pid_t process() const {
    eventually([this] { return !processes().empty(); });
    const std::vector<pid_t> all = processes();
    return all.empty() ? 0 : all.front();
  }

  /// What it wrote about its start, by the first word of each line.
  [[nodiscard]] std::map<std::string, std::string> description() const {
    std::map<std::string, std::string> words;
    eventually([this] { return std::filesystem::exists(home_ / "launched"); });
    std::ifstream file(home_ / "launched");
    for (std::string word, rest; file >> word && file.ignore() && std::getline(file, rest);)
      words[word] = rest;
    return words;
  }

  /// Sends `signal` to its process; false where there is none.
  [[nodiscard]] bool send(int signal) const {
    const pid_t receiver = process();
    return receiver > 0 && kill(receiver, signal) == 0;
  }

  /// Sends SIGSTOP and waits until it has stopped.
  [[nodiscard]] bool stop() const {
    return send(SIGSTOP) && eventually([this] { return is_stopped(); });
  }

  [[nodiscard]] bool is_stopped() const { return host::stopped_by_signal(process()); }

  /// Whether it keeps counting from now on, by more than it might still do before a signal that
  /// was just sent stops it.
  [[nodiscard]] bool keeps_counting() const {
    const long beats_now = beats();
    return eventually([this, beats_now] { return beats() > beats_now + 20; });
  }

private:
  [[nodiscard]] long beats() const {
    long count = -1;
    std::ifstream(home_ / "beats") >> count;
    return count;
  }

  std::filesystem::path bundle_;
  std::filesystem::path home_;
  std::filesystem::path executable_;
};

} // namespace veltro::test
