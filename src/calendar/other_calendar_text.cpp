// Texts of a date in the alternative calendars: year, month and day as a reader of the text
// locale's language writes them.
//
// Every name comes from ICU's data for the locale and the matching ICU calendar, read once per
// (calendar, locale) into an immutable table; formatting a date afterwards is a few table reads
// and string copies, with no ICU object involved. The section "Texts of the alternative
// calendars" of docs/CALENDARS.md lists the resulting texts per calendar and locale and the
// evidence behind each choice.
//
// Choices made here:
// - Month names are ICU's stand-alone wide names (the form that reads correctly without a
//   following year: Persian "ذیقعده" rather than the construct form "ذیقعدهٔ", Korean "닛산월").
// - Day texts follow the day field of ICU's own date formats for the locale and calendar: the
//   Chinese day names (初一 .. 三十) for the lunisolar calendars in Chinese, Hebrew numerals
//   (ט״ו) for the Hebrew calendar in Hebrew, otherwise the number in the locale's default
//   digits with the affixes of ICU's pattern for a lone day ("15日", "15일", "١٥", "۱۵").
// - Year texts: the sexagenary year for the lunisolar calendars in Chinese and Korean ("甲辰年",
//   "갑진년"), the Hebrew year without its thousands in Hebrew numerals ("תשפ״ד") for the Hebrew
//   calendar in Hebrew, otherwise the year number in the locale's digits with the affixes of
//   ICU's Gregorian year pattern ("5784年").
// - Lunisolar leap months take ICU's leap-month marking of the language ("闰四月", "閏四月",
//   "윤4월"). Where ICU has only its language-neutral fallback (English "Fourth Monthbis", or no
//   month names at all in Arabic, Hebrew and Persian), the marking and names below are used.
#include <unicode/dtfmtsym.h>
#include <unicode/dtptngen.h>
#include <unicode/numfmt.h>
#include <unicode/numsys.h>
#include <unicode/smpdtfmt.h>

#include <array>
#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "calendar/alternative_calendars.h"
#include "norvik/calendar/lunar_display.h"
#include "norvik/calendar/lunisolar.h"
#include "norvik/calendar/other_calendar.h"
#include "platform/icu_support.h"

namespace norvik {
namespace {

enum class Family { lunisolar, hebrew, plain };

struct CalendarKind {
  std::string_view type;    // NVCalendarDateType raw value
  const char* icuCalendar;  // ICU calendar keyword whose names the texts use
  Family family;
  int maxDay;  // the longest month of the calendar
};

// The Vietnamese calendar has no ICU counterpart; its months are named like the Chinese ones.
// The Kuwaiti tabular calendar uses the month names of ICU's civil Islamic calendar (every
// Islamic variant of ICU shares one set of names).
constexpr std::array<CalendarKind, 9> kKinds = {{
    {"lunar", "chinese", Family::lunisolar, 30},
    {"korean-lunar", "dangi", Family::lunisolar, 30},
    {"vietnam", "chinese", Family::lunisolar, 30},
    {"hebcal", "hebrew", Family::hebrew, 30},
    {"hijri", "islamic-civil", Family::plain, 30},
    {"hijri-kuwaiti", "islamic-civil", Family::plain, 30},
    {"hijri-saudi", "islamic-umalqura", Family::plain, 30},
    {"persian", "persian", Family::plain, 31},
    {"shaka", "indian", Family::plain, 31},
}};

int kindIndex(std::string_view type) {
  for (std::size_t i = 0; i < kKinds.size(); ++i) {
    if (kKinds[i].type == type) return static_cast<int>(i);
  }
  return -1;
}

// The text-locale codes and the ICU locales they stand for.
constexpr std::array<std::pair<std::string_view, std::string_view>, 7> kTextLocales = {{
    {"en", "en"},
    {"zh-rCN", "zh_Hans_CN"},
    {"zh-rHK", "zh_Hant_HK"},
    {"ar", "ar"},
    {"ko", "ko"},
    {"iw", "he"},
    {"fa", "fa"},
}};

// Where ICU writes a lunisolar leap month with its language-neutral "{0}bis", or has no month
// names for the language at all, these markings stand in.
struct LeapMarking {
  std::string_view language;
  std::string_view prefix;
  std::string_view suffix;
};
constexpr std::array<LeapMarking, 4> kLeapMarkings = {{
    {"en", "Leap ", ""},
    {"ar", "", " (كبيس)"},
    {"he", "", " (מעובר)"},
    {"fa", "", " (کبیسه)"},
}};

// Everything needed to write the texts of one calendar in one locale. Built once, then only
// read, by any thread.
struct TextTable {
  Family family = Family::plain;
  int maxDay = 30;
  // ICU's month names by ICU month index: 12 entries, or 14 for the Hebrew calendar (index 5
  // Adar I, 6 Adar, 13 Adar II).
  std::vector<std::string> months;
  std::vector<std::string> leapMonths;  // lunisolar: the 12 leap-month names
  std::vector<std::string> days;        // index = day, 1..maxDay
  std::array<std::string, 10> digits;
  std::string yearPrefix;
  std::string yearSuffix;
  std::vector<std::string> cyclicYears;  // 60 sexagenary names, index 0 = 甲子, or empty
  std::vector<std::string> hebrewYears;  // 1000 Hebrew numerals of the year in its millennium
};

std::string localDigits(const TextTable& table, long long value) {
  const bool negative = value < 0;
  unsigned long long rest = negative ? 0ULL - static_cast<unsigned long long>(value)
                                     : static_cast<unsigned long long>(value);
  std::string reversed;
  do {
    const std::string& digit = table.digits[rest % 10];
    reversed.insert(0, digit);
    rest /= 10;
  } while (rest > 0);
  return negative ? "-" + reversed : reversed;
}

// The literal text before and after the run of `field` letters in an ICU date pattern (quotes
// removed); the field is assumed to occur once, as in the one-field patterns asked for here.
std::pair<std::string, std::string> patternAffixes(const icu::UnicodeString& pattern,
                                                   char16_t field) {
  icu::UnicodeString before;
  icu::UnicodeString after;
  bool seen = false;
  bool quoted = false;
  for (int32_t i = 0; i < pattern.length(); ++i) {
    const char16_t c = pattern.charAt(i);
    if (c == u'\'') {
      if (i + 1 < pattern.length() && pattern.charAt(i + 1) == u'\'') {
        (seen ? after : before).append(c);
        ++i;
      } else {
        quoted = !quoted;
      }
      continue;
    }
    if (!quoted && c == field) {
      seen = true;
      continue;
    }
    const bool letter = (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
    if (!quoted && letter) continue;  // another field: left out
    (seen ? after : before).append(c);
  }
  if (!seen) return {};
  return {detail::toUtf8(before), detail::toUtf8(after)};
}

std::vector<std::string> icuMonthNames(const icu::DateFormatSymbols& symbols) {
  int32_t count = 0;
  const icu::UnicodeString* names =
      symbols.getMonths(count, icu::DateFormatSymbols::STANDALONE, icu::DateFormatSymbols::WIDE);
  std::vector<std::string> out;
  for (int32_t i = 0; names != nullptr && i < count; ++i) out.push_back(detail::toUtf8(names[i]));
  return out;
}

icu::Locale withCalendar(const std::string& icuIdentifier, const char* calendar) {
  return detail::icuLocaleWithCalendar(icuIdentifier, calendar);
}

// A noon instant on the first day of the leap second month of 2023 (2023-03-22), a leap month in
// both the Chinese and the Korean calendar.
constexpr UDate kLeapSecondMonth2023 = 1679486400000.0;

// The leap-month marking ICU applies to month 2 in this locale, as prefix and suffix around the
// ordinary name; std::nullopt when ICU cannot tell.
std::optional<std::pair<std::string, std::string>> icuLeapMarking(const icu::Locale& locale,
                                                                  const std::string& month2) {
  UErrorCode status = U_ZERO_ERROR;
  icu::SimpleDateFormat format(icu::UnicodeString(u"LLLL"), locale, status);
  if (U_FAILURE(status)) return std::nullopt;
  format.adoptTimeZone(icu::TimeZone::createTimeZone(icu::UnicodeString(u"Etc/GMT-8")));
  icu::UnicodeString text;
  format.format(kLeapSecondMonth2023, text);
  const std::string leap = detail::toUtf8(text);
  const std::size_t at = leap.find(month2);
  if (at == std::string::npos || leap == month2) return std::nullopt;
  return std::make_pair(leap.substr(0, at), leap.substr(at + month2.size()));
}

std::unique_ptr<const TextTable> buildTable(const CalendarKind& kind,
                                            const std::string& icuIdentifier) {
  auto table = std::make_unique<TextTable>();
  table->family = kind.family;
  table->maxDay = kind.maxDay;
  const icu::Locale base = detail::icuLocale(icuIdentifier);
  const std::string language = base.getLanguage();
  const icu::Locale locale = withCalendar(icuIdentifier, kind.icuCalendar);

  // The locale's default digits (an algorithmic numbering system keeps ASCII digits).
  {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::NumberingSystem> numbering(
        icu::NumberingSystem::createInstance(base, status));
    icu::UnicodeString description;
    if (U_SUCCESS(status) && numbering && !numbering->isAlgorithmic() &&
        numbering->getRadix() == 10) {
      description = numbering->getDescription();
    }
    if (description.countChar32() == 10) {
      for (int32_t i = 0, index = 0; i < 10; ++i) {
        const UChar32 c = description.char32At(index);
        table->digits[static_cast<std::size_t>(i)] = detail::toUtf8(icu::UnicodeString(c));
        index = description.moveIndex32(index, 1);
      }
    } else {
      for (int i = 0; i < 10; ++i) table->digits[static_cast<std::size_t>(i)] = std::to_string(i);
    }
  }

  // Month names, and whether ICU has any for this language (else it hands out root's "M01").
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::DateFormatSymbols> symbols(
      icu::DateFormatSymbols::createForLocale(locale, status));
  if (U_SUCCESS(status) && symbols) table->months = icuMonthNames(*symbols);
  status = U_ZERO_ERROR;
  std::unique_ptr<icu::DateFormatSymbols> rootSymbols(
      icu::DateFormatSymbols::createForLocale(withCalendar("root", kind.icuCalendar), status));
  std::vector<std::string> rootMonths;
  if (U_SUCCESS(status) && rootSymbols) rootMonths = icuMonthNames(*rootSymbols);
  const std::size_t expectedMonths = kind.family == Family::hebrew ? 14 : 12;

  status = U_ZERO_ERROR;
  std::unique_ptr<icu::DateTimePatternGenerator> patterns(
      icu::DateTimePatternGenerator::createInstance(locale, status));
  if (U_FAILURE(status)) patterns.reset();

  // ICU's language-neutral placeholders ("M01" .. "M12") mean the language has no names.
  const bool namesMissing =
      table->months.size() != expectedMonths ||
      (table->months == rootMonths && !rootMonths.empty() && rootMonths[0] == "M01");
  if (namesMissing) {
    // "<month> 4" with the locale's word for month, as ICU names the field.
    std::string word = "Month";
    if (patterns) {
      word = detail::toUtf8(patterns->getFieldDisplayName(UDATPG_MONTH_FIELD, UDATPG_WIDE));
    }
    table->months.clear();
    for (std::size_t i = 1; i <= expectedMonths; ++i) {
      table->months.push_back(word + " " + localDigits(*table, static_cast<long long>(i)));
    }
  }

  if (kind.family == Family::lunisolar) {
    std::optional<std::pair<std::string, std::string>> marking;
    if (!namesMissing) marking = icuLeapMarking(locale, table->months[1]);
    std::optional<std::pair<std::string, std::string>> rootMarking;
    if (rootMonths.size() == 12) {
      rootMarking = icuLeapMarking(withCalendar("root", kind.icuCalendar), rootMonths[1]);
    }
    if (!marking || marking == rootMarking) {
      for (const LeapMarking& own : kLeapMarkings) {
        if (own.language == language) marking = std::make_pair(own.prefix, own.suffix);
      }
    }
    if (!marking) marking = rootMarking;
    if (!marking) marking = std::make_pair(std::string(kLeapMarkings[0].prefix), std::string());
    for (const std::string& name : table->months) {
      table->leapMonths.push_back(marking->first + name + marking->second);
    }
  }

  // Days.
  table->days.assign(static_cast<std::size_t>(kind.maxDay) + 1, std::string());
  if (kind.family == Family::lunisolar && language == "zh") {
    for (int d = 1; d <= kind.maxDay; ++d) {
      table->days[static_cast<std::size_t>(d)] = convertToChineseDay(d);
    }
  } else if (kind.family == Family::hebrew && language == "he") {
    status = U_ZERO_ERROR;
    std::unique_ptr<icu::NumberFormat> hebrew(
        icu::NumberFormat::createInstance(icu::Locale("he@numbers=hebr"), status));
    if (U_SUCCESS(status) && hebrew) {
      // Days and the years of a millennium share the numerals.
      table->hebrewYears.resize(1000);
      for (int n = 1; n <= 999; ++n) {
        icu::UnicodeString text;
        hebrew->format(static_cast<int32_t>(n), text);
        table->hebrewYears[static_cast<std::size_t>(n)] = detail::toUtf8(text);
        if (n <= kind.maxDay) {
          table->days[static_cast<std::size_t>(n)] =
              table->hebrewYears[static_cast<std::size_t>(n)];
        }
      }
    }
  }
  if (table->days[1].empty()) {
    std::pair<std::string, std::string> affixes;
    if (patterns) {
      status = U_ZERO_ERROR;
      affixes = patternAffixes(patterns->getBestPattern(icu::UnicodeString(u"d"), status), u'd');
    }
    for (int d = 1; d <= kind.maxDay; ++d) {
      table->days[static_cast<std::size_t>(d)] =
          affixes.first + localDigits(*table, d) + affixes.second;
    }
  }

  // Years.
  if (kind.family == Family::lunisolar && language == "zh") {
    for (int i = 0; i < 60; ++i) table->cyclicYears.push_back(sexagenaryYearName(1984 + i));
    table->yearSuffix = "年";
  } else if (kind.family == Family::lunisolar && language == "ko" && symbols) {
    int32_t count = 0;
    const icu::UnicodeString* names = symbols->getYearNames(count, icu::DateFormatSymbols::FORMAT,
                                                            icu::DateFormatSymbols::ABBREVIATED);
    for (int32_t i = 0; names != nullptr && count == 60 && i < count; ++i) {
      table->cyclicYears.push_back(detail::toUtf8(names[i]));
    }
    table->yearSuffix = "년";
  }
  if (table->cyclicYears.empty() && table->hebrewYears.empty()) {
    status = U_ZERO_ERROR;
    std::unique_ptr<icu::DateTimePatternGenerator> gregorian(
        icu::DateTimePatternGenerator::createInstance(base, status));
    if (U_SUCCESS(status) && gregorian) {
      std::tie(table->yearPrefix, table->yearSuffix) =
          patternAffixes(gregorian->getBestPattern(icu::UnicodeString(u"y"), status), u'y');
    }
  }
  return table;
}

// Lazily built tables. The seven standard locales have one slot per calendar, published through
// an atomic pointer; any other ICU locale (from a host's locale converter) goes to a map. Both
// are written only under `mutex`, and a table never changes or goes away once published.
class TextTables {
 public:
  static TextTables& shared() {
    static TextTables tables;
    return tables;
  }

  const TextTable& table(int kind, std::string_view icuIdentifier) {
    int standard = -1;
    for (std::size_t i = 0; i < kTextLocales.size(); ++i) {
      if (kTextLocales[i].second == icuIdentifier) standard = static_cast<int>(i);
    }
    if (standard >= 0) {
      std::atomic<const TextTable*>& slot =
          slots_[static_cast<std::size_t>(kind)][static_cast<std::size_t>(standard)];
      if (const TextTable* ready = slot.load(std::memory_order_acquire)) return *ready;
      std::lock_guard lock(mutex_);
      if (const TextTable* ready = slot.load(std::memory_order_relaxed)) return *ready;
      owned_.push_back(
          buildTable(kKinds[static_cast<std::size_t>(kind)], std::string(icuIdentifier)));
      slot.store(owned_.back().get(), std::memory_order_release);
      return *owned_.back();
    }
    std::lock_guard lock(mutex_);
    auto key = std::make_pair(kind, std::string(icuIdentifier));
    auto found = others_.find(key);
    if (found == others_.end()) {
      found = others_.emplace(key, buildTable(kKinds[static_cast<std::size_t>(kind)], key.second))
                  .first;
    }
    return *found->second;
  }

 private:
  std::mutex mutex_;
  std::array<std::array<std::atomic<const TextTable*>, kTextLocales.size()>, kKinds.size()>
      slots_{};
  std::vector<std::unique_ptr<const TextTable>> owned_;
  std::map<std::pair<int, std::string>, std::unique_ptr<const TextTable>> others_;
};

std::string monthText(const TextTable& table, int year, int month, bool leap) {
  if (month < 1 || month > 12) return {};
  const auto at = [&](std::size_t index) -> std::string {
    return index < table.months.size() ? table.months[index] : std::string();
  };
  switch (table.family) {
    case Family::lunisolar:
      if (leap) {
        const auto index = static_cast<std::size_t>(month - 1);
        return index < table.leapMonths.size() ? table.leapMonths[index] : std::string();
      }
      return at(static_cast<std::size_t>(month - 1));
    case Family::hebrew:
      // ICU's months: 0 Tishri .. 4 Shevat, 5 Adar I, 6 Adar, 7 Nisan .. 12 Elul, 13 Adar II.
      // Only month 5 has a leap form (Adar I); a leap flag on any other month names the month
      // itself, so a yearly text read during Adar I still names Nisan.
      if (leap && month == 5) return at(5);
      if (month <= 5) return at(static_cast<std::size_t>(month - 1));
      if (month == 6) return at(detail::isHebrewLeapYear(year) ? 13 : 6);
      return at(static_cast<std::size_t>(month));
    case Family::plain:
      // These calendars have no leap months; the flag changes nothing.
      return at(static_cast<std::size_t>(month - 1));
  }
  return {};
}

std::string yearText(const TextTable& table, int year) {
  if (year < 1) return {};
  if (!table.cyclicYears.empty()) {
    int index = (year - 1984) % 60;
    if (index < 0) index += 60;
    return table.cyclicYears[static_cast<std::size_t>(index)] + table.yearSuffix;
  }
  if (!table.hebrewYears.empty() && year % 1000 != 0) {
    // Hebrew dates leave out the thousands, as ICU's own Hebrew date formats do.
    return table.hebrewYears[static_cast<std::size_t>(year % 1000)];
  }
  return table.yearPrefix + localDigits(table, year) + table.yearSuffix;
}

}  // namespace

std::string KMAConvert::localeIdentifier(std::string_view textLocale) const {
  for (const auto& [code, identifier] : kTextLocales) {
    if (code == textLocale) return std::string(identifier);
  }
  return "en";
}

std::vector<std::string> KMAOtherCalendar::formatCalendarType(std::string_view calendarType,
                                                              int year, int month, int day,
                                                              bool leap,
                                                              std::string_view locale) const {
  const int kind = kindIndex(calendarType);
  if (kind < 0) return {};
  // The host's locale converter when one is wired, else the built-in mapping of the seven codes.
  static const KMAConvert builtIn;
  std::string icuIdentifier;
  if (const std::shared_ptr<const KMAConvert> wired = KMADarwinUtils::shared().convert()) {
    icuIdentifier = wired->localeIdentifier(locale);
  } else {
    icuIdentifier = builtIn.localeIdentifier(locale);
  }
  if (icuIdentifier.empty()) icuIdentifier = "en";
  const TextTable& table = TextTables::shared().table(kind, icuIdentifier);

  std::vector<std::string> texts(3);
  texts[0] = yearText(table, year);
  texts[1] = monthText(table, year, month, leap);
  if (day >= 1 && day <= table.maxDay) texts[2] = table.days[static_cast<std::size_t>(day)];
  return texts;
}

}  // namespace norvik
