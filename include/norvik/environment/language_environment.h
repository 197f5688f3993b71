#pragma once
// Stateless predicates on the interface language, the system's languages and locale, and the
// mobile carrier. Every call reads its sources afresh: the chosen language (user_language.h), the
// environment's preferred languages and locale, and the environment's carrier.
//
// "System language" means the first preferred language of the environment ("en-US",
// "zh-Hans-CN"); with no preferred language every system predicate is false. A system predicate is
// a case-sensitive prefix test. An app predicate is true when the chosen type is the language's,
// false for any other chosen language, and equals the system predicate when following the system.

#include <cstdint>
#include <optional>
#include <string>

namespace norvik {

// Carrier group of the SIM: 0 China Mobile, 1 China Unicom, 2 China Telecom, 3 China Tietong,
// 4 another carrier in China, 5 outside China or no carrier.
using NVOperatorBrand = std::uint32_t;

// Key of the last stored preferred language in the application group's store.
inline constexpr std::string_view kNVLastUserLanguageKey = "lastUserLanguage";

struct NVLanguageEnvironment {
  // The chosen language code, else the system language; std::nullopt when neither exists.
  static std::optional<std::string> preferredLanguage();
  // The language tag sent to the server. With a chosen code: its first two characters, followed
  // by "_" and the system locale's country when there is one and ("en" + GB gives "en_GB",
  // "zh-Hans" + CN gives "zh_CN"). Following the system: the system locale's language code, with
  // "_" and its country when there is one; without a language code, the system language as it
  // stands (std::nullopt when there is none).
  static std::optional<std::string> preferredLanguage_Server();

  static bool isSystemSimplifiedChinese();   // "zh-Hans"
  static bool isAppSimplifiedChinese();      // type 1
  static bool isSystemTraditionalChinese();  // "zh-HK", "zh-Hant" or "zh-TW"
  static bool isAppTraditionalChinese();     // type 2
  static bool isSystemChinese();             // "zh-" (a bare "zh" is not Chinese here)
  static bool isAppChinese();                // type 1 or 2
  static bool isSystemEnglish();             // "en-" (a bare "en" is not English here)
  static bool isAppEnglish();                // type 3
  static bool isSystemRussian();             // "ru"
  static bool isAppRussian();                // type 13
  static bool isSystemJapanese();            // "ja"
  static bool isAppJapanese();               // type 5
  static bool isSystemFrench();              // "fr"
  static bool isAppFrench();                 // type 15
  static bool isSystemKorean();              // "ko"
  static bool isAppKorean();                 // type 4
  static bool isSystemDutch();               // "nl"
  static bool isAppDutch();                  // type 12
  static bool isSystemThai();                // "th"
  static bool isAppThai();                   // type 11
  static bool isSystemGerman();              // "de"
  static bool isAppGerman();                 // type 14
  static bool isSystemPortuguese();          // "pt" (any Portuguese)
  static bool isAppPortuguese();             // type 16 ("pt-BR")
  static bool isSystemArabic();              // "ar"
  static bool isAppArabic();                 // type 25
  static bool isSystemGreek();               // "el"
  static bool isAppGreek();                  // type 29
  static bool isSystemSlovak();              // "sk"
  static bool isAppSlovak();                 // type 22
  static bool isSystemHebrew();              // "iw" or "he"; there is no app counterpart

  // The string stored under "lastUserLanguage"; std::nullopt when absent or not a string.
  static std::optional<std::string> lastUserLanguage();
  // Stores preferredLanguage() under "lastUserLanguage" (removes it when there is none) and writes
  // the store through.
  static void updateLastUserLanguage();
};

struct NVLocaleEnvironment {
  // The autoupdating current locale's identifier ends with "CN".
  static bool isChina();
  // The autoupdating current locale's country code is "US".
  static bool isUSA();
};

struct NVOperatorEnvironment {
  // 5 unless the carrier's mobile country code is exactly "460"; then by mobile network code:
  // "00" "02" "07" "08" give 0, "01" "06" "09" give 1, "03" "05" "11" give 2, "20" gives 3, any
  // other or none gives 4.
  static NVOperatorBrand operatorBrand();
  // operatorBrand() is not 5.
  static bool isChinese();
  // The mobile country code begins with one of "310" to "316".
  static bool isAmerican();
};

struct NVEnvironment {
  // isSystemSimplifiedChinese, isAppSimplifiedChinese, NVLocaleEnvironment::isChina or
  // NVOperatorEnvironment::isChinese.
  static bool prefersChinese();
  // NVLocaleEnvironment::isUSA, NVOperatorEnvironment::isAmerican, or the carrier's ISO country
  // code in upper case is "US".
  static bool prefersUSA();
};

}  // namespace norvik
