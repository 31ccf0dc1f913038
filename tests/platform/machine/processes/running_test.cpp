#include "machine/processes/running.hpp"

#include "machine/processes/launch.hpp"
#include "support/idle_apps.hpp"
#include "support/short_lived_processes.hpp"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace veltro::host {
namespace {

using test::eventually;
using test::IdleApp;

/// A script that runs until it is killed, by its path.
class Script {
public:
  explicit Script(const std::filesystem::path &path, const std::string &first_line = "#!/bin/sh")
      : path_(path.string()) {
    test::write_script(path, first_line + "\nwhile :; do sleep 0.05; done\n");
    process_ = launch(path_, {}).process;
  }
  ~Script() { kill(process_, SIGKILL); }
  Script(const Script &) = delete;
  Script &operator=(const Script &) = delete;

  [[nodiscard]] const std::string &path() const { return path_; }
  [[nodiscard]] pid_t process() const { return process_; }

private:
  std::string path_;
  pid_t process_ = 0;
};

TEST(Running, FindsAProgramByItsFile) {
  const IdleApp app("org.example.idle", "Idle");
  const std::string executable = app.executable().string();
  EXPECT_TRUE(processes_running(executable).empty());
  const Launch launched = launch(executable, {"HOME=" + app.home().string()});
  EXPECT_EQ(processes_running(executable), std::vector{launched.process});
  EXPECT_TRUE(runs(launched.process, executable));
  EXPECT_FALSE(runs(getpid(), executable));
}

TEST(Running, TellsAProgramThatIsReadFromOneThatRuns) {
  const IdleApp app("org.example.idle", "Idle");
  const std::string executable = app.executable().string();
  const int reader = open(executable.c_str(), O_RDONLY | O_CLOEXEC);
  EXPECT_TRUE(processes_running(executable).empty());
  const Launch launched = launch(executable, {"HOME=" + app.home().string()});
  EXPECT_EQ(processes_running(executable), std::vector{launched.process});
  close(reader);
}

TEST(Running, LeavesTheProgramToWhoeverOpensItNext) {
  const IdleApp app("org.example.idle", "Idle");
  const std::string executable = app.executable().string();
  EXPECT_TRUE(processes_running(executable).empty());
  const int writer = open(executable.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK);
  EXPECT_GE(writer, 0) << std::strerror(errno);
  close(writer);
}

TEST(Running, FindsAScriptAsSoonAsItWasLaunched) {
  // On a busy machine the launched process gets its turn late.
  std::atomic<bool> done = false;
  std::vector<std::thread> busy;
  for (int index = 0; index < 8; ++index)
    busy.emplace_back([&] {
      while (!done) {
      }
    });
  for (int round = 0; round < 40; ++round) {
    const Script script(test::scratch() / ("early" + std::to_string(round)));
    EXPECT_TRUE(runs(script.process(), script.path()));
  }
  done = true;
  for (std::thread &thread : busy)
    thread.join();
}

TEST(Running, FindsAProgramThroughALink) {
  const IdleApp app("org.example.idle", "Idle");
  const Launch launched = launch(app.executable().string(), {"HOME=" + app.home().string()});
  const std::filesystem::path link = test::scratch() / "link";
  std::filesystem::create_directory_symlink(app.bundle(), link);
  EXPECT_EQ(processes_running((link / "Idle").string()), std::vector{launched.process});
}

TEST(Running, DoesNotTakeACopyForTheProgram) {
  const IdleApp app("org.example.idle", "Idle", "A");
  const IdleApp copy("org.example.copy", "Idle", "B");
  launch(app.executable().string(), {"HOME=" + app.home().string()});
  EXPECT_NE(app.process(), 0);
  EXPECT_TRUE(copy.processes().empty());
}

TEST(Running, FindsAScript) {
  const Script script(test::scratch() / "a script with a long name");
  EXPECT_TRUE(eventually(
      [&] { return processes_running(script.path()) == std::vector{script.process()}; }));
}

TEST(Running, FindsAScriptWhoseInterpreterHasAnArgument) {
  const Script script(test::scratch() / "script", "#!/bin/sh -u");
  EXPECT_TRUE(eventually(
      [&] { return processes_running(script.path()) == std::vector{script.process()}; }));
}

TEST(Running, DoesNotTakeAProgramThatReadsAScriptForIt) {
  const std::string path = (test::scratch() / "script").string();
  test::write_script(path, "#!/bin/sh\n");
  const pid_t reader = fork();
  if (reader == 0) {
    execl("/usr/bin/tail", "tail", "-fn0", path.c_str(), nullptr);
    _exit(1);
  }
  EXPECT_TRUE(eventually([&] { return runs(reader, "/usr/bin/tail"); }));
  EXPECT_FALSE(runs(reader, path));
  kill(reader, SIGKILL);
  waitpid(reader, nullptr, 0);
}

TEST(Running, FindsNothingForAFileThatIsNotThere) {
  EXPECT_TRUE(processes_running("/nonexistent").empty());
  EXPECT_TRUE(processes_running("").empty());
  EXPECT_FALSE(runs(getpid(), "/nonexistent"));
}

void expect_uncounted_once_ended(const std::string &executable) {
  const pid_t child = fork();
  if (child == 0)
    _exit(execl(executable.c_str(), executable.c_str(), nullptr));
  EXPECT_TRUE(eventually([&] { return processes_running(executable) == std::vector{child}; }));
  kill(child, SIGKILL);
  siginfo_t information{};
  waitid(P_PID, static_cast<id_t>(child), &information, WEXITED | WNOWAIT);
  EXPECT_TRUE(processes_running(executable).empty()) << "a zombie runs nothing";
  EXPECT_FALSE(runs(child, executable));
  waitpid(child, nullptr, 0);
}

TEST(Running, DoesNotCountWhoHasEnded) {
  const IdleApp app("org.example.idle", "Idle");
  expect_uncounted_once_ended(app.executable().string());
  const std::filesystem::path script = test::scratch() / "script";
  test::write_script(script, "#!/bin/sh\nwhile :; do sleep 0.05; done\n");
  expect_uncounted_once_ended(script.string());
}

TEST(Stopped, IsWhatASignalStopped) {
  const IdleApp app("org.example.idle", "I) T (dle");
  const Launch launched = launch(app.executable().string(), {"HOME=" + app.home().string()});
  EXPECT_FALSE(stopped_by_signal(launched.process));
  EXPECT_TRUE(app.stop());
  kill(launched.process, SIGCONT);
  EXPECT_TRUE(eventually([&] { return !stopped_by_signal(launched.process); }));
  EXPECT_FALSE(stopped_by_signal(0));
}

TEST(Stopped, IsNothingThatEndsWhileItIsLookedAt) {
  const test::ShortLivedProcesses churn;
  for (int round = 0; round < 20'000; ++round)
    EXPECT_NO_THROW(EXPECT_FALSE(stopped_by_signal(churn.latest())));
}

} // namespace
} // namespace veltro::host
