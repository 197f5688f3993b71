#pragma once
// Reminders are delivered as local notifications; what the application needs when one fires
// travels in the notification's user-information dictionary under the keys below. This module
// supplies the notification records of a platform that has none (the older local notification,
// the current read-only content and its mutable form) and the typed accessors on them.
//
// Writers copy the user information, set one key and store the copy, so every other entry stays.
// An object-valued writer given no object changes nothing (a key cannot be removed that way).
// Readers give std::nullopt, 0 or false for a missing entry; numeric readers treat anything but a
// number as missing.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "norvik/platform/value.h"

namespace norvik {

inline constexpr std::string_view kNVLocalNotificationObjectIDKey = "localNotificationEntityID";
inline constexpr std::string_view NVLocalNotificationRemindTimeKey = "localNotificationRemindTime";
// Read by remindTime() only when the current key is absent; never written.
inline constexpr std::string_view NVLocalNotificationRemindTimeKey_Deprecated =
    "localNotificationReminderTime";
inline constexpr std::string_view NVLocalNotificationReminderTypeKey =
    "localNotificationReminderType";
inline constexpr std::string_view NVLocalNotificationReminderAnnoyingKey =
    "localNotificationAnnoying";
inline constexpr std::string_view NVLocalNotificationReminderShowInSmartProjectKey =
    "localNotificationShowInSmartProject";
inline constexpr std::string_view NVLocalNotificationReminderNeedActiveAppKey =
    "localNotificationReminderNeedActiveApp";
inline constexpr std::string_view NVLocalNotificationReminderStartPomoInTaskKey =
    "localNotificationReminderStartPomoInTask";
inline constexpr std::string_view NVLocalNotificationReminderEditableKey =
    "NVLocalNotificationReminderEditable";
inline constexpr std::string_view NVLocalNotificationReminderPriorityKey =
    "NVLocalNotificationReminderPriority";
inline constexpr std::string_view NVLocalNotificationTimetableIDKey =
    "NVLocalNotificationTimetableIDKey";
inline constexpr std::string_view NVLocalNotificationDisplayDateIDKey =
    "NVLocalNotificationDisplayDateIDKey";
inline constexpr std::string_view NVLocalNotificationUUIDIDKey = "NVLocalNotificationUUIDIDKey";

// The older local notification: a scheduled alert with its user information.
struct NVLocalNotification {
  std::string alertTitle;
  std::string alertBody;
  std::optional<platform::Date> fireDate;
  platform::Dictionary userInfo;  // empty when absent
};

// The content of a delivered or scheduled notification; read-only once made.
class NVNotificationContent {
 public:
  NVNotificationContent() = default;
  NVNotificationContent(std::string title, std::string body, platform::Dictionary userInfo)
      : title_(std::move(title)), body_(std::move(body)), userInfo_(std::move(userInfo)) {}

  const std::string& title() const noexcept { return title_; }
  const std::string& body() const noexcept { return body_; }
  const platform::Dictionary& userInfo() const noexcept { return userInfo_; }

 protected:
  std::string title_;
  std::string body_;
  platform::Dictionary userInfo_;
};

// The mutable form of the content.
class NVMutableNotificationContent : public NVNotificationContent {
 public:
  using NVNotificationContent::NVNotificationContent;
  explicit NVMutableNotificationContent(const NVNotificationContent& content)
      : NVNotificationContent(content) {}

  void setTitle(std::string title) { title_ = std::move(title); }
  void setBody(std::string body) { body_ = std::move(body); }
  void setUserInfo(platform::Dictionary userInfo) { userInfo_ = std::move(userInfo); }
  // An immutable copy of the current state.
  NVNotificationContent copy() const { return *this; }
};

// Readers of the older local notification.
std::optional<platform::Value> objectID(const NVLocalNotification& notification);
// The current remind-time entry, else the deprecated one.
std::optional<platform::Value> remindTime(const NVLocalNotification& notification);
std::optional<platform::Value> timetableID(const NVLocalNotification& notification);
std::optional<platform::Value> displayDate(const NVLocalNotification& notification);
std::optional<platform::Value> uuid(const NVLocalNotification& notification);
// Read as an unsigned integer (a stored -1 reads as 2^64 - 1).
std::uint64_t reminderType(const NVLocalNotification& notification);
// Read as a boolean: 0 or 1 whatever the stored priority (3 reads as 1).
std::int64_t priority(const NVLocalNotification& notification);
bool annoying(const NVLocalNotification& notification);
bool showInSmartProject(const NVLocalNotification& notification);
bool needActiveApp(const NVLocalNotification& notification);
bool startPomoInTask(const NVLocalNotification& notification);
bool isEditable(const NVLocalNotification& notification);

// Writers of the older local notification (no uuid writer on this type).
void setObjectID(NVLocalNotification& notification, std::optional<platform::Value> objectID);
void setRemindTime(NVLocalNotification& notification, std::optional<platform::Value> remindTime);
void setTimetableID(NVLocalNotification& notification, std::optional<platform::Value> timetableID);
void setDisplayDate(NVLocalNotification& notification, std::optional<platform::Value> displayDate);
void setReminderType(NVLocalNotification& notification, std::uint64_t reminderType);
void setPriority(NVLocalNotification& notification, std::int64_t priority);
void setAnnoying(NVLocalNotification& notification, bool annoying);
void setShowInSmartProject(NVLocalNotification& notification, bool showInSmartProject);
void setNeedActiveApp(NVLocalNotification& notification, bool needActiveApp);
void setStartPomoInTask(NVLocalNotification& notification, bool startPomoInTask);
void setEditable(NVLocalNotification& notification, bool editable);

// Readers of notification content (and so of its mutable form).
std::optional<platform::Value> objectID(const NVNotificationContent& content);
// The current remind-time entry, else the deprecated one.
std::optional<platform::Value> remindTime(const NVNotificationContent& content);
std::optional<platform::Value> timetableID(const NVNotificationContent& content);
std::optional<platform::Value> displayDate(const NVNotificationContent& content);
std::optional<platform::Value> uuid(const NVNotificationContent& content);
// Read as a signed integer.
std::int64_t reminderType(const NVNotificationContent& content);
// The stored integer (3 reads as 3).
std::int64_t priority(const NVNotificationContent& content);
bool annoying(const NVNotificationContent& content);
bool showInSmartProject(const NVNotificationContent& content);
bool needActiveApp(const NVNotificationContent& content);
bool startPomoInTask(const NVNotificationContent& content);
bool isEditable(const NVNotificationContent& content);

// Writers of the mutable content.
void setObjectID(NVMutableNotificationContent& content, std::optional<platform::Value> objectID);
void setRemindTime(NVMutableNotificationContent& content,
                   std::optional<platform::Value> remindTime);
void setTimetableID(NVMutableNotificationContent& content,
                    std::optional<platform::Value> timetableID);
void setDisplayDate(NVMutableNotificationContent& content,
                    std::optional<platform::Value> displayDate);
void setUuid(NVMutableNotificationContent& content, std::optional<platform::Value> uuid);
void setReminderType(NVMutableNotificationContent& content, std::int64_t reminderType);
void setPriority(NVMutableNotificationContent& content, std::int64_t priority);
void setAnnoying(NVMutableNotificationContent& content, bool annoying);
void setShowInSmartProject(NVMutableNotificationContent& content, bool showInSmartProject);
void setNeedActiveApp(NVMutableNotificationContent& content, bool needActiveApp);
void setStartPomoInTask(NVMutableNotificationContent& content, bool startPomoInTask);
void setEditable(NVMutableNotificationContent& content, bool editable);

}  // namespace norvik
