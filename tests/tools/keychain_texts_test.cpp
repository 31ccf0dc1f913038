// What the tool says when the keychain fails: sentences of its own tables.

#include "support/scratch.hpp"
#include "support/tool.hpp"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

namespace {

namespace fs = std::filesystem;
using veltro::test::run_tool;
using veltro::test::ToolResult;

constexpr const char *kConstants[] = {"errSecUnimplemented",
                                      "errSecParam",
                                      "errSecAllocate",
                                      "ZLTKeyChainErrorBadArguments",
                                      "errSecNotAvailable",
                                      "errSecAuthFailed",
                                      "errSecDuplicateItem",
                                      "errSecItemNotFound",
                                      "errSecInteractionNotAllowed",
                                      "errSecDecode",
                                      "errSecDefault"};

std::string error_in(const char *language, const std::vector<std::string> &arguments) {
  setenv("LANGUAGE", language, 1);
  const ToolResult result = run_tool(arguments);
  unsetenv("LANGUAGE");
  EXPECT_EQ(result.status, 1);
  return result.error;
}

TEST(KeychainTexts, AreSentencesWithTheConstant) {
  const std::vector<std::string> get{"keychain", "get", "mail", "ann"};
  EXPECT_EQ(error_in("en", get),
            "veltro: There is no such item in the keychain. (errSecItemNotFound)\n");
  EXPECT_EQ(error_in("de", get),
            "veltro: Diesen Eintrag gibt es im Schlüsselbund nicht. (errSecItemNotFound)\n");
  EXPECT_EQ(error_in("fr", get),
            "veltro: Cet élément n’existe pas dans le trousseau. (errSecItemNotFound)\n");
  const fs::path keychains = veltro::test::device_root() / "var/Keychains";
  fs::remove_all(keychains);
  fs::create_directories(keychains.parent_path());
  std::ofstream(keychains) << "a file where the folder belongs";
  EXPECT_THAT(error_in("en", get),
              testing::EndsWith("veltro: The keychain is not available. (errSecNotAvailable)\n"));
  fs::remove(keychains);
}

TEST(KeychainTexts, AreThereForEveryErrorInEveryLanguage) {
  int languages = 0;
  for (const fs::directory_entry &folder :
       fs::directory_iterator(VELTRO_SOURCE_DIR "/tools/veltro/Resources")) {
    ++languages;
    std::ifstream file(folder.path() / "ZLTKeyChain.strings");
    const std::string table{std::istreambuf_iterator<char>(file), {}};
    for (const std::string constant : kConstants) {
      std::string line = '"' + constant;
      line.append("\" = \"[^\"(]+ \\(").append(constant).append("\\)\";\n");
      EXPECT_THAT(table, testing::ContainsRegex(line)) << folder.path();
    }
    EXPECT_EQ(std::count(table.begin(), table.end(), '\n'), std::ssize(kConstants));
  }
  EXPECT_EQ(languages, 7);
}

} // namespace
