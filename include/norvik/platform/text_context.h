#pragma once
// The context a text is made in: the interface language, the locale for dates and numbers, the
// main bundle whose string tables answer, the time zone and the calendar.
//
// A TextContext is an immutable value: copies share one resolved state (the language's tables,
// its plural rules, its weekday names), and any number of threads may use one context, or each its
// own, at the same time without locks. Every function that writes text has an overload taking a
// context; the forms without one use current(), the process-wide choice of the application. A
// text is made from one context from start to end, so a language switch in another thread can
// never mix two languages in one text.
//
//   const auto german = norvik::platform::TextContext::withLanguage("de");
//   norvik::Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(german, rule, ...);

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "norvik/platform/bundle.h"
#include "norvik/platform/calendar.h"
#include "norvik/platform/date.h"
#include "norvik/platform/locale.h"
#include "norvik/platform/time_zone.h"

namespace norvik::detail {
struct TextContextData;
}

namespace norvik::platform {

class TextContext {
 public:
  // What a context is made of; every field left empty takes the process-wide value.
  struct Settings {
    // The interface language: a folder code of the main bundle ("de", "zh-Hans", "pt-BR"), as
    // NVUserLanguage lists them. Empty: the system's languages choose, as for a user who chose
    // none. A code without a folder in the main bundle falls back to the system's choice too.
    std::optional<std::string> language;
    // The system's preferred language tags, most preferred first. Empty: the environment's.
    std::optional<std::vector<std::string>> systemLanguages;
    // The locale of dates and numbers ("de_DE"). Empty: the language with the system's region
    // (the environment's locale when no language is chosen).
    std::optional<std::string> localeIdentifier;
    // The main bundle's directory. Empty: the process's main bundle (Bundle::main()).
    std::optional<std::string> mainBundlePath;
    // An Olson time-zone identifier. Empty, or unknown: the environment's time zone.
    std::optional<std::string> timeZoneIdentifier;
    // The calendar relative dates are read in. Empty: the process's current calendar's kind.
    std::optional<CalendarIdentifier> calendar;
  };

  // A context of `settings`. Building one reads the bundle's tables and ICU's data for the
  // language once (some microseconds; later contexts of the same language reuse what was read):
  // make one per language or per request and share it. Never throws; a main bundle path that
  // does not exist gives a bundle without tables, whose texts are the English keys.
  explicit TextContext(const Settings& settings);

  // The context of the process's main bundle and environment with `language` as the interface
  // language (empty: the system's choice).
  static TextContext withLanguage(std::string_view language);

  // A snapshot of the process-wide choice: the language the user chose in the application (or
  // the system's), the environment's time zone and the shared locale and calendar. Taken again
  // only when the choice or the environment changed; cheap to call.
  static TextContext current();

  // The language the user chose, as given; std::nullopt when the system's languages choose.
  const std::optional<std::string>& chosenLanguage() const;
  // The folder code the lookups answer from: the chosen language's folder when the main bundle
  // has it, else the bundle's choice for the system's languages, else "en".
  const std::string& language() const;
  // The system's preferred language tags the context was made with.
  const std::vector<std::string>& systemLanguages() const;
  const Locale& locale() const;
  const TimeZone& timeZone() const;
  // A calendar in the context's time zone and locale.
  const Calendar& calendar() const;
  const std::shared_ptr<Bundle>& mainBundle() const;
  // Whether the lookup language is written right to left.
  bool isRightToLeft() const;

  // The translation of `key` in `table` ("Localizable" when empty): the lookup language's table,
  // else English, else `value` when it is not empty, else the key.
  std::string localizedString(std::string_view key, std::string_view value = {},
                              std::string_view table = {}) const;
  // The same without a copy: a view into the table, valid for the life of the process, or `key`
  // itself when no table holds it.
  std::string_view lookUp(std::string_view key, std::string_view table = {}) const;

  // The CLDR plural category of `count` in the lookup language ("one", "few", ... "other").
  std::string_view pluralCategory(std::int64_t count) const;
  // The variant "<key>##<category of count>" in the lookup language's own table; std::nullopt
  // when that table has none (a variant is never taken from another language).
  std::optional<std::string_view> pluralVariant(std::string_view key, std::int64_t count,
                                                std::string_view table = {}) const;

  // Stand-alone weekday names of the locale, Sunday first: "Mon" and "Monday" (7 each).
  const std::vector<std::string>& shortWeekdaySymbols() const;
  const std::vector<std::string>& weekdaySymbols() const;
  // The month and day of `date` in the context's locale, calendar and time zone ("Mar 5",
  // "5. März"), and the short month name alone ("Mar"). Empty for a date outside ICU's range.
  std::string monthDayText(Date date) const;
  std::string shortMonthText(Date date) const;

  // Whether two contexts share one state (copies of each other).
  bool operator==(const TextContext& other) const { return data_ == other.data_; }

 private:
  explicit TextContext(std::shared_ptr<const detail::TextContextData> data);
  std::shared_ptr<const detail::TextContextData> data_;
};

}  // namespace norvik::platform
