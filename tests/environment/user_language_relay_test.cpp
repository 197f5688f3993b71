// The language change travelling between two real processes: the parent changes the language, a
// child with an extension's bundle identifier hears it, re-reads the shared store and posts the
// change notification; it ignores its own change messages.
#include <glib.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "environment/language_test_support.h"
#include "norvik/platform/localized_string.h"
#include "norvik/platform/message_channel.h"

namespace norvik {
namespace {

using Clock = std::chrono::steady_clock;  // CLOCK_MONOTONIC: comparable across processes

std::int64_t nowTicks() {
  return std::chrono::duration_cast<std::chrono::microseconds>(Clock::now().time_since_epoch())
      .count();
}

bool waitForFile(const std::string& path, std::chrono::seconds limit) {
  const auto deadline = Clock::now() + limit;
  while (!std::filesystem::exists(path)) {
    if (Clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

void writeMarker(const std::string& path, std::int64_t value) {
  const std::string temporary = path + ".tmp";
  std::ofstream(temporary) << value;
  std::filesystem::rename(temporary, path);
}

TEST(UserLanguageRelayConcurrency, DISABLED_ExtensionFollowsTheApplication) {
  if (testing::childRole() != "extension") GTEST_SKIP();
  const std::string work = std::getenv("NORVIK_TEST_WORKDIR");
  platform::modifyEnvironment(
      [&](platform::Environment& env) { env.mainBundlePath = work + "/Widget.bundle"; });
  EXPECT_EQ(platform::localizedString("Today"), "Today");  // start-up: listening from here on
  auto& observer = NVUserLanguageChangeObserver::sharedObserver();
  ASSERT_NE(observer.wormhole(), nullptr);
  ASSERT_TRUE(observer.wormhole()->isMonitoring());

  int posts = 0;
  std::int64_t heardAt = 0;
  platform::ScopedObserver scoped(
      platform::NotificationCenter::defaultCenter(),
      platform::NotificationCenter::defaultCenter().addObserver(
          NVUserLanguageDidChangeNotification, nullptr, [&](const platform::Notification&) {
            ++posts;
            heardAt = nowTicks();
          }));
  writeMarker(work + "/ready", 1);

  const auto iterateFor = [&](std::chrono::milliseconds limit, auto done) {
    const auto deadline = Clock::now() + limit;
    while (!done() && Clock::now() < deadline) {
      while (g_main_context_iteration(nullptr, FALSE)) {
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  };
  ASSERT_TRUE(waitForFile(work + "/changed", std::chrono::seconds(20)));
  std::int64_t changedAt = 0;
  std::ifstream(work + "/changed") >> changedAt;
  iterateFor(std::chrono::milliseconds(1000), [&] { return posts > 0; });
  ASSERT_EQ(posts, 1) << "no change notification within a second";
  EXPECT_LT(heardAt - changedAt, 1'000'000);
  EXPECT_EQ(NVUserLanguage::userLanguageType(), 14u);
  EXPECT_EQ(platform::localizedString("Today"), "Heute");

  // This process's own message changes nothing here.
  observer.postChange();
  iterateFor(std::chrono::milliseconds(500), [] { return false; });
  EXPECT_EQ(posts, 1);
}

TEST(UserLanguageRelayConcurrency, OtherProcessHearsTheChangeWithinASecond) {
  testing::TempDir work;
  testing::writeLanguageBundle(work.file("Widget.bundle"), "app.norvik.taskcalendar.widget");
  BundleEx::installOnMainBundle();
  const auto container = platform::currentEnvironment()->appGroupContainerDirectory;
  auto& observer = NVUserLanguageChangeObserver::sharedObserver();
  ASSERT_NE(observer.wormhole(), nullptr);
  ASSERT_EQ(observer.wormhole()->directoryPath(), container + "/kNVWormholeMessageDirectory");

  int childStatus = -2;
  std::thread child([&] {
    childStatus = testing::runChildTest(
        "UserLanguageRelayConcurrency.DISABLED_ExtensionFollowsTheApplication",
        {{"NORVIK_TEST_CHILD_ROLE", "extension"},
         {"NORVIK_TEST_APP_GROUP_DIR", container},
         {"NORVIK_TEST_WORKDIR", work.path()}},
        60.0);
  });
  const bool ready = waitForFile(work.file("ready"), std::chrono::seconds(30));
  if (ready) {
    EXPECT_TRUE(NVUserLanguage::setUserLanguageType(14));
    writeMarker(work.file("changed"), nowTicks());
  }
  child.join();
  EXPECT_TRUE(ready);
  EXPECT_EQ(childStatus, 0);
  NVUserLanguage::setUserLanguageType(0);
}

}  // namespace
}  // namespace norvik
