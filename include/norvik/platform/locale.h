#pragma once
// Locales: a language with optional script, region, variant and keywords, named by an ICU locale
// identifier ("zh_Hans_CN", "en_US_POSIX", "de_DE@calendar=gregorian").

#include <string>
#include <string_view>

namespace norvik::platform {

class Locale {
 public:
  // The fixed locale "en_US_POSIX", independent of the user's settings.
  Locale();
  // A locale from an ICU identifier ("zh_CN", "sr_Latn_RS", "en_US.UTF-8") or a language tag
  // ("zh-Hans-CN", "en-US-u-ca-chinese"). The empty string is the root locale; malformed input
  // (characters outside letters, digits and "_-@=;.,+", or names ICU cannot parse) gives
  // "en_US_POSIX".
  explicit Locale(std::string_view identifier);

  // The environment's locale at the moment of the call (a snapshot).
  static Locale current();
  // A locale that always answers with the environment's locale in force at each call.
  static Locale autoupdatingCurrent();
  // The current locale with its language and script replaced by those of `languageCode` ("de",
  // "zh-Hans", "zh_Hant"), keeping the region, variant and keywords: en_US + "de" gives de_US,
  // en_US + "zh-Hans" gives zh_Hans_US. An empty or malformed code gives the current locale.
  static Locale currentLocaleWithLanguageCode(std::string_view languageCode);

  // True for the locale of autoupdatingCurrent().
  bool isAutoupdating() const { return autoupdating_; }

  // The canonical ICU identifier ("zh_Hans_CN"); "" for the root locale.
  std::string identifier() const;
  // ISO 639 language ("zh"), ISO 15924 script ("Hans") and region ("CN"); empty when absent.
  std::string languageCode() const;
  std::string scriptCode() const;
  std::string countryCode() const;
  std::string variantCode() const;
  // The value of a keyword ("calendar" of "th_TH@calendar=buddhist"); empty when absent.
  std::string keywordValue(std::string_view keyword) const;
  // The BCP 47 language tag ("zh-Hans-CN", "en-US-u-va-posix"); "und" for the root locale.
  std::string languageTag() const;

  // Likely subtags: "zh_CN" maximizes to "zh_Hans_CN", "zh_Hans_CN" minimizes to "zh". A locale
  // without likely subtags data is returned unchanged. The result does not follow the environment.
  Locale maximized() const;
  Locale minimized() const;

  // The locale's name for display in `displayLocale` ("German (Germany)" for de_DE in en_US).
  std::string displayName(const Locale& displayLocale) const;

  // Equal when both follow the environment, or neither does and their identifiers are equal.
  bool operator==(const Locale& other) const;

 private:
  struct AutoupdatingTag {};
  explicit Locale(AutoupdatingTag) : autoupdating_(true) {}

  std::string identifier_ = "en_US_POSIX";  // canonical; unused when autoupdating_
  bool autoupdating_ = false;
};

// The canonical ICU identifier of an identifier or language tag, as Locale(identifier) would hold
// it ("zh-Hans-CN" gives "zh_Hans_CN"); "en_US_POSIX" for malformed input.
std::string canonicalLocaleIdentifier(std::string_view identifier);

}  // namespace norvik::platform
