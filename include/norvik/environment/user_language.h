#pragma once
// The interface language the user chose in the application, and the main-bundle lookup that
// follows it.
//
// The choice is one of 37 languages, or to follow the system. It is kept as a language code under
// "appUserLanguage" in the application group's shared store, so that the application and its
// extensions see the same choice. Every localized lookup of the library (platform::localizedString,
// BundleEx::localizedStringForKey) answers from the chosen language's `<code>.lproj` folder of the
// main bundle, else from the system's choice, else from English.
//
// Before the first lookup of the process, once and from whichever thread gets there first, the
// stored code is applied: its folder is attached, the shared calendars and date formatter adopt
// localeForCurrentLanguage(), and the process starts listening for changes made by the other
// processes of the application.

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "norvik/platform/locale.h"
#include "norvik/platform/notification_center.h"
#include "norvik/platform/user_defaults.h"

namespace norvik::platform {
class MessageChannel;
}

namespace norvik {

// 0 follows the system; 1 to 37 name one language of NVUserLanguage::supportedLanguages().
using NVUserLanguageType = std::uint32_t;

// Posted on the default centre (no object, no user information) whenever the language is applied
// anew; also the identifier of the message that tells the other processes.
inline constexpr std::string_view NVUserLanguageDidChangeNotification =
    "NVUserLanguageDidChangeNotification";

// Key of the chosen language code in the application group's store.
inline constexpr std::string_view kNVAppUserLanguageKey = "appUserLanguage";

// A new handle on the store of the application group (norvik::kNVAppGroupIdentifier), made on
// every call. When the group's container is unavailable the handle reads and writes nothing.
platform::UserDefaults NVAppGroupUserDefaults();

struct NVUserLanguageEntry {
  NVUserLanguageType type;
  std::string_view code;        // the `.lproj` folder name ("zh-Hans", "pt-BR")
  std::string_view nativeName;  // shown as it is, whatever the interface language
};

struct NVUserLanguage {
  // The 37 languages in type order (type 1 first).
  static std::span<const NVUserLanguageEntry> supportedLanguages();

  // The type of the stored code, read afresh: the first of the 37 codes that equals it exactly
  // (case-sensitive); 0 when nothing is stored or the code is not one of them ("en-GB", "EN").
  // A type chosen with setProcessUserLanguageType() wins over the stored one.
  static NVUserLanguageType userLanguageType();
  // The code of type 1-37; std::nullopt for 0 and any other number.
  static std::optional<std::string> userLanguageIDForType(std::int64_t type);
  // The code of the current type; std::nullopt when following the system.
  static std::optional<std::string> userLanguageID();
  // For a settings screen: the native name of the chosen language. When following the system, the
  // native name of the first preferred system language if there are at least two and the first
  // begins with one of the 37 codes; otherwise the localized "System Default".
  static std::string userLanguageName();

  // Chooses a language for this process alone, without storing it or telling the other processes
  // (a command-line run in another language): from now on userLanguageType() answers `type` (0:
  // follow the system) whatever is stored, and the choice is applied at once as by
  // updateUserLanguageAndNotify(). std::nullopt goes back to the stored choice. Returns false, and
  // changes nothing, for a number outside 0-37.
  static bool setProcessUserLanguageType(std::optional<std::int64_t> type);

  // Chooses a language (0: follow the system). Returns false, and does nothing, when `type` is the
  // stored type. Otherwise stores its code (type 0 or an unknown number removes it), writes the
  // store through, applies and announces the choice here and tells the other processes; returns
  // true.
  static bool setUserLanguageType(std::int64_t type);

  // Re-reads the stored choice, adapts the shared calendars and date formatter, attaches the
  // chosen language's folder (detaches when following the system or when the folder is missing)
  // and posts NVUserLanguageDidChangeNotification on the calling thread.
  static void updateUserLanguageAndNotify();

  // The locale for dates and numbers: the autoupdating current locale when following the system,
  // else the current locale with its language replaced by the chosen code.
  static platform::Locale localeForCurrentLanguage();
};

// The main bundle's lookup that every localized text of the library goes through.
struct BundleEx {
  // The translation of `key` in `table` ("Localizable" when empty): from the attached language
  // folder if there is one, else from the main bundle's own choice for the system languages. When
  // that gives the key itself (a missing key without `value`), the main bundle's English table
  // answers instead, which may again be the key. A missing key with `value` gives `value`.
  static std::string localizedStringForKey(std::string_view key, std::string_view value = {},
                                           std::string_view table = {});

  // Applies the stored choice once per process (see the header comment). Lookups call it
  // themselves; calling it again does nothing.
  static void installOnMainBundle();

  // The code of the attached language folder; std::nullopt when none is attached. A stored code
  // attaches only when it is a plain folder name (letters, digits, '-', '_') of an existing folder.
  static std::optional<std::string> attachedLanguageCode();
};

// Tells the application's other processes that the language changed, and listens for them. Its
// channel is the application group's message channel in kNVWormholeMessageDirectory; there is none
// when the group is unavailable, and then both operations do nothing.
class NVUserLanguageChangeObserver {
 public:
  static NVUserLanguageChangeObserver& sharedObserver();

  // Listens for NVUserLanguageDidChangeNotification messages; each one whose sender is not this
  // process's bundle identifier makes the process run updateUserLanguageAndNotify() on its default
  // main loop.
  void startObserving();
  // Sends this process's bundle identifier (the main bundle's CFBundleIdentifier) as a change
  // message.
  void postChange();

  // The channel, or null.
  const std::shared_ptr<platform::MessageChannel>& wormhole() const { return wormhole_; }

  NVUserLanguageChangeObserver(const NVUserLanguageChangeObserver&) = delete;
  NVUserLanguageChangeObserver& operator=(const NVUserLanguageChangeObserver&) = delete;

 private:
  NVUserLanguageChangeObserver();
  std::shared_ptr<platform::MessageChannel> wormhole_;  // set once in the constructor
};

// For objects that show text: derive from it and override nv_userLanguage_refreshUI to re-read
// strings. Registration is removed when the object is destroyed. Meant for the main thread, like
// the notifications it receives.
class NVUserLanguageObserving {
 public:
  NVUserLanguageObserving() = default;
  virtual ~NVUserLanguageObserving();
  NVUserLanguageObserving(const NVUserLanguageObserving&) = delete;
  NVUserLanguageObserving& operator=(const NVUserLanguageObserving&) = delete;

  // Stops any earlier registration (so repeated calls never register twice), then registers for
  // NVUserLanguageDidChangeNotification from any sender on the default centre; with `refreshNow`
  // calls nv_userLanguage_refreshUI(true) at once.
  void nv_userLanguage_startObserving(bool refreshNow = true);
  void nv_userLanguage_stopObserving();
  // The handler: calls nv_userLanguage_refreshUI(false).
  virtual void userLanguageDidChange(const platform::Notification& notification);
  // Does nothing; an object that shows text overrides it.
  virtual void nv_userLanguage_refreshUI(bool isInitialRefresh);
};

}  // namespace norvik
