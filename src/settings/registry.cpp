#include "norvik/settings/registry.h"

#include "norvik/platform/build_config.h"

namespace norvik {
namespace {

// Stored key texts shared with the application; kept literally here because the vocabulary that
// also exports them sits above this layer.
constexpr std::string_view kAppIDKey = "app_id";
constexpr std::string_view kLocalInboxID = "localInboxID";

template <class T>
DefaultsKey<T> plainKey(std::string_view key, T defaultValue) {
  return DefaultsKey<T>::create(key, false, std::move(defaultValue));
}
template <class T>
DefaultsKey<T> userKey(std::string_view key, T defaultValue) {
  return DefaultsKey<T>::create(key, true, std::move(defaultValue));
}

std::optional<std::string> contentOf(const std::optional<WrappedString>& item) {
  if (!item) return std::nullopt;
  return item->content;
}

std::optional<WrappedString> wrap(const std::optional<std::string>& value) {
  if (!value) return std::nullopt;
  return WrappedString(*value);
}

}  // namespace

int currentUserIDForKeys() {
  return NVUserDefaults::shared().get(DefaultsKeys::currentUserID()).content;
}

DefaultsKey<std::optional<WrappedString>> DefaultsKeys::appID() {
  return plainKey<std::optional<WrappedString>>(kAppIDKey, std::nullopt);
}
DefaultsKey<WrappedString> DefaultsKeys::currentInboxID() {
  return plainKey("currentInboxID", WrappedString(std::string(kLocalInboxID)));
}
DefaultsKey<CustomUserDefatuls<int>> DefaultsKeys::currentUserID() {
  return plainKey("currentUserId", CustomUserDefatuls<int>(1));
}
DefaultsKey<WrappedString> DefaultsKeys::currentSiteDomain() {
  return plainKey("currentSiteDomain", WrappedString(std::string(kNVNorvikBuiltInSiteDomain)));
}
DefaultsKey<CustomUserDefatuls<std::int64_t>> DefaultsKeys::currentServerUserID() {
  return plainKey("currentServerUserID", CustomUserDefatuls<std::int64_t>(-1));
}
DefaultsKey<std::optional<WrappedString>> DefaultsKeys::currentUserToken() {
  return plainKey<std::optional<WrappedString>>("currentUserToken", std::nullopt);
}
DefaultsKey<std::optional<WrappedString>> DefaultsKeys::signAuthID() {
  return plainKey<std::optional<WrappedString>>("currentSignAuthID", std::nullopt);
}
DefaultsKey<std::optional<WrappedString>> DefaultsKeys::currentAuthVID() {
  return userKey<std::optional<WrappedString>>("currentAuthVID", std::nullopt);
}
DefaultsKey<std::optional<std::string>> DefaultsKeys::currentThemeID() {
  return plainKey<std::optional<std::string>>(std::string(kNVReverseDomainPrefix) + ".task.theme",
                                              std::nullopt);
}
DefaultsKey<bool> DefaultsKeys::isSSLPinningEnabled() {
  return plainKey("isSSLPinningEnabled", false);
}
DefaultsKey<bool> DefaultsKeys::shouldPushDailyReminder() {
  return userKey("shouldPushDailyReminder", false);
}
DefaultsKey<std::optional<platform::Date>> DefaultsKeys::signAuthIDExpireTime() {
  return plainKey<std::optional<platform::Date>>("sign_auth_ID_expire_time", std::nullopt);
}
DefaultsKey<std::optional<std::string>> DefaultsKeys::lastSyncedVersion() {
  // The same key as shouldPushDailyReminder, on purpose: stored data already depends on it.
  return userKey<std::optional<std::string>>("shouldPushDailyReminder", std::nullopt);
}
DefaultsKey<double> DefaultsKeys::timetableScale() {
  return plainKey("timetableScale", 1.0);
}
DefaultsKey<double> DefaultsKeys::timelineScale() {
  return plainKey("NVTimelineScale", 1.0);
}
DefaultsKey<bool> DefaultsKeys::isLocalDataTransferAlertShowed() {
  return plainKey("isAlertShowed_LocalDataTransfer", false);
}
DefaultsKey<std::optional<platform::Date>> DefaultsKeys::lastCheckLimitedTime() {
  return plainKey<std::optional<platform::Date>>("last_check_limited_time", std::nullopt);
}
DefaultsKey<bool> DefaultsKeys::isAtlantisEnabled() {
  return plainKey("isAtlantisEnabled", true);
}
DefaultsKey<std::optional<std::string>> DefaultsKeys::atlantisHostName() {
  return plainKey<std::optional<std::string>>("atlantisHostName", std::nullopt);
}

// ---- NVUserDefaultManager ----

NVUserDefaultManager::NVUserDefaultManager()
    : currentThemeID_(&DefaultsKeys::currentThemeID),
      isSSLPinningEnabled_(&DefaultsKeys::isSSLPinningEnabled),
      shouldPushDailyReminder_(&DefaultsKeys::shouldPushDailyReminder),
      signAuthIDExpireTime_(&DefaultsKeys::signAuthIDExpireTime),
      lastSyncedVersion_(&DefaultsKeys::lastSyncedVersion) {}

NVUserDefaultManager& NVUserDefaultManager::shared() {
  static NVUserDefaultManager instance;
  return instance;
}

std::optional<std::string> NVUserDefaultManager::appID() const {
  return contentOf(NVUserDefaults::shared().get(DefaultsKeys::appID()));
}
void NVUserDefaultManager::setAppID(const std::optional<std::string>& value) const {
  NVUserDefaults::shared().set(DefaultsKeys::appID(), wrap(value));
}
std::string NVUserDefaultManager::currentInboxID() const {
  return NVUserDefaults::shared().get(DefaultsKeys::currentInboxID()).content;
}
void NVUserDefaultManager::setCurrentInboxID(const std::string& value) const {
  NVUserDefaults::shared().set(DefaultsKeys::currentInboxID(), WrappedString(value));
}
int NVUserDefaultManager::currentUserID() const {
  return NVUserDefaults::shared().get(DefaultsKeys::currentUserID()).content;
}
void NVUserDefaultManager::setCurrentUserID(int value) const {
  NVUserDefaults::shared().set(DefaultsKeys::currentUserID(), CustomUserDefatuls<int>(value));
}
std::string NVUserDefaultManager::currentSiteDomain() const {
  return NVUserDefaults::shared().get(DefaultsKeys::currentSiteDomain()).content;
}
void NVUserDefaultManager::setCurrentSiteDomain(const std::string& value) const {
  NVUserDefaults::shared().set(DefaultsKeys::currentSiteDomain(), WrappedString(value));
}
std::int64_t NVUserDefaultManager::currentServerUserID() const {
  return NVUserDefaults::shared().get(DefaultsKeys::currentServerUserID()).content;
}
void NVUserDefaultManager::setCurrentServerUserID(std::int64_t value) const {
  NVUserDefaults::shared().set(DefaultsKeys::currentServerUserID(),
                               CustomUserDefatuls<std::int64_t>(value));
}
std::optional<std::string> NVUserDefaultManager::currentUserToken() const {
  return contentOf(NVUserDefaults::shared().get(DefaultsKeys::currentUserToken()));
}
void NVUserDefaultManager::setCurrentUserToken(const std::optional<std::string>& value) const {
  NVUserDefaults::shared().set(DefaultsKeys::currentUserToken(), wrap(value));
}
std::optional<std::string> NVUserDefaultManager::signAuthID() const {
  return contentOf(NVUserDefaults::shared().get(DefaultsKeys::signAuthID()));
}
void NVUserDefaultManager::setSignAuthID(const std::optional<std::string>& value) const {
  NVUserDefaults::shared().set(DefaultsKeys::signAuthID(), wrap(value));
}
std::optional<std::string> NVUserDefaultManager::currentAuthVID() const {
  return contentOf(NVUserDefaults::shared().get(DefaultsKeys::currentAuthVID()));
}
void NVUserDefaultManager::setCurrentAuthVID(const std::optional<std::string>& value) const {
  NVUserDefaults::shared().set(DefaultsKeys::currentAuthVID(), wrap(value));
}

}  // namespace norvik
