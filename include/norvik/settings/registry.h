#pragma once
// Every setting the library defines (DefaultsKeys) and the shared object through which the
// application reads and writes most of them (NVUserDefaultManager).
//
// Keys are made afresh on every call, so per-user keys ("<key>_<currentUserID>") follow the user
// who is current at the moment of the access. lastSyncedVersion deliberately shares its key with
// shouldPushDailyReminder: writing either overwrites the other, and each reads the other's value
// as its own default (a string is not a Bool).

#include <cstdint>
#include <optional>
#include <string>

#include "norvik/platform/date.h"
#include "norvik/settings/typed_defaults.h"

namespace norvik {

using WrappedString = CustomUserDefatuls<std::string>;

struct DefaultsKeys {
  // Wrapped settings: JSON blobs in the store and in the database-backed cache.
  static DefaultsKey<std::optional<WrappedString>> appID();     // "app_id"
  static DefaultsKey<WrappedString> currentInboxID();           // "localInboxID"
  static DefaultsKey<CustomUserDefatuls<int>> currentUserID();  // "currentUserId", 1
  static DefaultsKey<WrappedString> currentSiteDomain();        // the international site
  static DefaultsKey<CustomUserDefatuls<std::int64_t>> currentServerUserID();  // -1
  static DefaultsKey<std::optional<WrappedString>> currentUserToken();
  static DefaultsKey<std::optional<WrappedString>> signAuthID();      // "currentSignAuthID"
  static DefaultsKey<std::optional<WrappedString>> currentAuthVID();  // per user
  // Plain settings: the store's own values.
  static DefaultsKey<std::optional<std::string>> currentThemeID();  // "<prefix>.task.theme"
  static DefaultsKey<bool> isSSLPinningEnabled();
  static DefaultsKey<bool> shouldPushDailyReminder();  // per user
  static DefaultsKey<std::optional<platform::Date>> signAuthIDExpireTime();
  static DefaultsKey<std::optional<std::string>> lastSyncedVersion();  // per user, shared key
  static DefaultsKey<double> timetableScale();                         // 1.0
  static DefaultsKey<double> timelineScale();                          // "NVTimelineScale", 1.0
  static DefaultsKey<bool> isLocalDataTransferAlertShowed();
  static DefaultsKey<std::optional<platform::Date>> lastCheckLimitedTime();
  static DefaultsKey<bool> isAtlantisEnabled();  // true
  static DefaultsKey<std::optional<std::string>> atlantisHostName();
};

// The settings the application uses most, as properties. Wrapped properties read and write the
// wrapper's content; writing an absent optional removes the setting from the store and the cache.
class NVUserDefaultManager {
 public:
  static NVUserDefaultManager& shared();

  std::optional<std::string> appID() const;
  void setAppID(const std::optional<std::string>& value) const;
  std::string currentInboxID() const;
  void setCurrentInboxID(const std::string& value) const;
  // Changing the user changes every per-user key from the next access on; nothing is copied.
  int currentUserID() const;
  void setCurrentUserID(int value) const;
  std::string currentSiteDomain() const;
  void setCurrentSiteDomain(const std::string& value) const;
  std::int64_t currentServerUserID() const;
  void setCurrentServerUserID(std::int64_t value) const;
  std::optional<std::string> currentUserToken() const;
  void setCurrentUserToken(const std::optional<std::string>& value) const;
  std::optional<std::string> signAuthID() const;
  void setSignAuthID(const std::optional<std::string>& value) const;
  std::optional<std::string> currentAuthVID() const;
  void setCurrentAuthVID(const std::optional<std::string>& value) const;

  std::optional<std::string> currentThemeID() const { return currentThemeID_.wrappedValue(); }
  void setCurrentThemeID(const std::optional<std::string>& value) const {
    currentThemeID_.setWrappedValue(value);
  }
  bool isSSLPinningEnabled() const { return isSSLPinningEnabled_.wrappedValue(); }
  void setIsSSLPinningEnabled(bool value) const { isSSLPinningEnabled_.setWrappedValue(value); }
  bool shouldPushDailyReminder() const { return shouldPushDailyReminder_.wrappedValue(); }
  void setShouldPushDailyReminder(bool value) const {
    shouldPushDailyReminder_.setWrappedValue(value);
  }
  std::optional<platform::Date> signAuthIDExpireTime() const {
    return signAuthIDExpireTime_.wrappedValue();
  }
  void setSignAuthIDExpireTime(const std::optional<platform::Date>& value) const {
    signAuthIDExpireTime_.setWrappedValue(value);
  }
  std::optional<std::string> lastSyncedVersion() const { return lastSyncedVersion_.wrappedValue(); }
  void setLastSyncedVersion(const std::optional<std::string>& value) const {
    lastSyncedVersion_.setWrappedValue(value);
  }

 private:
  NVUserDefaultManager();

  NVUserDefault<std::optional<std::string>> currentThemeID_;
  NVUserDefault<bool> isSSLPinningEnabled_;
  NVUserDefault<bool> shouldPushDailyReminder_;
  NVUserDefault<std::optional<platform::Date>> signAuthIDExpireTime_;
  NVUserDefault<std::optional<std::string>> lastSyncedVersion_;
};

}  // namespace norvik
