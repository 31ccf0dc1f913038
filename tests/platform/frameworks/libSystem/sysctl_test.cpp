#include <sys/sysctl.h>

#include "machine/device/machine.hpp"
#include "machine/processes/process_records.hpp"
#include "support/named_process.hpp"
#include "support/scratch.hpp"
#include "support/short_lived_processes.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

using veltro::test::NamedProcess;

std::array<int, 4> all_processes{CTL_KERN, KERN_PROC, KERN_PROC_ALL, 0};

int read_table(void *buffer, std::size_t *size) {
  return sysctl(all_processes.data(), 4, buffer, size, nullptr, 0);
}

std::vector<kinfo_proc> whole_table() {
  std::size_t size = 0;
  EXPECT_EQ(read_table(nullptr, &size), 0);
  std::vector<kinfo_proc> records(size / sizeof(kinfo_proc));
  EXPECT_EQ(read_table(records.data(), &size), 0);
  EXPECT_EQ(size % sizeof(kinfo_proc), 0U);
  records.resize(size / sizeof(kinfo_proc));
  return records;
}

std::string_view bytes_of(const kinfo_proc &record) {
  return {reinterpret_cast<const char *>(&record), sizeof record};
}

std::string name_of(pid_t identifier) {
  for (const kinfo_proc &record : whole_table())
    if (record.kp_proc.p_pid == identifier)
      return record.kp_proc.p_comm;
  return "(absent)";
}

TEST(ProcessTable, SizeIsMoreThanTheTableTakes) {
  std::size_t size = 0;
  // Other processes come and go: there are as many as before or as after.
  const std::size_t before = whole_table().size();
  ASSERT_EQ(read_table(nullptr, &size), 0);
  EXPECT_EQ(size % sizeof(kinfo_proc), 0U);
  EXPECT_GE(size / sizeof(kinfo_proc), std::min(before, whole_table().size()) + 10);
}

TEST(ProcessTable, HoldsEveryProcessOnceNewestFirst) {
  const NamedProcess child("child");
  const std::vector<kinfo_proc> records = whole_table();
  EXPECT_TRUE(std::ranges::is_sorted(records, [](const kinfo_proc &one, const kinfo_proc &other) {
    return one.kp_proc.p_pid > other.kp_proc.p_pid;
  }));
  for (const pid_t identifier : {getpid(), getppid(), child.pid()})
    EXPECT_EQ(
        std::ranges::count_if(
            records, [=](const kinfo_proc &record) { return record.kp_proc.p_pid == identifier; }),
        1);
}

TEST(ProcessTable, RecordIsZeroOutsideTheFieldsThatAreFilled) {
  std::size_t size = 0;
  ASSERT_EQ(read_table(nullptr, &size), 0);
  std::vector<unsigned char> bytes(size, 0xab);
  ASSERT_EQ(read_table(bytes.data(), &size), 0);
  for (std::size_t at = 0; at < size; at += sizeof(kinfo_proc)) {
    kinfo_proc record;
    std::memcpy(&record, &bytes[at], sizeof record);
    kinfo_proc expected;
    std::memset(&expected, 0, sizeof expected);
    expected.kp_proc.p_pid = record.kp_proc.p_pid;
    std::memcpy(expected.kp_proc.p_comm, record.kp_proc.p_comm, sizeof expected.kp_proc.p_comm);
    EXPECT_EQ(bytes_of(record), bytes_of(expected));
    EXPECT_EQ(record.kp_proc.p_comm[MAXCOMLEN], '\0');
  }
}

TEST(ProcessTable, ShortBufferGetsWholeRecordsAndNoMemory) {
  const NamedProcess child("child");
  std::array<unsigned char, 3 * sizeof(kinfo_proc)> bytes{};
  bytes.fill(0xab);
  std::size_t size = 2 * sizeof(kinfo_proc) + 100;
  EXPECT_EQ(read_table(bytes.data(), &size), -1);
  EXPECT_EQ(errno, ENOMEM);
  EXPECT_EQ(size, 2 * sizeof(kinfo_proc));
  EXPECT_TRUE(std::all_of(bytes.begin() + 2 * sizeof(kinfo_proc), bytes.end(),
                          [](unsigned char byte) { return byte == 0xab; }));

  size = 0;
  EXPECT_EQ(read_table(bytes.data(), &size), -1);
  EXPECT_EQ(errno, ENOMEM);
  EXPECT_EQ(size, 0U);
}

TEST(ProcessTable, NamesOfAnyBytes) {
  const std::pair<const char *, const char *> names[] = {
      {"a b) (c", "a b) (c"},
      {"line\nbreak", "line\nbreak"},
      {"fourteen-bytes", "fourteen-bytes"},
      {"fifteen-bytes-x", "fifteen-bytes-x"},
      {"caf\xc3\xa9 \xf0\x9f\x98\x80", "caf\xc3\xa9 \xf0\x9f\x98\x80"},
      {"\xff"
       "abc",
       "?abc"},
      {"abc\xc3", "abc?"},
      {"\xc3"
       "abc",
       "?abc"},
      {"\xc0\xaf", "??"},
      {"\xe0\x9f\xbf"
       "x",
       "???x"},
      {"\xed\xa0\x80"
       "x",
       "???x"},
      {"\xf0\x8f\x80\x80", "????"},
      {"\xf4\x90\x80\x80", "????"},
      {"\xe2\x82\xac", "\xe2\x82\xac"},
      {"\xf5\x80\x80\x80", "????"},
      // The kernel cuts the last character in two.
      {"fourteen-bytes\xc3\xa9", "fourteen-bytes?"},
  };
  for (const auto &[name, shown] : names) {
    const NamedProcess process(name);
    EXPECT_EQ(name_of(process.pid()), shown);
  }
}

/// Runs a copy of `sleep` under the name of `file`.
class RunningCopy {
public:
  explicit RunningCopy(const std::string &file) {
    const std::string copy = (veltro::test::scratch() / file).string();
    std::filesystem::copy_file("/bin/sleep", copy,
                               std::filesystem::copy_options::overwrite_existing);
    int started[2];
    EXPECT_EQ(pipe2(started, O_CLOEXEC), 0);
    pid_ = fork();
    if (pid_ == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      execl(copy.c_str(), copy.c_str(), "1000", nullptr);
      _exit(127);
    }
    // The pipe closes when the copy has started.
    close(started[1]);
    char nothing = 0;
    EXPECT_EQ(read(started[0], &nothing, 1), 0);
    close(started[0]);
  }
  ~RunningCopy() {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  RunningCopy(const RunningCopy &) = delete;
  RunningCopy &operator=(const RunningCopy &) = delete;

  [[nodiscard]] pid_t pid() const { return pid_; }

private:
  pid_t pid_;
};

TEST(ProcessTable, ExecutablesNameIsCutAtSixteenCharacters) {
  EXPECT_EQ(name_of(RunningCopy("fifteen-letters").pid()), "fifteen-letters");
  EXPECT_EQ(name_of(RunningCopy("sixteen-letters.").pid()), "sixteen-letters.");
  EXPECT_EQ(name_of(RunningCopy("much-more-than-sixteen").pid()), "much-more-than-s");
}

TEST(ProcessTable, NameStaysWhereTheExecutableIsRemoved) {
  for (const char *name : {"fifteen-letters", "sixteen-letters."}) {
    const RunningCopy copy(name);
    std::filesystem::remove(veltro::test::scratch() / name);
    EXPECT_EQ(name_of(copy.pid()), name);
  }
}

TEST(ProcessTable, VanishingProcessesAreLeftOutAndNeverHalfFilled) {
  const veltro::test::ShortLivedProcesses churn;
  for (int round = 0; round < 200; ++round) {
    const std::vector<kinfo_proc> records = whole_table();
    for (const kinfo_proc &record : records) {
      EXPECT_GT(record.kp_proc.p_pid, 0);
      EXPECT_NE(record.kp_proc.p_comm[0], '\0') << record.kp_proc.p_pid;
    }
  }
}

TEST(ProcessTable, ProcessThatHasEndedIsLeftOutBeforeItsParentAsksForIt) {
  const NamedProcess child("a) R (b");
  ASSERT_EQ(name_of(child.pid()), "a) R (b");
  kill(child.pid(), SIGKILL);
  siginfo_t end{};
  ASSERT_EQ(waitid(P_PID, static_cast<id_t>(child.pid()), &end, WEXITED | WNOWAIT), 0);
  EXPECT_EQ(name_of(child.pid()), "(absent)");
}

std::string status_of(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  std::string line;
  std::getline(file, line);
  return line;
}

/// The name in a file stat, as far as a record holds it, without what a worker is doing just now,
/// which stands behind a sign.
std::string lasting_name(const std::string &status) {
  const std::string name = status.substr(status.find('(') + 1);
  return name.substr(0, std::min<std::size_t>(name.find_first_of("+-)"), 16));
}

TEST(ProcessTable, NamesTheKernelsOwnThreads) {
  if (!status_of(2).starts_with("2 (kthreadd) "))
    GTEST_SKIP() << "a container does not see them";
  EXPECT_EQ(name_of(2), "kthreadd");
  std::ifstream children("/proc/2/task/2/children");
  for (pid_t child = 0; children >> child;) {
    const std::string expected = lasting_name(status_of(child));
    const std::string found = name_of(child);
    EXPECT_TRUE(found.starts_with(expected) || lasting_name(status_of(child)) != expected)
        << child << ": " << found << ", not " << expected;
  }
}

TEST(ProcessTable, ProcessOutlivesItsFirstThread) {
  const pid_t child = fork();
  if (child == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    prctl(PR_SET_NAME, "child");
    std::thread([] {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      for (;;)
        pause();
    }).detach();
    syscall(SYS_exit, 0); // of this thread only
  }
  while (status_of(child).find(") Z ") == std::string::npos)
    std::this_thread::yield();
  EXPECT_EQ(name_of(child), "child");
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
}

TEST(ProcessTable, FourthNumberMayBeMissing) {
  std::size_t size = 0;
  EXPECT_EQ(sysctl(all_processes.data(), 3, nullptr, &size, nullptr, 0), 0);
  EXPECT_GT(size, 0U);
}

TEST(ProcessTable, WrongQuestions) {
  std::size_t size = 100;
  char byte = 0;
  const auto error_of = [&](std::vector<int> name, void *written) {
    errno = 0;
    EXPECT_EQ(sysctl(name.data(), static_cast<unsigned>(name.size()), nullptr, &size, written, 0),
              -1);
    return errno;
  };
  EXPECT_EQ(error_of({CTL_KERN}, nullptr), ENOENT);
  EXPECT_EQ(error_of({CTL_KERN, KERN_PROC}, nullptr), ENOENT);
  EXPECT_EQ(error_of({CTL_KERN, KERN_PROC, KERN_PROC_ALL, 0, 0}, nullptr), ENOENT);
  EXPECT_EQ(error_of({6, KERN_PROC, KERN_PROC_ALL, 0}, nullptr), ENOENT);
  EXPECT_EQ(error_of({CTL_KERN, 15, KERN_PROC_ALL, 0}, nullptr), ENOENT);
  EXPECT_EQ(error_of({CTL_KERN, KERN_PROC, 1, 0}, nullptr), ENOENT);
  EXPECT_EQ(error_of({CTL_KERN, KERN_PROC, KERN_PROC_ALL, 0}, &byte), EPERM);
  EXPECT_EQ(size, 100U);

  EXPECT_EQ(sysctl(nullptr, 4, nullptr, &size, nullptr, 0), -1);
  EXPECT_EQ(errno, EFAULT);
  EXPECT_EQ(sysctl(all_processes.data(), 4, &byte, nullptr, nullptr, 0), -1);
  EXPECT_EQ(errno, EFAULT);
  EXPECT_EQ(sysctl(all_processes.data(), 4, nullptr, nullptr, nullptr, 0), 0);
}

TEST(MachineModel, ComesInTwoCalls) {
  std::size_t size = 0;
  ASSERT_EQ(sysctlbyname("hw.machine", nullptr, &size, nullptr, 0), 0);
  const std::string model = veltro::host::machine_model();
  ASSERT_EQ(size, model.size() + 1);
  std::vector<char> buffer(size + 1, 'x');
  ASSERT_EQ(sysctlbyname("hw.machine", buffer.data(), &size, nullptr, 0), 0);
  EXPECT_EQ(size, model.size() + 1);
  EXPECT_EQ(std::string(buffer.data()), model);
  EXPECT_EQ(buffer[size], 'x');
}

TEST(MachineModel, ShortBufferGetsWhatFits) {
  const std::string model = veltro::host::machine_model();
  ASSERT_GE(model.size(), 2U);
  std::array<char, 4> buffer{'x', 'x', 'x', 'x'};
  std::size_t size = 2;
  EXPECT_EQ(sysctlbyname("hw.machine", buffer.data(), &size, nullptr, 0), -1);
  EXPECT_EQ(errno, ENOMEM);
  EXPECT_EQ(size, 2U);
  EXPECT_EQ(std::string(buffer.data(), 4), model.substr(0, 2) + "xx");
}

TEST(MachineModel, WrongQuestions) {
  std::size_t size = 7;
  char byte = 0;
  EXPECT_EQ(sysctlbyname("hw.unknown", nullptr, &size, nullptr, 0), -1);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(sysctlbyname("", &byte, &size, nullptr, 0), -1);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(size, 7U);
  EXPECT_EQ(sysctlbyname("hw.machine", nullptr, &size, &byte, 1), -1);
  EXPECT_EQ(errno, EPERM);
  EXPECT_EQ(sysctlbyname(nullptr, nullptr, &size, nullptr, 0), -1);
  EXPECT_EQ(errno, EFAULT);
  EXPECT_EQ(sysctlbyname("hw.machine", &byte, nullptr, nullptr, 0), -1);
  EXPECT_EQ(errno, EFAULT);
  EXPECT_EQ(sysctlbyname("hw.machine", nullptr, nullptr, nullptr, 0), 0);
}

} // namespace
