#include "machine/processes/launch.hpp"

#include "support/idle_apps.hpp"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace veltro::host {
namespace {

using test::IdleApp;

std::vector<std::string> environment_of(const IdleApp &app) {
  return {"HOME=" + app.home().string()};
}

TEST(Launch, StartsTheProgramInASessionOfItsOwn) {
  const IdleApp app("org.example.idle", "Idle");
  const Launch launched = launch(app.executable().string(), environment_of(app));
  EXPECT_EQ(launched.error, 0);
  EXPECT_EQ(app.process(), launched.process);
  auto described = app.description();
  EXPECT_EQ(described["pid"], std::to_string(launched.process));
  EXPECT_EQ(described["session"], described["pid"]);
  EXPECT_EQ(described["folder"], "/");
}

TEST(Launch, LeavesItOnlyTheNullDevice) {
  const IdleApp app("org.example.idle", "Idle");
  const int inherited = open("/dev/zero", O_RDONLY); // without O_CLOEXEC on purpose
  const int high = fcntl(inherited, F_DUPFD, 200);
  EXPECT_EQ(launch(app.executable().string(), environment_of(app)).error, 0);
  EXPECT_EQ(app.description()["descriptors"], "0=/dev/null 1=/dev/null 2=/dev/null ");
  close(inherited);
  close(high);
}

TEST(Launch, ReachesTheProgramAlsoWhereThisOneHasNoStandardDescriptors) {
  const IdleApp app("org.example.idle", "Idle");
  const int saved = dup(STDIN_FILENO);
  close(STDIN_FILENO);
  EXPECT_EQ(launch(app.executable().string(), environment_of(app)).error, 0);
  if (saved >= 0) {
    dup2(saved, STDIN_FILENO);
    close(saved);
  }
  EXPECT_EQ(app.description()["descriptors"], "0=/dev/null 1=/dev/null 2=/dev/null ");
}

TEST(Launch, NeitherBlocksNorIgnoresSignalsThere) {
  const IdleApp app("org.example.idle", "Idle");
  sigset_t one;
  sigset_t before;
  sigset_t after;
  sigemptyset(&one);
  sigaddset(&one, SIGUSR1);
  pthread_sigmask(SIG_BLOCK, &one, &before);
  const auto old = std::signal(SIGPIPE, SIG_IGN);
  EXPECT_EQ(launch(app.executable().string(), environment_of(app)).error, 0);
  EXPECT_EQ(app.description()["blocked"], "0");
  EXPECT_EQ(app.description()["ignored"], "0");
  pthread_sigmask(SIG_SETMASK, &before, &after);
  EXPECT_EQ(sigismember(&after, SIGUSR1), 1) << "this thread's own mask stays";
  EXPECT_EQ(sigismember(&after, SIGUSR2), 0);
  struct sigaction action{};
  sigaction(SIGPIPE, nullptr, &action);
  EXPECT_EQ(action.sa_handler, SIG_IGN);
  std::signal(SIGPIPE, old);
}

int children_ended;
void child_ended(int /*signal*/) {
  children_ended += 1;
}

TEST(Launch, LeavesNoZombieAndDisturbsNoChildOfThisProcess) {
  const IdleApp app("org.example.idle", "Idle");
  children_ended = 0;
  const auto old = std::signal(SIGCHLD, child_ended);
  const Launch launched = launch(app.executable().string(), environment_of(app));
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG | __WALL), -1);
  EXPECT_EQ(errno, ECHILD);
  kill(launched.process, SIGKILL);
  EXPECT_TRUE(test::eventually([&] { return app.processes().empty(); }));
  EXPECT_EQ(children_ended, 0);
  std::signal(SIGCHLD, old);
}

TEST(Launch, WorksWhileThisProcessReapsAllChildrenItself) {
  const IdleApp app("org.example.idle", "Idle");
  const pid_t own = fork();
  if (own == 0)
    _exit(7);
  EXPECT_EQ(launch(app.executable().string(), environment_of(app)).error, 0);
  int status = 0;
  EXPECT_EQ(waitpid(-1, &status, 0), own);
  EXPECT_EQ(WEXITSTATUS(status), 7);
}

TEST(Launch, WorksWhileOtherThreadsAllocate) {
  const IdleApp app("org.example.idle", "Idle");
  std::atomic<bool> stop = false;
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i)
    threads.emplace_back([&stop] {
      while (!stop)
        std::vector<std::string>(100, std::string(100, 'x')).clear();
    });
  for (int i = 0; i < 50; ++i)
    EXPECT_EQ(launch("/bin/true", {}).error, 0);
  stop = true;
  for (std::thread &thread : threads)
    thread.join();
}

TEST(Launch, WorksWithoutAnyEnvironment) {
  char **const saved = environ;
  environ = nullptr; // as clearenv leaves it
  const Launch launched = launch("/bin/true", {});
  environ = saved;
  EXPECT_EQ(launched.error, 0);
}

TEST(Launch, SaysWhyAProgramCannotBeStarted) {
  const test::ScratchFolder folder;
  EXPECT_EQ(launch((folder.path() / "missing").string(), {}).error, ENOENT);
  EXPECT_EQ(launch((folder.path() / "missing").string(), {}).process, 0);
  test::write_file(folder.path() / "plain", "text");
  EXPECT_EQ(launch((folder.path() / "plain").string(), {}).error, EACCES);
  test::write_script(folder.path() / "nonsense", "no program");
  EXPECT_EQ(launch((folder.path() / "nonsense").string(), {}).error, ENOEXEC);
  EXPECT_EQ(launch(folder.path().string(), {}).error, EACCES);
}

TEST(Launch, TakesTheChangesInsteadOfItsOwnVariables) {
  setenv("VELTRO_TEST_KEPT", "kept", 1);
  setenv("VELTRO_TEST_CHANGED", "old", 1);
  const test::ScratchFolder folder;
  const std::filesystem::path seen = folder.path() / "seen";
  test::write_script(
      folder.path() / "program",
      "#!/bin/sh\ntr '\\0' '\\n' </proc/$$/environ >\"$SEEN.part\"; mv \"$SEEN.part\" \"$SEEN\"\n");
  // Not as a shell's env has it, which would leave out what comes twice.
  const std::vector<std::string> changes{"VELTRO_TEST_CHANGED=new", "VELTRO_TEST_ADDED=a=b",
                                         "SEEN=" + seen.string()};
  EXPECT_EQ(launch((folder.path() / "program").string(), changes).error, 0);
  EXPECT_TRUE(test::eventually([&] { return std::filesystem::exists(seen); }));
  std::vector<std::string> variables;
  std::ifstream file(seen);
  for (std::string line; std::getline(file, line);)
    variables.push_back(line);
  EXPECT_EQ(std::ranges::count(variables, "VELTRO_TEST_KEPT=kept"), 1);
  EXPECT_EQ(std::ranges::count(variables, "VELTRO_TEST_CHANGED=new"), 1);
  EXPECT_EQ(std::ranges::count(variables, "VELTRO_TEST_CHANGED=old"), 0);
  EXPECT_EQ(std::ranges::count(variables, "VELTRO_TEST_ADDED=a=b"), 1);
}

} // namespace
} // namespace veltro::host
