#include "norvik/vocabulary/notifications.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "norvik/platform/notification_center.h"
#include "norvik/vocabulary/idle_runner.h"
#include "platform/glib_loop_test_support.h"

namespace norvik {
namespace {

using platform::Notification;
using platform::NotificationCenter;
using testing::ThreadLoop;

TEST(NotificationNames, KeepTheirDeliberateSpellings) {
  EXPECT_EQ(NVProjectDidChangeNotification, "NVProjectDidChangedNotification");
  EXPECT_EQ(NVProjectDidOpenedNotification, "NVProjectDidOpenedNotification");
  EXPECT_EQ(NotificationName::focusAvailablityDidChange, "focusAvailablityDidChange");
  EXPECT_EQ(NotificationName::habitAvailablityDidChange, "habitAvailablityDidChange");
  EXPECT_EQ(NotificationName::countdownAvailablityDidChange, "countdownAvailablityDidChange");
  EXPECT_EQ(kNotificationKeyStartDate, "startDate");
}

// Records the notifications of the default centre while alive.
struct Recorder {
  std::vector<Notification> posted;
  platform::ScopedObserver observer{
      NotificationCenter::defaultCenter(),
      NotificationCenter::defaultCenter().addObserver(
          "", nullptr, [this](const Notification& n) { posted.push_back(n); })};
};

TEST(NVNotificationCenter, PostsTheNamedNotificationsAndTheRefreshUserInformation) {
  Recorder recorder;
  NVNotificationCenter::badgeForSettingsDidChange();
  NVNotificationCenter::focusAvailablityDidChange();
  NVNotificationCenter::habitAvailablityDidChange();
  NVNotificationCenter::countdownAvailablityDidChange();
  NVNotificationCenter::refreshProjects();
  NVNotificationCenter::refreshProjects("scene-1");

  ASSERT_EQ(recorder.posted.size(), 6u);
  const std::vector<std::string> names = {"NVSettingsBadgeDidChangeNotification",
                                          "focusAvailablityDidChange",
                                          "habitAvailablityDidChange",
                                          "countdownAvailablityDidChange",
                                          "refreshProjects",
                                          "refreshProjects"};
  for (std::size_t i = 0; i < names.size(); ++i) {
    EXPECT_EQ(recorder.posted[i].name, names[i]);
    EXPECT_EQ(recorder.posted[i].object, nullptr);
  }
  for (std::size_t i = 0; i < 4; ++i) EXPECT_FALSE(recorder.posted[i].userInfo);
  // Without a scene: an empty dictionary, not none.
  ASSERT_TRUE(recorder.posted[4].userInfo);
  EXPECT_TRUE(recorder.posted[4].userInfo->empty());
  ASSERT_TRUE(recorder.posted[5].userInfo);
  EXPECT_EQ(*recorder.posted[5].userInfo,
            (platform::Dictionary{{"kNVSceneID", platform::Value("scene-1")}}));
}

TEST(NVNotificationCenter, IdleRefreshesPostAtTheIdleMomentInCallOrder) {
  ThreadLoop loop;
  Recorder recorder;
  NVNotificationCenter::refreshProjectsWhenIdle("a");
  refreshProjectsWhenIdle();
  refreshProjectsWhenIdle("b");
  EXPECT_TRUE(recorder.posted.empty());

  loop.runUntilIdle();
  ASSERT_EQ(recorder.posted.size(), 3u);
  auto scene = [&](std::size_t i) -> std::string {
    const auto& info = recorder.posted[i].userInfo;
    if (!info) return "<none>";
    auto it = info->find("kNVSceneID");
    return it == info->end() ? "<empty>" : *it->second.string();
  };
  EXPECT_EQ(scene(0), "a");
  EXPECT_EQ(scene(1), "<empty>");
  EXPECT_EQ(scene(2), "b");

  loop.runUntilIdle();
  EXPECT_EQ(recorder.posted.size(), 3u);  // each call posts once
}

TEST(NVIdleRunner, RunsOnceAtTheFirstIdleMomentEvenWhenLetGo) {
  ThreadLoop loop;
  std::vector<std::string> log;
  std::weak_ptr<NVIdleRunner> weak;
  {
    auto runner = NVIdleRunner::create([&] { log.push_back("work"); });
    weak = runner;
    EXPECT_FALSE(runner->isExecuting());
    runner->execute();
    runner->execute();
    EXPECT_TRUE(runner->isExecuting());
  }
  ASSERT_FALSE(weak.expired());  // it keeps itself alive while attached
  int busy = 2;
  loop.addIdle([&] {
    log.push_back("busy");
    return --busy > 0;
  });
  loop.runUntilIdle();
  EXPECT_EQ(log, (std::vector<std::string>{"busy", "busy", "work"}));
  EXPECT_TRUE(weak.expired());

  auto kept = NVIdleRunner::create([&] { log.push_back("kept"); });
  kept->execute();
  loop.runUntilIdle();
  EXPECT_FALSE(kept->isExecuting());
  kept->execute();  // after the work ran: nothing
  EXPECT_FALSE(kept->isExecuting());
  loop.runUntilIdle();
  EXPECT_EQ(log, (std::vector<std::string>{"busy", "busy", "work", "kept"}));
}

TEST(NVIdleRunner, StoppedRunnerNeverRunsAndCannotBeRestarted) {
  ThreadLoop loop;
  int runs = 0;
  auto runner = NVIdleRunner::create([&] { ++runs; });
  runner->stop();  // not executing yet: nothing happens, execute() still works
  runner->execute();
  runner->stop();
  EXPECT_FALSE(runner->isExecuting());
  runner->execute();
  EXPECT_FALSE(runner->isExecuting());
  loop.runUntilIdle();
  EXPECT_EQ(runs, 0);

  // A runner that stops another before the idle moment keeps it from running.
  auto victim = NVIdleRunner::create([&] { ++runs; });
  auto stopper = NVIdleRunner::create([&] { victim->stop(); });
  stopper->execute();
  victim->execute();
  loop.runUntilIdle();
  EXPECT_EQ(runs, 0);
}

}  // namespace
}  // namespace norvik
