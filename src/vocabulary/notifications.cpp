#include "norvik/vocabulary/notifications.h"

#include <string>

#include "norvik/platform/notification_center.h"
#include "norvik/vocabulary/idle_runner.h"

namespace norvik {

namespace {
void postPlain(std::string_view name) {
  platform::NotificationCenter::defaultCenter().post(name);
}
}  // namespace

void NVNotificationCenter::badgeForSettingsDidChange() {
  postPlain(NVSettingsBadgeDidChangeNotification);
}

void NVNotificationCenter::focusAvailablityDidChange() {
  postPlain(NotificationName::focusAvailablityDidChange);
}

void NVNotificationCenter::habitAvailablityDidChange() {
  postPlain(NotificationName::habitAvailablityDidChange);
}

void NVNotificationCenter::countdownAvailablityDidChange() {
  postPlain(NotificationName::countdownAvailablityDidChange);
}

void NVNotificationCenter::refreshProjects(std::optional<std::string_view> sceneID) {
  platform::Dictionary userInfo;
  if (sceneID) userInfo.emplace(std::string(kNVSceneID), platform::Value(*sceneID));
  platform::NotificationCenter::defaultCenter().post(NotificationName::refreshProjects, nullptr,
                                                     std::move(userInfo));
}

void NVNotificationCenter::refreshProjectsWhenIdle(std::optional<std::string_view> sceneID) {
  std::optional<std::string> scene;
  if (sceneID) scene.emplace(*sceneID);
  auto runner = NVIdleRunner::create([scene = std::move(scene)] {
    NVNotificationCenter::refreshProjects(scene ? std::optional<std::string_view>(*scene)
                                                : std::nullopt);
  });
  runner->execute();
}

void refreshProjectsWhenIdle(std::optional<std::string_view> sceneID) {
  NVNotificationCenter::refreshProjectsWhenIdle(sceneID);
}

}  // namespace norvik
