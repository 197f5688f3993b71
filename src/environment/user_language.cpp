#include "norvik/environment/user_language.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <exception>
#include <mutex>

#include "norvik/environment/message_identifiers.h"
#include "norvik/platform/bundle.h"
#include "norvik/platform/calendar.h"
#include "norvik/platform/date_formatter.h"
#include "norvik/platform/environment.h"
#include "norvik/platform/message_channel.h"
#include "platform/localized_lookup.h"

namespace norvik::detail {
namespace {

using platform::Bundle;

// The numbering is stored and exchanged: never reorder.
constexpr std::array<NVUserLanguageEntry, 37> kLanguages{{
    {1, "zh-Hans", "简体中文"}, {2, "zh-Hant", "繁體中文"}, {3, "en", "English"},
    {4, "ko", "한국어"},        {5, "ja", "日本語"},        {6, "pl", "Polski"},
    {7, "hu", "Magyar"},        {8, "cs", "Čeština"},       {9, "bg", "българин"},
    {10, "es", "Español"},      {11, "th", "ไทย"},          {12, "nl", "Nederlands"},
    {13, "ru", "Pусский"},  // a Latin capital P, kept as it always was shown
    {14, "de", "Deutsch"},      {15, "fr", "Français"},     {16, "pt-BR", "Português (Brasil)"},
    {17, "vi", "Tiếng Việt"},   {18, "it", "Italiano"},     {19, "sv", "Svenska"},
    {20, "lv", "latviešu"},     {21, "lt", "Lietuvių"},     {22, "sk", "Slovenčina"},
    {23, "uk", "Украінська"},   {24, "fa", " فارسی"},  // with its leading blank
    {25, "ar", "العربية"},      {26, "ca", "Català"},       {27, "cy", "Cymraeg"},
    {28, "da", "Dansk"},        {29, "el", "Ελληνικά"},     {30, "hr", "Hrvatski"},
    {31, "id", "Indonesia"},    {32, "ms", "Melayu"},       {33, "ro", "Română"},
    {34, "sl", "Slovenščina"},  {35, "ta", "தமிழ்"},         {36, "tr", "Türkçe"},
    {37, "ur", "اردو"},
}};

// The order in which a system language is matched for the settings screen's name: the type order,
// except that Ukrainian is tried before Slovak.
constexpr std::array<NVUserLanguageType, 37> kNameMatchOrder{
    1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15, 16, 17, 18, 19,
    20, 21, 23, 22, 24, 25, 26, 27, 28, 29, 30, 31, 32, 33, 34, 35, 36, 37};

// The attached language folder: the code, and its bundle resolved against the main bundle in force
// (re-resolved when the environment names another main bundle). Guarded by `mutex`; `generation`
// is bumped (under the mutex) whenever the code changes, so that a thread's remembered answer is
// dropped at once.
struct AttachedLanguage {
  std::mutex mutex;
  std::optional<std::string> code;
  std::shared_ptr<Bundle> resolvedFor;
  std::shared_ptr<Bundle> bundle;
  std::atomic<std::uint64_t> generation{1};
};

// The language chosen for this process alone (setProcessUserLanguageType): -1 when none, else a
// type 0-37 that wins over the stored choice. Atomic, as any thread may read the type.
std::atomic<int> processLanguageType{-1};

// The type of the stored code; see NVUserLanguage::userLanguageType().
NVUserLanguageType storedLanguageType() {
  try {
    const platform::Value stored = NVAppGroupUserDefaults().objectForKey(kNVAppUserLanguageKey);
    const std::string* code = stored.string();
    if (!code) return 0;
    for (const auto& entry : kLanguages) {
      if (entry.code == *code) return entry.type;
    }
  } catch (const std::exception&) {
  }
  return 0;
}

AttachedLanguage& attached() {
  static AttachedLanguage state;
  return state;
}

void attachLanguage(std::optional<std::string> code) {
  auto& state = attached();
  std::lock_guard lock(state.mutex);
  state.code = std::move(code);
  state.resolvedFor.reset();
  state.bundle.reset();
  state.generation.fetch_add(1, std::memory_order_release);
  lookupLanguageChanged();
}

std::shared_ptr<Bundle> attachedBundle(std::shared_ptr<Bundle> main) {
  auto& state = attached();
  // Each thread remembers its last answer for the main bundle it asked about (kept alive here, so
  // its address cannot be another bundle's) until the attached code changes.
  struct Remembered {
    std::uint64_t generation = 0;
    std::shared_ptr<Bundle> main;
    std::shared_ptr<Bundle> bundle;
  };
  thread_local Remembered remembered;
  if (remembered.generation == state.generation.load(std::memory_order_acquire) &&
      remembered.main == main) {
    return remembered.bundle;
  }
  std::lock_guard lock(state.mutex);
  if (!state.code) {
    remembered = Remembered{state.generation.load(std::memory_order_relaxed), main, nullptr};
    return nullptr;
  }
  if (state.resolvedFor != main) {
    // bundleForLocalization refuses anything but a plain folder name, so a stored "../x" or
    // "/etc" selects nothing.
    state.bundle = main->bundleForLocalization(*state.code);
    state.resolvedFor = main;
  }
  remembered =
      Remembered{state.generation.load(std::memory_order_relaxed), std::move(main), state.bundle};
  return state.bundle;
}

void adaptSharedFormatters() {
  const platform::Locale locale = NVUserLanguage::localeForCurrentLanguage();
  platform::Calendar::adaptWithLocale(locale);
  platform::DateFormatter::adaptWithLocale(locale);
}

void startUp() {
  try {
    // The code as stored, without the table check: a code outside the table still selects its
    // folder when the application ships one.
    const int chosenHere = processLanguageType.load();
    if (chosenHere >= 0) {
      attachLanguage(NVUserLanguage::userLanguageIDForType(chosenHere));
    } else {
      const platform::Value stored = NVAppGroupUserDefaults().objectForKey(kNVAppUserLanguageKey);
      if (const std::string* code = stored.string()) attachLanguage(*code);
    }
    NVUserLanguageChangeObserver::sharedObserver().startObserving();
    adaptSharedFormatters();
  } catch (const std::exception&) {
    // Out of memory: lookups go on with whatever was attached.
  }
}

// The language the user chose, for the platform's text contexts: the attached code (which may
// name no folder of the main bundle; the context then follows the system's languages).
std::optional<std::string> chosenLanguageOfContexts() {
  BundleEx::installOnMainBundle();
  auto& state = attached();
  std::lock_guard lock(state.mutex);
  return state.code;
}

// Tells the platform's text contexts the chosen language as soon as the library is loaded.
struct ChosenLanguageInstaller {
  ChosenLanguageInstaller() { setChosenLanguageSource(&chosenLanguageOfContexts); }
} chosenLanguageInstaller;

std::optional<std::string> ownBundleIdentifier() {
  return Bundle::main()->bundleIdentifier();
}

}  // namespace
}  // namespace norvik::detail

namespace norvik {

platform::UserDefaults NVAppGroupUserDefaults() {
  return platform::UserDefaults(kNVAppGroupIdentifier);
}

std::span<const NVUserLanguageEntry> NVUserLanguage::supportedLanguages() {
  return detail::kLanguages;
}

NVUserLanguageType NVUserLanguage::userLanguageType() {
  const int chosenHere = detail::processLanguageType.load();
  if (chosenHere >= 0) return static_cast<NVUserLanguageType>(chosenHere);
  return detail::storedLanguageType();
}

bool NVUserLanguage::setProcessUserLanguageType(std::optional<std::int64_t> type) {
  if (type && (*type < 0 || *type > static_cast<std::int64_t>(detail::kLanguages.size()))) {
    return false;
  }
  detail::processLanguageType.store(type ? static_cast<int>(*type) : -1);
  updateUserLanguageAndNotify();
  return true;
}

std::optional<std::string> NVUserLanguage::userLanguageIDForType(std::int64_t type) {
  if (type < 1 || type > static_cast<std::int64_t>(detail::kLanguages.size())) return std::nullopt;
  return std::string(detail::kLanguages[static_cast<std::size_t>(type - 1)].code);
}

std::optional<std::string> NVUserLanguage::userLanguageID() {
  return userLanguageIDForType(userLanguageType());
}

std::string NVUserLanguage::userLanguageName() {
  try {
    std::string fallback = BundleEx::localizedStringForKey("System Default", "", "");
    const NVUserLanguageType type = userLanguageType();
    if (type != 0) return std::string(detail::kLanguages[type - 1].nativeName);
    const auto environment = platform::currentEnvironment();
    const auto& preferred = environment->preferredLanguages;
    // A single preferred language shows as "System Default"; only a user with several sees which
    // one the system follows.
    if (preferred.size() < 2) return fallback;
    for (NVUserLanguageType candidate : detail::kNameMatchOrder) {
      const auto& entry = detail::kLanguages[candidate - 1];
      if (preferred.front().starts_with(entry.code)) return std::string(entry.nativeName);
    }
    return fallback;
  } catch (const std::exception&) {
    return "System Default";
  }
}

bool NVUserLanguage::setUserLanguageType(std::int64_t type) {
  try {
    // Compared with the stored choice: a language chosen for this process alone is not stored.
    if (type == static_cast<std::int64_t>(detail::storedLanguageType())) return false;
    const auto code = userLanguageIDForType(type);
    auto store = NVAppGroupUserDefaults();
    if (code) {
      store.setObject(platform::Value(*code), kNVAppUserLanguageKey);
    } else {
      store.removeObjectForKey(kNVAppUserLanguageKey);
    }
    store.synchronize();
    updateUserLanguageAndNotify();
    NVUserLanguageChangeObserver::sharedObserver().postChange();
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

void NVUserLanguage::updateUserLanguageAndNotify() {
  try {
    BundleEx::installOnMainBundle();
    const auto code = userLanguageID();
    detail::adaptSharedFormatters();
    detail::attachLanguage(code);
    platform::NotificationCenter::defaultCenter().post(NVUserLanguageDidChangeNotification);
  } catch (const std::exception&) {
  }
}

platform::Locale NVUserLanguage::localeForCurrentLanguage() {
  const auto code = userLanguageID();
  if (!code) return platform::Locale::autoupdatingCurrent();
  return platform::Locale::currentLocaleWithLanguageCode(*code);
}

void BundleEx::installOnMainBundle() {
  static std::once_flag once;
  std::call_once(once, detail::startUp);
}

std::string BundleEx::localizedStringForKey(std::string_view key, std::string_view value,
                                            std::string_view table) {
  try {
    installOnMainBundle();
    const auto main = platform::Bundle::main();
    const auto language = detail::attachedBundle(main);
    std::string result = language ? language->localizedString(key, value, table)
                                  : main->localizedString(key, value, table);
    if (result != key) return result;
    return main->localizedString(key, value, table, "en");
  } catch (const std::exception&) {
    return std::string(value.empty() ? key : value);
  }
}

std::optional<std::string> BundleEx::attachedLanguageCode() {
  try {
    installOnMainBundle();
    if (!detail::attachedBundle(platform::Bundle::main())) return std::nullopt;
    auto& state = detail::attached();
    std::lock_guard lock(state.mutex);
    return state.code;
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

NVUserLanguageChangeObserver& NVUserLanguageChangeObserver::sharedObserver() {
  static NVUserLanguageChangeObserver* observer = new NVUserLanguageChangeObserver();
  return *observer;
}

NVUserLanguageChangeObserver::NVUserLanguageChangeObserver() {
  if (platform::isAppGroupEnabled(kNVAppGroupIdentifier)) {
    wormhole_ = platform::MessageChannel::open(kNVAppGroupIdentifier, kNVWormholeMessageDirectory);
  }
}

void NVUserLanguageChangeObserver::startObserving() {
  if (!wormhole_) return;
  wormhole_->listenForMessageWithIdentifier(
      NVUserLanguageDidChangeNotification, [](const platform::Value& sender) {
        const auto own = detail::ownBundleIdentifier();
        if (sender == (own ? platform::Value(*own) : platform::Value())) return;
        NVUserLanguage::updateUserLanguageAndNotify();
      });
}

void NVUserLanguageChangeObserver::postChange() {
  if (!wormhole_) return;
  const auto own = detail::ownBundleIdentifier();
  wormhole_->passMessage(NVUserLanguageDidChangeNotification,
                         own ? platform::Value(*own) : platform::Value());
}

NVUserLanguageObserving::~NVUserLanguageObserving() {
  nv_userLanguage_stopObserving();
}

void NVUserLanguageObserving::nv_userLanguage_startObserving(bool refreshNow) {
  nv_userLanguage_stopObserving();
  platform::NotificationCenter::defaultCenter().addObserver(
      this, NVUserLanguageDidChangeNotification, nullptr,
      [this](const platform::Notification& notification) { userLanguageDidChange(notification); });
  if (refreshNow) nv_userLanguage_refreshUI(true);
}

void NVUserLanguageObserving::nv_userLanguage_stopObserving() {
  platform::NotificationCenter::defaultCenter().removeObserver(this,
                                                               NVUserLanguageDidChangeNotification);
}

void NVUserLanguageObserving::userLanguageDidChange(const platform::Notification&) {
  nv_userLanguage_refreshUI(false);
}

void NVUserLanguageObserving::nv_userLanguage_refreshUI(bool) {}

}  // namespace norvik
