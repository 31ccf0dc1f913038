#include "examples/messenger/store.hpp"

#include "support/scratch.hpp"

#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

namespace {

using testing::ElementsAre;
using veltro::messenger::Message;
using veltro::messenger::Store;

class MessengerStore : public testing::Test {
protected:
  std::unique_ptr<Store> open() {
    std::string error;
    std::unique_ptr<Store> store = Store::open(path(), error);
    EXPECT_EQ(error, "");
    return store;
  }
  [[nodiscard]] std::string path() const { return folder_.path() / "store.sqlite"; }

private:
  veltro::test::ScratchFolder folder_;
};

std::vector<std::string> texts(const std::optional<std::vector<Message>> &messages) {
  std::vector<std::string> texts;
  for (const Message &message : messages.value_or(std::vector<Message>{}))
    texts.push_back(message.text);
  return texts;
}

TEST_F(MessengerStore, KeepsMessagesToTheLastBit) {
  const std::string text("a\0b \xF0\x9F\xA6\x8A", 8);
  const double time = 816951925.15638501;
  open()->add({"anna", text, true, time});
  const auto messages = open()->read("anna", 10);
  ASSERT_TRUE(messages && messages->size() == 1);
  EXPECT_EQ(messages->front().text, text);
  EXPECT_EQ(messages->front().time, time);
  EXPECT_TRUE(messages->front().outgoing);
}

TEST_F(MessengerStore, NumbersAreNeverGivenTwice) {
  const auto store = open();
  EXPECT_EQ(store->add({"anna", "a", true, 1}), 1);
  EXPECT_EQ(store->add({"bob", "b", true, 1}), 2);
}

TEST_F(MessengerStore, LeavesOutTheOldestBeyondTheBounds) {
  const auto store = open();
  for (int i = 0; i < 5; ++i)
    store->add({"u", std::string(10, static_cast<char>('0' + i)), true, static_cast<double>(i)});
  EXPECT_THAT(texts(store->read("u", 10, 0, {.records = 2})),
              ElementsAre("3333333333", "4444444444"));
  EXPECT_THAT(texts(store->read("u", 10, 0, {.text_bytes = 33})),
              ElementsAre("2222222222", "3333333333", "4444444444"));
  EXPECT_THAT(texts(store->read("u", 10, 0, {.text_bytes = 5})), ElementsAre());
}

TEST_F(MessengerStore, LeavesOutTheChatsThatWereQuietLongest) {
  const auto store = open();
  for (const char *user : {"a", "b", "c"})
    store->add({user, "text", true, static_cast<double>(*user)});
  const auto chats = store->chats({.records = 2});
  ASSERT_TRUE(chats && chats->size() == 2);
  EXPECT_EQ(chats->front().user, "c");
  EXPECT_EQ(chats->back().user, "b");
}

TEST_F(MessengerStore, LogsAheadAndKeepsTheLog) {
  const auto store = open();
  store->add({"anna", "a text to look for", true, 1});
  // A commit goes to the log and syncs it; the database itself follows later.
  std::ifstream file(path() + "-wal", std::ios::binary);
  const std::string log{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  EXPECT_THAT(log, testing::HasSubstr("a text to look for"));
}

TEST_F(MessengerStore, SaysWhyItCannotOpen) {
  std::ofstream(path()) << std::string(2000, 'x');
  std::string error;
  EXPECT_EQ(Store::open(path(), error), nullptr);
  EXPECT_EQ(error, "file is not a database");
  error.clear();
  EXPECT_EQ(Store::open("/nowhere/at/all", error), nullptr);
  EXPECT_EQ(error, "unable to open database file");
}

TEST_F(MessengerStore, AcknowledgesNothingThatItCannotWrite) {
  const auto store = open();
  store->add({"anna", "a", false, 1});
  sqlite3 *other = nullptr;
  ASSERT_EQ(sqlite3_open(path().c_str(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
  EXPECT_EQ(store->add({"anna", "b", true, 2}), std::nullopt);
  EXPECT_EQ(store->mark_read("anna"), std::nullopt);
  EXPECT_THAT(texts(store->read("anna", 10)), ElementsAre("a"));
  ASSERT_EQ(sqlite3_exec(other, "ROLLBACK; DROP TABLE messages", nullptr, nullptr, nullptr),
            SQLITE_OK);
  EXPECT_EQ(store->add({"anna", "b", true, 2}), std::nullopt);
  EXPECT_EQ(store->mark_read("anna"), std::nullopt);
  EXPECT_EQ(store->read("anna", 10), std::nullopt);
  EXPECT_EQ(store->chats(), std::nullopt);
  sqlite3_close(other);
}

} // namespace
