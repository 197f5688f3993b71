#include "norvik/platform/message_channel.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <thread>
#include <vector>

#include "norvik/platform/environment.h"
#include "support/test_support.h"

namespace norvik::platform {
namespace {

bool iterateUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    while (g_main_context_iteration(nullptr, FALSE)) {
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

class MessageChannelTest : public ::testing::Test {
 protected:
  void SetUp() override {
    Environment env = testing::baseEnvironment();
    env.appGroupContainerDirectory = dir_.file("group");
    scoped_ = std::make_unique<ScopedEnvironment>(env);
  }
  testing::TempDir dir_;
  std::unique_ptr<ScopedEnvironment> scoped_;
};

TEST_F(MessageChannelTest, OpensOnlyPlainDirectoriesOfTheApplicationGroup) {
  EXPECT_EQ(MessageChannel::open(kNVAppGroupIdentifier, "../escape"), nullptr);
  EXPECT_EQ(MessageChannel::open(kNVAppGroupIdentifier, "a/b"), nullptr);
  EXPECT_EQ(MessageChannel::open(kNVAppGroupIdentifier, ".hidden"), nullptr);
  EXPECT_EQ(MessageChannel::open(kNVAppGroupIdentifier, ""), nullptr);
  EXPECT_EQ(MessageChannel::open("group.other", "messages"), nullptr);
  auto channel = MessageChannel::open(kNVAppGroupIdentifier, "messages");
  ASSERT_NE(channel, nullptr);
  EXPECT_EQ(channel->directoryPath(), dir_.file("group/messages"));
  EXPECT_EQ(std::filesystem::status(channel->directoryPath()).permissions(),
            std::filesystem::perms::owner_all);
  modifyEnvironment([](Environment& env) { env.appGroupContainerDirectory.clear(); });
  EXPECT_FALSE(isAppGroupEnabled(kNVAppGroupIdentifier));
  EXPECT_EQ(MessageChannel::open(kNVAppGroupIdentifier, "messages"), nullptr);
}

TEST_F(MessageChannelTest, StoresTheLastMessageOfEachIdentifier) {
  auto channel = MessageChannel::open(kNVAppGroupIdentifier, "messages");
  ASSERT_NE(channel, nullptr);
  EXPECT_EQ(channel->messageWithIdentifier("a"), std::nullopt);
  EXPECT_TRUE(channel->passMessage("a", Value("first")));
  EXPECT_TRUE(channel->passMessage("a", Value(Dictionary{{"n", Value(2)}})));
  EXPECT_TRUE(channel->passMessage("b", Value()));
  EXPECT_EQ(channel->messageWithIdentifier("a"), Value(Dictionary{{"n", Value(2)}}));
  EXPECT_EQ(channel->messageWithIdentifier("b"), Value());
  for (const char* bad : {"../a", "a/b", ".a", ""}) {
    EXPECT_FALSE(channel->passMessage(bad, Value(1))) << bad;
    EXPECT_EQ(channel->messageWithIdentifier(bad), std::nullopt) << bad;
  }
  channel->clearMessageContentsForIdentifier("a");
  EXPECT_EQ(channel->messageWithIdentifier("a"), std::nullopt);
  channel->passMessage("a", Value(1));
  channel->clearAllMessageContents();
  EXPECT_EQ(channel->messageWithIdentifier("a"), std::nullopt);
  EXPECT_EQ(channel->messageWithIdentifier("b"), std::nullopt);
  // Nothing but messages is left behind (no temporary files).
  EXPECT_TRUE(std::filesystem::is_empty(channel->directoryPath()));
}

TEST_F(MessageChannelTest, ListenersHearEachMessageOnceOnTheMainLoop) {
  auto sender = MessageChannel::open(kNVAppGroupIdentifier, "messages");
  auto receiver = MessageChannel::open(kNVAppGroupIdentifier, "messages");
  ASSERT_TRUE(sender && receiver);
  std::vector<Value> heard;
  std::vector<Value> other;
  ASSERT_TRUE(receiver->listenForMessageWithIdentifier(
      "kNVWormholeMessageIdentifier_DataChanged", [&](const Value& v) { heard.push_back(v); }));
  ASSERT_TRUE(receiver->listenForMessageWithIdentifier(
      "other", [&](const Value& v) { other.push_back(v); }));
  EXPECT_FALSE(receiver->listenForMessageWithIdentifier("../x", [](const Value&) {}));
  EXPECT_TRUE(receiver->isMonitoring());
  sender->passMessage("kNVWormholeMessageIdentifier_DataChanged", Value("one"));
  ASSERT_TRUE(iterateUntil([&] { return heard.size() == 1; }, std::chrono::seconds(5)));
  sender->passMessage("kNVWormholeMessageIdentifier_DataChanged", Value("two"));
  ASSERT_TRUE(iterateUntil([&] { return heard.size() == 2; }, std::chrono::seconds(5)));
  iterateUntil([] { return false; }, std::chrono::milliseconds(200));
  ASSERT_EQ(heard.size(), 2u);  // no duplicates from the several events of one write
  EXPECT_EQ(heard[0], Value("one"));
  EXPECT_EQ(heard[1], Value("two"));
  EXPECT_TRUE(other.empty());

  receiver->stopListeningForMessageWithIdentifier("kNVWormholeMessageIdentifier_DataChanged");
  sender->passMessage("kNVWormholeMessageIdentifier_DataChanged", Value("three"));
  sender->passMessage("other", Value(3));
  ASSERT_TRUE(iterateUntil([&] { return other.size() == 1; }, std::chrono::seconds(5)));
  EXPECT_EQ(heard.size(), 2u);
}

TEST_F(MessageChannelTest, ChannelDestroyedBeforeItsEventsArriveIsQuiet) {
  int heard = 0;
  {
    auto channel = MessageChannel::open(kNVAppGroupIdentifier, "messages");
    channel->listenForMessageWithIdentifier("x", [&](const Value&) { ++heard; });
    channel->passMessage("x", Value(1));
  }
  iterateUntil([] { return false; }, std::chrono::milliseconds(200));
  EXPECT_EQ(heard, 0);
}

}  // namespace
}  // namespace norvik::platform
