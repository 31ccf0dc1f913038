#include "support/scratch.hpp"
#include "support/tool.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using namespace veltro::test;
using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

constexpr const char *kNoSuchItem = "There is no such item in the keychain. (errSecItemNotFound)";

class KeychainTool : public testing::Test {
protected:
  KeychainTool() {
    fs::remove_all(device_root());
    fs::create_directories(device_root());
  }

  static ToolResult keychain(std::vector<std::string> arguments, const std::string &input = "") {
    arguments.insert(arguments.begin(), "keychain");
    return run_tool(arguments, input);
  }

  static void expect_no(const ToolResult &result, const std::string &why) {
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "");
    EXPECT_EQ(result.error, "veltro: " + why + "\n");
  }

  static std::string stored(const std::string &service, const std::string &account) {
    const ToolResult result = keychain({"get", service, account});
    EXPECT_EQ(result.status, 0) << result.error;
    return result.out;
  }
};

TEST_F(KeychainTool, StoresPrintsAndDeletes) {
  const ToolResult set = keychain({"set", "mail", "ann"}, "secret\n");
  EXPECT_EQ(set.status, 0) << set.error;
  EXPECT_EQ(set.out + set.error, "");
  EXPECT_EQ(stored("mail", "ann"), "secret");
  EXPECT_EQ(keychain({"set", "mail", "ann"}, "new").status, 0);
  EXPECT_EQ(stored("mail", "ann"), "new");
  EXPECT_EQ(keychain({"rm", "mail", "ann"}).status, 0);
  expect_no(keychain({"get", "mail", "ann"}), kNoSuchItem);
  expect_no(keychain({"rm", "mail", "ann"}), kNoSuchItem);
  const ToolResult none = keychain({"list"});
  EXPECT_EQ(none.status, 0);
  EXPECT_EQ(none.out, "service  account  label  group  sync  accessible  created  modified\n");
  EXPECT_EQ(none.error, "");
  const ToolResult json = keychain({"list", "--json"});
  EXPECT_EQ(json.status, 0);
  EXPECT_EQ(json.out + json.error, "");
}

TEST_F(KeychainTool, KeepsEveryByteButOneLineEnd) {
  std::string bytes("a\0\xff\r\n\n", 6);
  EXPECT_EQ(keychain({"set", "mail", "ann"}, bytes).status, 0);
  bytes.pop_back();
  EXPECT_EQ(stored("mail", "ann"), bytes);
  EXPECT_EQ(keychain({"set", "mail", "ann"}, "").status, 0);
  EXPECT_EQ(stored("mail", "ann"), "");
}

TEST_F(KeychainTool, ReadsTheSecretFromAFile) {
  const fs::path file = scratch() / "secret";
  std::ofstream(file) << "from a file\n";
  EXPECT_EQ(keychain({"set", "mail", "ann", "--password-file", file}, "from the input").status, 0);
  EXPECT_EQ(stored("mail", "ann"), "from a file");
  const ToolResult missing =
      keychain({"set", "mail", "ann", "--password-file", file.string() + ".none"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_THAT(missing.error, HasSubstr("secret.none: "));
  EXPECT_EQ(stored("mail", "ann"), "from a file");
}

TEST_F(KeychainTool, TakesASecretOfAMegabyteAndNoLongerOne) {
  const fs::path file = scratch() / "secret";
  for (const bool from_file : {true, false}) {
    std::string secret(1UL << 20, 'x');
    secret.back() = 'y';
    std::vector<std::string> arguments{"set", "mail", "ann"};
    if (from_file)
      arguments.insert(arguments.end(), {"--password-file", file});
    std::ofstream(file) << secret;
    EXPECT_EQ(keychain(arguments, from_file ? "" : secret).status, 0);
    EXPECT_EQ(stored("mail", "ann"), secret);
    secret += 'z';
    std::ofstream(file) << secret;
    expect_no(keychain(arguments, from_file ? "" : secret),
              (from_file ? file.string() : "standard input") +
                  ": a secret of more than a megabyte is too long");
  }
}

TEST_F(KeychainTool, TellsAnEmptyNameFromNone) {
  ASSERT_EQ(keychain({"set", "", "ann", "--label", ""}, "of no service").status, 0);
  ASSERT_EQ(keychain({"set", "mail", "ann", "--group", ""}, "of no group").status, 0);
  EXPECT_EQ(stored("", "ann"), "of no service");
  const auto listed = [](const std::vector<std::string> &arguments) {
    return std::ranges::count(keychain(arguments).out, '\n') - 1;
  };
  EXPECT_EQ(listed({"list"}), 2);
  EXPECT_EQ(listed({"list", ""}), 1);
  EXPECT_EQ(listed({"list", "--group", ""}), 1);
  EXPECT_EQ(listed({"list", "--group", "default"}), 1);
  expect_no(keychain({"get", "", "ann", "--group", ""}), kNoSuchItem);
}

TEST_F(KeychainTool, LinesUpWhatIsNotPlainLetters) {
  ASSERT_EQ(keychain({"set", "p\u00f6st", "\u00e4nn"}, "x").status, 0);
  ASSERT_EQ(keychain({"set", "mail", "a\x7f"}, "x").status, 0);
  const std::string table = keychain({"list"}).out;
  EXPECT_THAT(table, HasSubstr("\nmail     a               default"));
  EXPECT_THAT(table, HasSubstr("\np\u00f6st     \u00e4nn             default"));
}

TEST_F(KeychainTool, LinesUpWideAndCombiningCharacters) {
  ASSERT_EQ(keychain({"set", "\u90f5\u4fbf\u5c40", "a"}, "x").status, 0); // three of two columns
  ASSERT_EQ(keychain({"set", "e\u0301a", "b"}, "x").status, 0);           // a and e with an accent
  ASSERT_EQ(keychain({"set", "\U0001f98a", "c"}, "x").status, 0);         // one of two columns
  const std::string table = keychain({"list"}).out;
  EXPECT_THAT(table, HasSubstr("service  account"));
  EXPECT_THAT(table, HasSubstr("\n\u90f5\u4fbf\u5c40   a        "));
  EXPECT_THAT(table, HasSubstr("\ne\u0301a       b        "));
  EXPECT_THAT(table, HasSubstr("\n\U0001f98a       c        "));
}

TEST_F(KeychainTool, TakesNoSecretFromTheCommandLine) {
  EXPECT_EQ(keychain({"set", "mail", "ann", "secret"}).status, 2);
  EXPECT_EQ(keychain({"set", "mail", "ann", "--password", "secret"}).status, 2);
}

TEST_F(KeychainTool, Lists) {
  ASSERT_EQ(keychain({"set", "mail", "bob"}, "SECRET").status, 0);
  ASSERT_EQ(keychain({"set", "mail", "ann", "--label", "Ann's\nmail", "--group", "team", "--sync",
                      "yes", "--accessible", "always"},
                     "SECRET")
                .status,
            0);
  ASSERT_EQ(keychain({"set", "news", "ann"}, "SECRET").status, 0);

  const ToolResult table = keychain({"list"});
  EXPECT_EQ(table.status, 0);
  EXPECT_EQ(std::ranges::count(table.out, '\n'), 4);
  EXPECT_THAT(table.out, testing::StartsWith("service  account  label"));
  EXPECT_THAT(
      table.out,
      ContainsRegex("mail     ann      Ann's mail  team     yes   always         20[0-9-]*T"));
  EXPECT_THAT(table.out, Not(HasSubstr("SECRET")));
  EXPECT_LT(table.out.find(" ann "), table.out.find(" bob ")) << "in order";

  const ToolResult json = keychain({"list", "mail", "--json"});
  EXPECT_EQ(json.status, 0);
  EXPECT_EQ(std::ranges::count(json.out, '\n'), 2);
  EXPECT_THAT(json.out,
              ContainsRegex("^\\{\"service\": \"mail\", \"account\": \"ann\", \"label\": "
                            "\"Ann's\\\\u000amail\", \"group\": \"team\", \"sync\": \"yes\", "
                            "\"accessible\": \"always\", \"created\": \"20[0-9T:-]*Z\", "
                            "\"modified\": \"20[0-9T:-]*Z\"\\}\n"));
  EXPECT_THAT(json.out,
              AllOf(HasSubstr("\"accessible\": \"when-unlocked\""), Not(HasSubstr("news"))));

  EXPECT_EQ(std::ranges::count(keychain({"list", "--sync", "no", "--json"}).out, '\n'), 2);
  EXPECT_EQ(std::ranges::count(keychain({"list", "--sync", "yes", "--json"}).out, '\n'), 1);
  EXPECT_EQ(std::ranges::count(keychain({"list", "--group", "team", "--json"}).out, '\n'), 1);
  EXPECT_EQ(keychain({"list", "none"}).status, 0);
  EXPECT_EQ(keychain({"list", "none", "--json"}).out, "");
}

TEST_F(KeychainTool, TellsTheItemsOfOneNameApart) {
  ASSERT_EQ(keychain({"set", "mail", "ann", "--sync", "yes"}, "synchronised").status, 0);
  ASSERT_EQ(keychain({"set", "mail", "ann", "--sync", "no"}, "local").status, 0);
  ASSERT_EQ(keychain({"set", "mail", "ann", "--sync", "no", "--group", "team"}, "team's").status,
            0);
  EXPECT_EQ(keychain({"get", "mail", "ann", "--sync", "yes"}).out, "synchronised");
  EXPECT_EQ(keychain({"get", "mail", "ann", "--sync", "no", "--group", "default"}).out, "local");
  EXPECT_EQ(keychain({"get", "mail", "ann", "--group", "team"}).out, "team's");
  EXPECT_EQ(keychain({"rm", "mail", "ann"}).status, 0);
  expect_no(keychain({"get", "mail", "ann"}), kNoSuchItem);
}

TEST_F(KeychainTool, KeepsArchivedObjects) {
  ASSERT_EQ(keychain({"set", "mail", "ann", "--object"}, "{ user = ann; keys = (1, 2); }").status,
            0);
  EXPECT_EQ(stored("mail", "ann").substr(0, 8), "bplist00");
  const ToolResult object = keychain({"get", "mail", "ann", "--object"});
  EXPECT_EQ(object.status, 0) << object.error;
  EXPECT_THAT(object.out, AllOf(HasSubstr("<key>user</key>"), HasSubstr("<string>ann</string>")));
  ASSERT_EQ(keychain({"set", "mail", "copy", "--object"}, object.out).status, 0);
  EXPECT_EQ(keychain({"get", "mail", "copy", "--object"}).out, object.out);

  expect_no(keychain({"set", "mail", "bad", "--object"}, "{ no end"),
            "the secret is no property list");
  ASSERT_EQ(keychain({"set", "mail", "plain"}, "no archive").status, 0);
  expect_no(keychain({"get", "mail", "plain", "--object"}),
            "the secret is not the archive of a property list");
}

TEST_F(KeychainTool, RefusesCommandLinesWithoutSense) {
  for (const std::vector<std::string> &arguments : std::vector<std::vector<std::string>>{
           {},
           {"none"},
           {"get"},
           {"get", "mail"},
           {"get", "mail", "ann", "more"},
           {"get", "mail", "ann", "--label", "x"},
           {"rm", "mail"},
           {"list", "mail", "ann"},
           {"set", "mail", "ann", "--sync", "maybe"},
           {"set", "mail", "ann", "--accessible", "never"},
           {"get", "mail", "\xff"},
           {"list", "\xff"},
       }) {
    const ToolResult result = keychain(arguments, "x");
    EXPECT_EQ(result.status, 2) << testing::PrintToString(arguments);
    EXPECT_EQ(std::ranges::count(result.error, '\n'), 1) << result.error;
  }
}

TEST_F(KeychainTool, SaysWhenItCannotPrint) {
  ASSERT_EQ(keychain({"set", "mail", "ann"}, "secret").status, 0);
  const std::string tool = VELTRO_BUILD_DIR "/bin/veltro";
  for (const char *arguments : {" keychain get mail ann", " keychain list"})
    EXPECT_EQ(WEXITSTATUS(std::system((tool + arguments + " > /dev/full 2> /dev/null").c_str())), 1)
        << arguments;
}

TEST_F(KeychainTool, SpeaksTheLanguageOfItsBundle) {
  // The same program inside an app's bundle, whose strings table has the texts.
  const fs::path app = scratch() / "Host.app";
  fs::create_directories(app);
  fs::copy_file(VELTRO_BUILD_DIR "/bin/veltro", app / "Host", fs::copy_options::overwrite_existing);
  std::ofstream(app / "ZLTKeyChain.strings")
      << "\"errSecItemNotFound\" = \"There is no such secret.\";\n";
  const fs::path error = scratch() / "error";
  const auto said = [&](const std::string &arguments) {
    const int status = std::system(
        ((app / "Host").string() + " keychain " + arguments + " 2> " + error.string()).c_str());
    EXPECT_EQ(WEXITSTATUS(status), 1);
    std::ifstream file(error);
    return std::string(std::istreambuf_iterator<char>(file), {});
  };
  EXPECT_EQ(said("get mail ann"), "veltro: There is no such secret.\n");
  fs::create_directories(device_root() / "var/Keychains");
  fs::permissions(device_root() / "var/Keychains", fs::perms::all);
  EXPECT_THAT(said("get mail ann"), HasSubstr("veltro: errSecNotAvailable\n"))
      << "not in the table";
}

/// The tool at a terminal of its own.
class ToolAtTerminal {
public:
  explicit ToolAtTerminal(const std::vector<std::string> &arguments)
      : terminal_(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
    grantpt(terminal_);
    unlockpt(terminal_);
    slave_ = open(ptsname(terminal_), O_RDWR | O_NOCTTY | O_CLOEXEC);
    const std::string program = VELTRO_BUILD_DIR "/bin/veltro";
    std::vector<char *> argv{const_cast<char *>(program.c_str())};
    for (const std::string &argument : arguments)
      argv.push_back(const_cast<char *>(argument.c_str()));
    argv.push_back(nullptr);
    process_ = fork();
    if (process_ == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      // Keys that mean signals reach who has the terminal as the controlling one.
      setsid();
      ioctl(slave_, TIOCSCTTY, 0);
      dup2(slave_, STDIN_FILENO);
      dup2(slave_, STDOUT_FILENO);
      dup2(slave_, STDERR_FILENO);
      execv(program.c_str(), argv.data());
      _exit(127);
    }
  }
  ~ToolAtTerminal() {
    close(slave_);
    close(terminal_);
  }
  ToolAtTerminal(const ToolAtTerminal &) = delete;
  ToolAtTerminal &operator=(const ToolAtTerminal &) = delete;

  /// Reads until `text` was shown or nothing comes for long; returns all that was shown so far.
  std::string shown_until(const std::string &text) {
    pollfd ready{terminal_, POLLIN, 0};
    while (shown_.find(text) == std::string::npos && poll(&ready, 1, 30'000) == 1) {
      char bytes[256];
      const ssize_t count = read(terminal_, bytes, sizeof bytes);
      if (count <= 0)
        break;
      shown_.append(bytes, static_cast<std::size_t>(count));
    }
    return shown_;
  }

  void type(const std::string &text) {
    EXPECT_EQ(write(terminal_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }

  /// The exit status, or 128 and the signal that ended it, as shells have it.
  int status() {
    int status = 0;
    while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

  [[nodiscard]] pid_t process() const { return process_; }

  bool echoes() {
    termios settings{};
    tcgetattr(slave_, &settings);
    return (settings.c_lflag & ECHO) != 0 && (settings.c_lflag & ISIG) != 0;
  }

private:
  int terminal_;
  int slave_;
  pid_t process_;
  std::string shown_;
};

TEST_F(KeychainTool, AsksAtATerminalAndShowsNothing) {
  ToolAtTerminal tool({"keychain", "set", "mail", "ann"});
  EXPECT_THAT(tool.shown_until("Password: "), HasSubstr("Password: "));
  EXPECT_FALSE(tool.echoes());
  tool.type("typed secret\n");
  EXPECT_EQ(tool.status(), 0);
  EXPECT_THAT(tool.shown_until("\n"), Not(HasSubstr("typed")));
  EXPECT_TRUE(tool.echoes());
  EXPECT_EQ(stored("mail", "ann"), "typed secret");

  ToolAtTerminal reading({"keychain", "get", "mail", "ann"});
  EXPECT_THAT(reading.shown_until("\n"), HasSubstr("typed secret\r\n"));
  EXPECT_EQ(reading.status(), 0);
}

TEST_F(KeychainTool, ControlCEndsItAtOnceAndLeavesTheTerminalAsItWas) {
  ToolAtTerminal tool({"keychain", "set", "mail", "ann"});
  tool.shown_until("Password: ");
  tool.type("half\x03"); // no line end
  EXPECT_EQ(tool.status(), 128 + SIGINT);
  EXPECT_TRUE(tool.echoes());
  EXPECT_THAT(tool.shown_until("\n"), Not(HasSubstr("half")));
  expect_no(keychain({"get", "mail", "ann"}), kNoSuchItem);
}

// Without a shell that could have it continue, Control-Z stops nothing.
TEST_F(KeychainTool, AsksAgainAfterControlZ) {
  ToolAtTerminal tool({"keychain", "set", "mail", "ann"});
  tool.shown_until("Password: ");
  tool.type("half\x1a");
  tool.shown_until("Password: \r\nPassword: ");
  tool.type("whole\n");
  EXPECT_EQ(tool.status(), 0);
  EXPECT_TRUE(tool.echoes());
  EXPECT_EQ(stored("mail", "ann"), "whole");
}

TEST_F(KeychainTool, TheEndOfInputAtThePromptStoresNothing) {
  ToolAtTerminal tool({"keychain", "set", "mail", "ann"});
  tool.shown_until("Password: ");
  tool.type("\x04");
  EXPECT_EQ(tool.status(), 1);
  EXPECT_TRUE(tool.echoes());
  expect_no(keychain({"get", "mail", "ann"}), kNoSuchItem);
}

TEST_F(KeychainTool, SignalsAtThePromptEndItAndLeaveTheTerminalAsItWas) {
  ToolAtTerminal tool({"keychain", "set", "mail", "ann"});
  tool.shown_until("Password: ");
  kill(tool.process(), SIGTERM);
  EXPECT_EQ(tool.status(), 128 + SIGTERM);
  EXPECT_TRUE(tool.echoes());
}

} // namespace
