#include "norvik/vocabulary/local_notification.h"

namespace norvik {
namespace {

std::optional<platform::Value> objectFor(const platform::Dictionary& info, std::string_view key) {
  auto entry = info.find(key);
  if (entry == info.end()) return std::nullopt;
  return entry->second;
}

std::optional<std::int64_t> integerFor(const platform::Dictionary& info, std::string_view key) {
  auto entry = info.find(key);
  return entry == info.end() ? std::nullopt : entry->second.int64Value();
}

bool boolFor(const platform::Dictionary& info, std::string_view key) {
  auto entry = info.find(key);
  return entry != info.end() && entry->second.boolValue().value_or(false);
}

std::optional<platform::Value> remindTimeIn(const platform::Dictionary& info) {
  if (auto current = objectFor(info, NVLocalNotificationRemindTimeKey)) return current;
  return objectFor(info, NVLocalNotificationRemindTimeKey_Deprecated);
}

// Copy, set one key, store the copy: the user information is replaced as a whole, so a reader
// holding the previous dictionary keeps an unchanged one.
platform::Dictionary with(const platform::Dictionary& info, std::string_view key,
                          platform::Value value) {
  platform::Dictionary copy = info;
  copy.insert_or_assign(std::string(key), std::move(value));
  return copy;
}

void write(NVLocalNotification& n, std::string_view key, platform::Value value) {
  n.userInfo = with(n.userInfo, key, std::move(value));
}

void write(NVMutableNotificationContent& c, std::string_view key, platform::Value value) {
  c.setUserInfo(with(c.userInfo(), key, std::move(value)));
}

template <class Receiver>
void writeObject(Receiver& receiver, std::string_view key, std::optional<platform::Value> value) {
  if (value) write(receiver, key, std::move(*value));
}

}  // namespace

// Older local notification.

std::optional<platform::Value> objectID(const NVLocalNotification& n) {
  return objectFor(n.userInfo, kNVLocalNotificationObjectIDKey);
}
std::optional<platform::Value> remindTime(const NVLocalNotification& n) {
  return remindTimeIn(n.userInfo);
}
std::optional<platform::Value> timetableID(const NVLocalNotification& n) {
  return objectFor(n.userInfo, NVLocalNotificationTimetableIDKey);
}
std::optional<platform::Value> displayDate(const NVLocalNotification& n) {
  return objectFor(n.userInfo, NVLocalNotificationDisplayDateIDKey);
}
std::optional<platform::Value> uuid(const NVLocalNotification& n) {
  return objectFor(n.userInfo, NVLocalNotificationUUIDIDKey);
}
std::uint64_t reminderType(const NVLocalNotification& n) {
  return static_cast<std::uint64_t>(
      integerFor(n.userInfo, NVLocalNotificationReminderTypeKey).value_or(0));
}
std::int64_t priority(const NVLocalNotification& n) {
  return boolFor(n.userInfo, NVLocalNotificationReminderPriorityKey) ? 1 : 0;
}
bool annoying(const NVLocalNotification& n) {
  return boolFor(n.userInfo, NVLocalNotificationReminderAnnoyingKey);
}
bool showInSmartProject(const NVLocalNotification& n) {
  return boolFor(n.userInfo, NVLocalNotificationReminderShowInSmartProjectKey);
}
bool needActiveApp(const NVLocalNotification& n) {
  return boolFor(n.userInfo, NVLocalNotificationReminderNeedActiveAppKey);
}
bool startPomoInTask(const NVLocalNotification& n) {
  return boolFor(n.userInfo, NVLocalNotificationReminderStartPomoInTaskKey);
}
bool isEditable(const NVLocalNotification& n) {
  return boolFor(n.userInfo, NVLocalNotificationReminderEditableKey);
}

void setObjectID(NVLocalNotification& n, std::optional<platform::Value> value) {
  writeObject(n, kNVLocalNotificationObjectIDKey, std::move(value));
}
void setRemindTime(NVLocalNotification& n, std::optional<platform::Value> value) {
  writeObject(n, NVLocalNotificationRemindTimeKey, std::move(value));
}
void setTimetableID(NVLocalNotification& n, std::optional<platform::Value> value) {
  writeObject(n, NVLocalNotificationTimetableIDKey, std::move(value));
}
void setDisplayDate(NVLocalNotification& n, std::optional<platform::Value> value) {
  writeObject(n, NVLocalNotificationDisplayDateIDKey, std::move(value));
}
void setReminderType(NVLocalNotification& n, std::uint64_t value) {
  write(n, NVLocalNotificationReminderTypeKey, platform::Value(value));
}
void setPriority(NVLocalNotification& n, std::int64_t value) {
  write(n, NVLocalNotificationReminderPriorityKey, platform::Value(value));
}
void setAnnoying(NVLocalNotification& n, bool value) {
  write(n, NVLocalNotificationReminderAnnoyingKey, platform::Value(value));
}
void setShowInSmartProject(NVLocalNotification& n, bool value) {
  write(n, NVLocalNotificationReminderShowInSmartProjectKey, platform::Value(value));
}
void setNeedActiveApp(NVLocalNotification& n, bool value) {
  write(n, NVLocalNotificationReminderNeedActiveAppKey, platform::Value(value));
}
void setStartPomoInTask(NVLocalNotification& n, bool value) {
  write(n, NVLocalNotificationReminderStartPomoInTaskKey, platform::Value(value));
}
void setEditable(NVLocalNotification& n, bool value) {
  write(n, NVLocalNotificationReminderEditableKey, platform::Value(value));
}

// Notification content.

std::optional<platform::Value> objectID(const NVNotificationContent& c) {
  return objectFor(c.userInfo(), kNVLocalNotificationObjectIDKey);
}
std::optional<platform::Value> remindTime(const NVNotificationContent& c) {
  return remindTimeIn(c.userInfo());
}
std::optional<platform::Value> timetableID(const NVNotificationContent& c) {
  return objectFor(c.userInfo(), NVLocalNotificationTimetableIDKey);
}
std::optional<platform::Value> displayDate(const NVNotificationContent& c) {
  return objectFor(c.userInfo(), NVLocalNotificationDisplayDateIDKey);
}
std::optional<platform::Value> uuid(const NVNotificationContent& c) {
  return objectFor(c.userInfo(), NVLocalNotificationUUIDIDKey);
}
std::int64_t reminderType(const NVNotificationContent& c) {
  return integerFor(c.userInfo(), NVLocalNotificationReminderTypeKey).value_or(0);
}
std::int64_t priority(const NVNotificationContent& c) {
  return integerFor(c.userInfo(), NVLocalNotificationReminderPriorityKey).value_or(0);
}
bool annoying(const NVNotificationContent& c) {
  return boolFor(c.userInfo(), NVLocalNotificationReminderAnnoyingKey);
}
bool showInSmartProject(const NVNotificationContent& c) {
  return boolFor(c.userInfo(), NVLocalNotificationReminderShowInSmartProjectKey);
}
bool needActiveApp(const NVNotificationContent& c) {
  return boolFor(c.userInfo(), NVLocalNotificationReminderNeedActiveAppKey);
}
bool startPomoInTask(const NVNotificationContent& c) {
  return boolFor(c.userInfo(), NVLocalNotificationReminderStartPomoInTaskKey);
}
bool isEditable(const NVNotificationContent& c) {
  return boolFor(c.userInfo(), NVLocalNotificationReminderEditableKey);
}

void setObjectID(NVMutableNotificationContent& c, std::optional<platform::Value> value) {
  writeObject(c, kNVLocalNotificationObjectIDKey, std::move(value));
}
void setRemindTime(NVMutableNotificationContent& c, std::optional<platform::Value> value) {
  writeObject(c, NVLocalNotificationRemindTimeKey, std::move(value));
}
void setTimetableID(NVMutableNotificationContent& c, std::optional<platform::Value> value) {
  writeObject(c, NVLocalNotificationTimetableIDKey, std::move(value));
}
void setDisplayDate(NVMutableNotificationContent& c, std::optional<platform::Value> value) {
  writeObject(c, NVLocalNotificationDisplayDateIDKey, std::move(value));
}
void setUuid(NVMutableNotificationContent& c, std::optional<platform::Value> value) {
  writeObject(c, NVLocalNotificationUUIDIDKey, std::move(value));
}
void setReminderType(NVMutableNotificationContent& c, std::int64_t value) {
  write(c, NVLocalNotificationReminderTypeKey, platform::Value(value));
}
void setPriority(NVMutableNotificationContent& c, std::int64_t value) {
  write(c, NVLocalNotificationReminderPriorityKey, platform::Value(value));
}
void setAnnoying(NVMutableNotificationContent& c, bool value) {
  write(c, NVLocalNotificationReminderAnnoyingKey, platform::Value(value));
}
void setShowInSmartProject(NVMutableNotificationContent& c, bool value) {
  write(c, NVLocalNotificationReminderShowInSmartProjectKey, platform::Value(value));
}
void setNeedActiveApp(NVMutableNotificationContent& c, bool value) {
  write(c, NVLocalNotificationReminderNeedActiveAppKey, platform::Value(value));
}
void setStartPomoInTask(NVMutableNotificationContent& c, bool value) {
  write(c, NVLocalNotificationReminderStartPomoInTaskKey, platform::Value(value));
}
void setEditable(NVMutableNotificationContent& c, bool value) {
  write(c, NVLocalNotificationReminderEditableKey, platform::Value(value));
}

}  // namespace norvik
