#include "keychain/error_table.hpp"

#include <gtest/gtest.h>
#include <set>
#include <string_view>

namespace veltro {
namespace {

static_assert(std::string_view(error_text_key(-25300)) == "errSecItemNotFound");
static_assert(std::string_view(error_text_key(-25301)) == "errSecDefault");

TEST(ErrorTable, NamesEveryStatusOnce) {
  std::set<int> statuses;
  std::set<std::string_view> keys;
  for (const ErrorText &text : error_texts) {
    EXPECT_TRUE(statuses.insert(text.status).second) << text.status;
    EXPECT_TRUE(keys.insert(text.key).second) << text.key;
    EXPECT_STREQ(error_text_key(text.status), text.key);
  }
  EXPECT_EQ(statuses.size(), 10U);
}

} // namespace
} // namespace veltro
