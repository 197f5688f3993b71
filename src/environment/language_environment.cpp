#include "norvik/environment/language_environment.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <exception>
#include <initializer_list>
#include <string_view>

#include "norvik/environment/user_language.h"
#include "norvik/platform/environment.h"
#include "norvik/platform/locale.h"

namespace norvik::detail {
namespace {

std::optional<std::string> systemLanguage() {
  const auto environment = platform::currentEnvironment();
  if (environment->preferredLanguages.empty()) return std::nullopt;
  return environment->preferredLanguages.front();
}

bool systemLanguageStartsWith(std::initializer_list<std::string_view> prefixes) {
  const auto language = systemLanguage();
  if (!language) return false;
  return std::any_of(prefixes.begin(), prefixes.end(),
                     [&](std::string_view prefix) { return language->starts_with(prefix); });
}

// True for the listed types, false for any other chosen language, the system answer otherwise.
bool appLanguageIs(std::initializer_list<NVUserLanguageType> types, bool (*systemTest)()) {
  const NVUserLanguageType type = NVUserLanguage::userLanguageType();
  if (type == 0) return systemTest();
  return std::find(types.begin(), types.end(), type) != types.end();
}

std::optional<platform::CarrierInfo> carrier() {
  return platform::currentEnvironment()->carrier;
}

}  // namespace
}  // namespace norvik::detail

namespace norvik {

using detail::appLanguageIs;
using detail::systemLanguageStartsWith;

std::optional<std::string> NVLanguageEnvironment::preferredLanguage() {
  if (auto chosen = NVUserLanguage::userLanguageID()) return chosen;
  return detail::systemLanguage();
}

std::optional<std::string> NVLanguageEnvironment::preferredLanguage_Server() {
  try {
    const platform::Locale locale = platform::Locale::autoupdatingCurrent();
    const std::string country = locale.countryCode();
    if (const auto chosen = NVUserLanguage::userLanguageID()) {
      // The chosen language goes with the system's region, not with a region of its own.
      const std::string language = chosen->substr(0, 2);
      if (country.empty()) return language;
      return language + "_" + country;
    }
    const std::string language = locale.languageCode();
    if (language.empty()) return detail::systemLanguage();
    if (country.empty()) return language;
    return language + "_" + country;
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

bool NVLanguageEnvironment::isSystemSimplifiedChinese() {
  return systemLanguageStartsWith({"zh-Hans"});
}
bool NVLanguageEnvironment::isAppSimplifiedChinese() {
  return appLanguageIs({1}, &isSystemSimplifiedChinese);
}
bool NVLanguageEnvironment::isSystemTraditionalChinese() {
  return systemLanguageStartsWith({"zh-HK", "zh-Hant", "zh-TW"});
}
bool NVLanguageEnvironment::isAppTraditionalChinese() {
  return appLanguageIs({2}, &isSystemTraditionalChinese);
}
bool NVLanguageEnvironment::isSystemChinese() {
  return systemLanguageStartsWith({"zh-"});
}
bool NVLanguageEnvironment::isAppChinese() {
  return appLanguageIs({1, 2}, &isSystemChinese);
}
bool NVLanguageEnvironment::isSystemEnglish() {
  return systemLanguageStartsWith({"en-"});
}
bool NVLanguageEnvironment::isAppEnglish() {
  return appLanguageIs({3}, &isSystemEnglish);
}
bool NVLanguageEnvironment::isSystemRussian() {
  return systemLanguageStartsWith({"ru"});
}
bool NVLanguageEnvironment::isAppRussian() {
  return appLanguageIs({13}, &isSystemRussian);
}
bool NVLanguageEnvironment::isSystemJapanese() {
  return systemLanguageStartsWith({"ja"});
}
bool NVLanguageEnvironment::isAppJapanese() {
  return appLanguageIs({5}, &isSystemJapanese);
}
bool NVLanguageEnvironment::isSystemFrench() {
  return systemLanguageStartsWith({"fr"});
}
bool NVLanguageEnvironment::isAppFrench() {
  return appLanguageIs({15}, &isSystemFrench);
}
bool NVLanguageEnvironment::isSystemKorean() {
  return systemLanguageStartsWith({"ko"});
}
bool NVLanguageEnvironment::isAppKorean() {
  return appLanguageIs({4}, &isSystemKorean);
}
bool NVLanguageEnvironment::isSystemDutch() {
  return systemLanguageStartsWith({"nl"});
}
bool NVLanguageEnvironment::isAppDutch() {
  return appLanguageIs({12}, &isSystemDutch);
}
bool NVLanguageEnvironment::isSystemThai() {
  return systemLanguageStartsWith({"th"});
}
bool NVLanguageEnvironment::isAppThai() {
  return appLanguageIs({11}, &isSystemThai);
}
bool NVLanguageEnvironment::isSystemGerman() {
  return systemLanguageStartsWith({"de"});
}
bool NVLanguageEnvironment::isAppGerman() {
  return appLanguageIs({14}, &isSystemGerman);
}
bool NVLanguageEnvironment::isSystemPortuguese() {
  return systemLanguageStartsWith({"pt"});
}
bool NVLanguageEnvironment::isAppPortuguese() {
  return appLanguageIs({16}, &isSystemPortuguese);
}
bool NVLanguageEnvironment::isSystemArabic() {
  return systemLanguageStartsWith({"ar"});
}
bool NVLanguageEnvironment::isAppArabic() {
  return appLanguageIs({25}, &isSystemArabic);
}
bool NVLanguageEnvironment::isSystemGreek() {
  return systemLanguageStartsWith({"el"});
}
bool NVLanguageEnvironment::isAppGreek() {
  return appLanguageIs({29}, &isSystemGreek);
}
bool NVLanguageEnvironment::isSystemSlovak() {
  return systemLanguageStartsWith({"sk"});
}
bool NVLanguageEnvironment::isAppSlovak() {
  return appLanguageIs({22}, &isSystemSlovak);
}
bool NVLanguageEnvironment::isSystemHebrew() {
  return systemLanguageStartsWith({"iw", "he"});
}

std::optional<std::string> NVLanguageEnvironment::lastUserLanguage() {
  const platform::Value stored = NVAppGroupUserDefaults().objectForKey(kNVLastUserLanguageKey);
  if (const std::string* text = stored.string()) return *text;
  return std::nullopt;
}

void NVLanguageEnvironment::updateLastUserLanguage() {
  try {
    auto store = NVAppGroupUserDefaults();
    if (const auto language = preferredLanguage()) {
      store.setObject(platform::Value(*language), kNVLastUserLanguageKey);
    } else {
      store.removeObjectForKey(kNVLastUserLanguageKey);
    }
    store.synchronize();
  } catch (const std::exception&) {
  }
}

bool NVLocaleEnvironment::isChina() {
  return platform::Locale::autoupdatingCurrent().identifier().ends_with("CN");
}

bool NVLocaleEnvironment::isUSA() {
  return platform::Locale::autoupdatingCurrent().countryCode() == "US";
}

NVOperatorBrand NVOperatorEnvironment::operatorBrand() {
  const auto info = detail::carrier();
  if (!info || info->mobileCountryCode != "460") return 5;
  const std::string& network = info->mobileNetworkCode;
  const auto in = [&](std::initializer_list<std::string_view> codes) {
    return std::find(codes.begin(), codes.end(), network) != codes.end();
  };
  if (in({"00", "02", "07", "08"})) return 0;
  if (in({"01", "06", "09"})) return 1;
  if (in({"03", "05", "11"})) return 2;
  if (in({"20"})) return 3;
  return 4;
}

bool NVOperatorEnvironment::isChinese() {
  return operatorBrand() != 5;
}

bool NVOperatorEnvironment::isAmerican() {
  const auto info = detail::carrier();
  if (!info) return false;
  constexpr std::array<std::string_view, 7> kUnitedStates{"310", "311", "312", "313",
                                                          "314", "315", "316"};
  return std::any_of(kUnitedStates.begin(), kUnitedStates.end(), [&](std::string_view prefix) {
    return info->mobileCountryCode.starts_with(prefix);
  });
}

bool NVEnvironment::prefersChinese() {
  return NVLanguageEnvironment::isSystemSimplifiedChinese() ||
         NVLanguageEnvironment::isAppSimplifiedChinese() || NVLocaleEnvironment::isChina() ||
         NVOperatorEnvironment::isChinese();
}

bool NVEnvironment::prefersUSA() {
  if (NVLocaleEnvironment::isUSA() || NVOperatorEnvironment::isAmerican()) return true;
  const auto info = detail::carrier();
  if (!info || info->isoCountryCode.empty()) return false;
  std::string upper = info->isoCountryCode;
  std::transform(upper.begin(), upper.end(), upper.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return upper == "US";
}

}  // namespace norvik
