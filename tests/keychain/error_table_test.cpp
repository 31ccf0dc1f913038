#include "keychain/error_table.hpp"

#include <gtest/gtest.h>
#include <string_view>
#include <utility>

namespace veltro {
namespace {

static_assert(std::string_view(error_text_key(-25300)) == "errSecItemNotFound");
static_assert(std::string_view(error_text_key(-25301)) == "errSecDefault");

TEST(ErrorTable, NamesEveryStatus) {
  const std::pair<int, std::string_view> expected[] = {
      {-4, "errSecUnimplemented"},
      {-50, "errSecParam"},
      {-108, "errSecAllocate"},
      {-1001, "ZLTKeyChainErrorBadArguments"},
      {-25291, "errSecNotAvailable"},
      {-25293, "errSecAuthFailed"},
      {-25299, "errSecDuplicateItem"},
      {-25300, "errSecItemNotFound"},
      {-25308, "errSecInteractionNotAllowed"},
      {-26275, "errSecDecode"},
      {0, "errSecDefault"},
      {-1, "errSecDefault"},
      {-25292, "errSecDefault"},
      {-25309, "errSecDefault"},
  };
  for (const auto &[status, key] : expected)
    EXPECT_EQ(std::string_view(error_text_key(status)), key) << status;
}

} // namespace
} // namespace veltro
