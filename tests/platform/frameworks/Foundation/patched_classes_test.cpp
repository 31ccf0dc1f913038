// Whatever a program may do with a class of Foundation, it may do with the platform's patches of
// it: every method is called with and without the platform, on ordinary and on odd objects. What a
// patch changes stands here, and nothing else may differ.

#include "support/scratch.hpp"

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <string>
#include <sys/wait.h>

namespace {

using Calls = std::map<std::string, std::string>;

/// The methods whose calls differ, and why.
const std::map<std::string, std::string> kMeant = {
    {"resourcePath", "the device's layout is flat"},
    {"resourceURL", "the same"},
    {"allBundles", "in the order in which they were made"},
    {"localizations", "in order"},
    {"classNamed:", "nil for a name that is no class's, where GNUstep raises"},
    {"archivedDataWithRootObject:", "equal objects are written once"},
    {"archivedDataWithRootObject:requiringSecureCoding:error:", "the same"},
    {"components:fromDate:", "nil for nil, which GNUstep fills with what was in memory"},
    {"rangeOfUnit:startDate:interval:forDate:", "a stub of GNUstep's"},
    {"timeIntervalSinceDate:", "a number for nil, where GNUstep raises"},
    {"cStringUsingEncoding:", "null for what does not fit, where GNUstep raises"},
};

/// What the program printed, by call.
Calls calls(const char *preloaded) {
  const veltro::test::ScratchFolder folder;
  const std::string command = "cd " + folder.path().string() +
                              " && TZ=Etc/UTC GNUSTEP_TZ=Etc/UTC LD_PRELOAD=" + preloaded +
                              " " VELTRO_BUILD_DIR "/tests/foundation-calls 2> /dev/null";
  std::FILE *const output = popen(command.c_str(), "r");
  Calls found;
  char line[4096];
  while (std::fgets(line, sizeof line, output) != nullptr) {
    const std::string text(line);
    const std::size_t end = text.find(": ", text.find(" #"));
    found[text.substr(0, end)] = text.substr(end + 2, text.size() - end - 3);
  }
  EXPECT_EQ(pclose(output), 0);
  return found;
}

/// "NSDate date #0" is a call of "date".
std::string method_of(const std::string &call) {
  const std::size_t end = call.find(" #");
  const std::size_t start = call.rfind(' ', end - 1) + 1;
  return call.substr(start, end - start);
}

/// The methods, with their receivers, that end the process for one of the arguments: they look at
/// none, and whether another one raises or ends it too is chance.
std::set<std::string> unchecking(const Calls &all) {
  std::set<std::string> methods;
  for (const auto &[call, result] : all)
    if (result == "dies")
      methods.insert(call.substr(0, call.find(" #")));
  return methods;
}

TEST(PatchedClasses, DoWhatTheyDoWithoutThePatches) {
  const Calls without = calls("");
  const Calls again = calls("");
  const Calls with = calls(VELTRO_BUILD_DIR "/lib/libveltro-host.so");
  ASSERT_GT(without.size(), 4000U);
  const std::set<std::string> by_chance = unchecking(without);
  std::set<std::string> differing;
  for (const auto &[call, result] : without) {
    const auto once_more = again.find(call);
    if (once_more == again.end() || once_more->second != result)
      continue; // What GNUstep itself does not do twice alike, such as telling the time.
    const auto found = with.find(call);
    ASSERT_NE(found, with.end()) << call;
    const bool failed = result == "dies" || result.starts_with("raises");
    if (found->second == result || (failed && by_chance.contains(call.substr(0, call.find(" #")))))
      continue;
    differing.insert(method_of(call));
    EXPECT_NE(found->second, "dies") << call << " without: " << result;
    EXPECT_TRUE(kMeant.contains(method_of(call)))
        << call << "\n  without: " << result << "\n  with:    " << found->second;
  }
  for (const auto &[method, reason] : kMeant)
    EXPECT_TRUE(differing.contains(method)) << method << " does not differ: " << reason;
}

} // namespace
