#include "norvik/vocabulary/local_notification.h"

#include <gtest/gtest.h>

#include <limits>

namespace norvik {
namespace {

using platform::Value;

TEST(LocalNotificationContent, PriorityReadsAsBooleanOnlyOnTheOlderType) {
  NVLocalNotification older;
  setPriority(older, 3);
  EXPECT_EQ(priority(older), 1);
  EXPECT_EQ(older.userInfo.at(std::string(NVLocalNotificationReminderPriorityKey)), Value(3));
  setPriority(older, 0);
  EXPECT_EQ(priority(older), 0);

  NVMutableNotificationContent content;
  setPriority(content, 3);
  EXPECT_EQ(priority(content), 3);
  EXPECT_EQ(priority(content.copy()), 3);
}

TEST(LocalNotificationContent, ReminderTypeIsUnsignedOnlyOnTheOlderType) {
  NVLocalNotification older;
  older.userInfo.emplace(NVLocalNotificationReminderTypeKey, Value(-1));
  EXPECT_EQ(reminderType(older), std::numeric_limits<std::uint64_t>::max());
  const NVNotificationContent content("t", "b", older.userInfo);
  EXPECT_EQ(reminderType(content), -1);
  EXPECT_EQ(reminderType(NVNotificationContent()), 0);
}

TEST(LocalNotificationContent, RemindTimeFallsBackToTheDeprecatedKey) {
  const Value older(platform::Date(100)), newer(platform::Date(200));
  NVLocalNotification onlyOld;
  onlyOld.userInfo.emplace(NVLocalNotificationRemindTimeKey_Deprecated, older);
  EXPECT_EQ(remindTime(onlyOld), older);

  NVMutableNotificationContent both;
  both.setUserInfo({{std::string(NVLocalNotificationRemindTimeKey_Deprecated), older}});
  EXPECT_EQ(remindTime(both), older);
  setRemindTime(both, newer);
  EXPECT_EQ(remindTime(both), newer);
  // The writer never touches the deprecated key.
  EXPECT_EQ(both.userInfo().at(std::string(NVLocalNotificationRemindTimeKey_Deprecated)), older);
}

TEST(LocalNotificationContent, AbsentObjectsChangeNothingAndOtherEntriesStay) {
  NVLocalNotification older;
  older.userInfo.emplace("custom", Value("kept"));
  setObjectID(older, Value("task-1"));
  setObjectID(older, std::nullopt);
  EXPECT_EQ(objectID(older), Value("task-1"));
  setAnnoying(older, true);
  setEditable(older, true);
  EXPECT_TRUE(annoying(older));
  EXPECT_TRUE(isEditable(older));
  EXPECT_FALSE(needActiveApp(older));
  EXPECT_EQ(older.userInfo.at("custom"), Value("kept"));
  EXPECT_EQ(older.userInfo.size(), 4u);

  NVMutableNotificationContent content;
  setUuid(content, std::nullopt);
  EXPECT_TRUE(content.userInfo().empty());
  setUuid(content, Value("u-1"));
  setTimetableID(content, Value(7));
  setStartPomoInTask(content, true);
  const NVNotificationContent frozen = content.copy();
  setUuid(content, Value("u-2"));
  EXPECT_EQ(uuid(frozen), Value("u-1"));
  EXPECT_EQ(uuid(content), Value("u-2"));
  EXPECT_EQ(timetableID(content), Value(7));
  EXPECT_TRUE(startPomoInTask(content));
  EXPECT_FALSE(displayDate(content));
}

TEST(LocalNotificationContent, NonNumbersReadAsZero) {
  NVNotificationContent content(
      "", "",
      {{std::string(NVLocalNotificationReminderPriorityKey), Value("high")},
       {std::string(NVLocalNotificationReminderAnnoyingKey), Value("yes")}});
  EXPECT_EQ(priority(content), 0);
  EXPECT_FALSE(annoying(content));
}

}  // namespace
}  // namespace norvik
