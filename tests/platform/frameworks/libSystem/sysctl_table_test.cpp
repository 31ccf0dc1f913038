// The process table where /proc lists no more than these processes: this one, a child, and one that
// has ended, the last.
#include <sys/sysctl.h>

#include "support/named_process.hpp"

#include <array>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

std::vector<std::string> listed;
std::size_t next_listed;

} // namespace

extern "C" dirent *readdir(DIR * /*folder*/) {
  static dirent entry;
  if (next_listed == listed.size())
    return nullptr;
  std::strcpy(entry.d_name, listed[next_listed++].c_str());
  return &entry;
}

namespace {

using veltro::test::NamedProcess;

struct Table {
  int result;
  std::vector<kinfo_proc> records;
};

Table read_into(std::size_t records) {
  std::array<int, 4> all_processes{CTL_KERN, KERN_PROC, KERN_PROC_ALL, 0};
  Table table{0, std::vector<kinfo_proc>(records)};
  std::size_t size = records * sizeof(kinfo_proc);
  next_listed = 0;
  table.result = sysctl(all_processes.data(), 4, table.records.data(), &size, nullptr, 0);
  EXPECT_EQ(size % sizeof(kinfo_proc), 0U);
  table.records.resize(size / sizeof(kinfo_proc));
  return table;
}

class ListedProcesses : public testing::Test {
protected:
  ListedProcesses() : ended_(fork()) {
    if (ended_ == 0)
      _exit(0);
    siginfo_t end{};
    EXPECT_EQ(waitid(P_PID, static_cast<id_t>(ended_), &end, WEXITED | WNOWAIT), 0);
    listed = {".",
              "..",
              "self",
              std::to_string(getpid()),
              std::to_string(child_.pid()),
              std::to_string(ended_)};
  }
  ~ListedProcesses() override { waitpid(ended_, nullptr, 0); }

  [[nodiscard]] pid_t child() const { return child_.pid(); }

private:
  NamedProcess child_{"child"};
  pid_t ended_;
};

TEST_F(ListedProcesses, ComeLastOneFirst) {
  const Table table = read_into(10);
  EXPECT_EQ(table.result, 0);
  ASSERT_EQ(table.records.size(), 2U);
  EXPECT_EQ(table.records[0].kp_proc.p_pid, child());
  EXPECT_EQ(table.records[1].kp_proc.p_pid, getpid());
}

TEST_F(ListedProcesses, NeedAsManyRecordsAsRun) {
  const Table table = read_into(2);
  EXPECT_EQ(table.result, 0);
  EXPECT_EQ(table.records.size(), 2U);
}

TEST_F(ListedProcesses, DoNotFitWhereOneMoreRuns) {
  const Table table = read_into(1);
  EXPECT_EQ(table.result, -1);
  EXPECT_EQ(errno, ENOMEM);
  ASSERT_EQ(table.records.size(), 1U);
  EXPECT_EQ(table.records[0].kp_proc.p_pid, getpid());
}

} // namespace
