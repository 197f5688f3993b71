// GCC 12 reports the variant inside FormatArgument as maybe-uninitialized when it inlines the
// format calls with optimisation and sanitizers; the variant is always constructed.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#include "norvik/recurrence/repeat_description.h"

#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "language_generation.h"
#include "norvik/environment/user_language.h"
#include "norvik/platform/calendar.h"
#include "norvik/platform/date_formatter.h"
#include "norvik/platform/environment.h"
#include "norvik/platform/format.h"
#include "norvik/platform/localized_string.h"

#if __has_include("norvik/calendar/lunar_display.h")
#include "norvik/calendar/lunar_display.h"
#define NORVIK_HAVE_LUNAR_DISPLAY 1
#endif

namespace norvik {

namespace {

using platform::Date;

constexpr std::array<std::string_view, 31> kDayOrdinals = {
    "1st",  "2nd",  "3rd",  "4th",  "5th",  "6th",  "7th",  "8th",  "9th",  "10th", "11th",
    "12th", "13th", "14th", "15th", "16th", "17th", "18th", "19th", "20th", "21st", "22nd",
    "23rd", "24th", "25th", "26th", "27th", "28th", "29th", "30th", "31st"};
constexpr std::array<std::string_view, 6> kWeekOrdinals = {"1st", "2nd", "3rd",
                                                           "4th", "5th", "last"};
constexpr std::array<std::string_view, 7> kWeekdayNames = {
    "Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"};
constexpr std::array<std::string_view, 12> kMonthAbbreviations = {
    "Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

struct LocaleTexts;

// The locale texts in use, kept while the environment and the chosen interface language stay the
// same. A language change posts NVUserLanguageDidChangeNotification, which bumps the generation; a
// new environment is a new object. Guarded by `mutex`. (Translated texts are not kept here: the
// bundle's own lookup remembers its resolution per thread and is as fast as a cache would be.)
struct LookupCache {
  std::mutex mutex;
  std::shared_ptr<const platform::Environment> environment;
  std::uint64_t generation = 0;
  const LocaleTexts* localeTexts = nullptr;

  // Drops everything when the environment or the language changed. Call with `mutex` held.
  void validate(const std::shared_ptr<const platform::Environment>& env, std::uint64_t gen) {
    if (env == environment && gen == generation) return;
    environment = env;
    generation = gen;
    localeTexts = nullptr;
  }
};

LookupCache& lookupCache() {
  static LookupCache cache;
  return cache;
}

// The translation of `key` in `table` through the interface language's lookup.
std::string cachedLookUp(std::string_view key, std::string_view table) {
  BundleEx::installOnMainBundle();
  return platform::localizedString(key, "", table);
}

std::string lookUp(std::string_view key) {
  return cachedLookUp(key, {});
}
std::string lookUpSpecial(std::string_view key) {
  return cachedLookUp(key, kNVSpecialStringTable);
}

// Looks up `key` and formats the translation with the arguments, taking the plural variant of the
// count where the table has one; a translation whose specifiers disagree with the arguments falls
// back to the English key.
template <class... A>
std::string lookUpFormat(std::string_view key, const A&... args) {
  return platform::formatLocalized(key, {}, lookUp(key), args...);
}
template <class... A>
std::string lookUpSpecialFormat(std::string_view key, const A&... args) {
  return platform::formatLocalized(key, kNVSpecialStringTable, lookUpSpecial(key), args...);
}

// Weekday names and month-and-day formatters of one interface locale, built once per locale.
struct LocaleTexts {
  std::vector<std::string> shortWeekdays;  // "Mon", stand-alone, Sunday first
  std::vector<std::string> weekdays;       // "Monday", stand-alone, Sunday first
  platform::DateFormatter monthDay;        // "Mar 5"
  platform::DateFormatter shortMonth;      // "Mar"
};

// The texts of the interface language's locale. The shared date formatter follows that locale
// (the language selection adapts it whenever the choice changes), so its identifier names it
// without reading the stored choice on every description.
const LocaleTexts& localeTexts() {
  BundleEx::installOnMainBundle();
  const std::uint64_t gen = detail::languageGeneration();
  auto env = platform::currentEnvironment();
  LookupCache& lookups = lookupCache();
  {
    std::lock_guard lock(lookups.mutex);
    lookups.validate(env, gen);
    if (lookups.localeTexts) return *lookups.localeTexts;
  }
  const platform::Locale locale = platform::DateFormatter::shared().locale();
  const std::string identifier = locale.identifier();
  // Guarded by the mutex; entries are never removed, so references stay valid.
  static std::mutex mutex;
  static std::vector<std::pair<std::string, std::unique_ptr<LocaleTexts>>> cache;
  const LocaleTexts* found = nullptr;
  {
    std::lock_guard lock(mutex);
    for (const auto& [id, texts] : cache) {
      if (id == identifier) found = texts.get();
    }
    if (!found) {
      const platform::Locale fixed(identifier);
      platform::DateFormatter symbols("", fixed);
      auto texts = std::make_unique<LocaleTexts>(
          LocaleTexts{symbols.shortStandaloneWeekdaySymbols(), symbols.standaloneWeekdaySymbols(),
                      platform::DateFormatter("", fixed), platform::DateFormatter("MMM", fixed)});
      texts->monthDay.setLocalizedDateFormatFromTemplate("MMMd");
      texts->shortWeekdays.resize(7);
      texts->weekdays.resize(7);
      found = texts.get();
      cache.emplace_back(identifier, std::move(texts));
    }
  }
  std::lock_guard lock(lookups.mutex);
  lookups.validate(env, gen);
  lookups.localeTexts = found;
  return *found;
}

std::string_view weekdayName(const std::vector<std::string>& names, int dayNum) {
  if (dayNum < 1 || dayNum > 7) return {};
  return names[static_cast<std::size_t>(dayNum - 1)];
}

Date relativeOrNow(std::optional<Date> relative) {
  return relative ? *relative : Date::now();
}

// Index into kWeekOrdinals: -1 reads "last"; 1..6 read the 1st to "last" (6 included); anything
// else reads "1st".
std::size_t weekOrdinalIndex(int num) {
  const int index = num == -1 ? 5 : num - 1;
  return (index < 0 || index > 5) ? 0 : static_cast<std::size_t>(index);
}

// "the 2nd Tuesday", looked up.
std::string nthWeekdayText(const SVRecurrenceWeekdayNumber& entry) {
  const int dayNum = entry.wday().dayNum();
  const std::string_view weekday =
      (dayNum >= 1 && dayNum <= 7) ? kWeekdayNames[static_cast<std::size_t>(dayNum - 1)] : "";
  const std::string key =
      platform::format("the %@ %@", kWeekOrdinals[weekOrdinalIndex(entry.num())], weekday);
  return lookUp(key);
}

std::string ebbinghausText(const SVRecurrenceRule& rule, bool showCount) {
  if (!showCount) return lookUp("Ebbinghaus Curve");
  const std::int64_t c = rule.extendable.ebbinghaus().cycle;
  const std::int64_t k = c + 1;
  std::string_view suffixKey = "Ebbinghaus_%dth";
  if (c == 0 || (c >= 16 && c % 10 == 0)) {
    suffixKey = "Ebbinghaus_%dst";
  } else if (c == 1 || (c >= 16 && c % 10 == 1)) {
    suffixKey = "Ebbinghaus_%dnd";
  } else if (c == 2 || (c >= 16 && c % 10 == 2)) {
    suffixKey = "Ebbinghaus_%drd";
  }
  return platform::format("%@, %@", lookUp("Ebbinghaus Curve"), lookUpFormat(suffixKey, k));
}

std::string weeklyText(const SVRecurrenceRule& rule, int n, bool reminderInfo,
                       std::optional<Date> relative) {
  const bool plural = n > 1;
  if (!reminderInfo) return plural ? lookUpFormat("Every %d weeks", n) : lookUp("Weekly");
  const auto& days = rule.byDay;
  auto dayList = [&days] {
    const LocaleTexts& texts = localeTexts();
    std::string list;
    for (const auto& entry : SVRecurrenceWeekdayNumber::allDays()) {
      if (std::find(days.begin(), days.end(), entry) == days.end()) continue;
      if (!list.empty()) list += ", ";
      list += weekdayName(texts.shortWeekdays, entry.wday().dayNum());
    }
    return list;
  };
  if (SVRecurrenceWeekdayNumber::isWeekdays(days)) {
    return plural ? lookUpFormat("Every %d weeks on weekdays (Mon-Fri)", n)
                  : lookUp("Every Weekday (Mon - Fri)");
  }
  if (SVRecurrenceWeekdayNumber::isWeekends(days)) {
    return plural ? lookUpFormat("Every %d weeks on %@", n, dayList()) : lookUp("every_weekend");
  }
  if (days.size() == 7) {
    return plural ? lookUpFormat("Every %d weeks on all days", n) : lookUp("Every day");
  }
  if (days.empty()) {
    if (plural) return lookUpFormat("Every %d weeks", n);
    const auto weekday = platform::Calendar::autoupdatingCurrent().component(
        platform::CalendarUnit::weekday, relativeOrNow(relative));
    const std::string_view name = weekdayName(localeTexts().weekdays, weekday.value_or(0));
    return lookUp("Weekly") + lookUpSpecialFormat(" (%@)", name);
  }
  return plural ? lookUpFormat("Every %d weeks on %@", n, dayList())
                : lookUpFormat("Every week on %@", dayList());
}

// "the 15th day", "the last day", "day 1, 15 and 28".
std::string monthDaysText(const std::vector<int>& sorted) {
  if (sorted.size() == 1) {
    const int v = sorted.front();
    if (v == -1) return lookUp("the last day");
    if (v >= 1 && v <= static_cast<int>(kDayOrdinals.size())) {
      return lookUp(platform::format("the %@ day", kDayOrdinals[static_cast<std::size_t>(v - 1)]));
    }
    return lookUpFormat("day %d", v);
  }
  std::string text;
  for (std::size_t i = 0; i < sorted.size(); ++i) {
    const int v = sorted[i];
    if (i == 0) {
      text += v == -1 ? lookUp("the last day") : lookUpFormat("day %d", v);
    } else if (i + 1 == sorted.size()) {
      text += v == -1 ? lookUp(" and the last day") : lookUpFormat(" and %d", v);
    } else {
      text += lookUpSpecialFormat(", %d", v);
    }
  }
  return text;
}

std::string monthlyText(const SVRecurrenceRule& rule, int n, bool reminderInfo,
                        std::optional<Date> relative) {
  const bool plural = n > 1;
  if (!reminderInfo) return plural ? lookUpFormat("Every %d months", n) : lookUp("Every month");
  std::string detail;
  if (!rule.isLunar()) {
    if (!rule.byMonthDay.empty()) {
      if (rule.isFirstWorkday()) {
        detail = lookUp("First workday");
      } else if (rule.isLastWorkday()) {
        detail = lookUp("Last workday");
      } else {
        detail = monthDaysText(*rule.monthDaysOfTheSorted());
      }
    } else if (!rule.byDay.empty()) {
      detail = nthWeekdayText(rule.byDay.front());
    }
  } else {
#ifdef NORVIK_HAVE_LUNAR_DISPLAY
    if (rule.byMonthDay.size() != 1) {
      detail = displayDayInLunarCalendar(relativeOrNow(relative));
    } else {
      const int v = rule.byMonthDay.front();
      detail = v == -1 ? std::string("最后一天") : convertToChineseDay(v);
    }
#else
    (void)relative;
#endif
  }
  if (detail.empty()) return plural ? lookUpFormat("Every %d months", n) : lookUp("Every month");
  if (plural) return lookUpFormat("Every %d months on %@", n, detail);
  return lookUp("Monthly") + lookUpSpecialFormat(" (%@)", detail);
}

std::string yearlyText(const SVRecurrenceRule& rule, int n, bool reminderInfo,
                       std::optional<Date> relative) {
  const bool plural = n > 1;
  if (!reminderInfo) return plural ? lookUpFormat("Every %d years", n) : lookUp("Yearly");
  std::string detail;
  if (!rule.isLunar()) {
    if (!rule.byDay.empty() && !rule.byMonth.empty()) {
      const int m = rule.byMonth.front();
      if (m >= 1 && m <= 12) {
        const std::string key =
            "%@ " + platform::format("in %@", kMonthAbbreviations[static_cast<std::size_t>(m - 1)]);
        detail += lookUpFormat(key, nthWeekdayText(rule.byDay.front()));
      }
    }
    if (!rule.byMonth.empty() && !rule.byMonthDay.empty()) {
      const int m = rule.byMonth.front();
      const int v = rule.byMonthDay.front();
      const platform::Calendar calendar = platform::Calendar::autoupdatingCurrent();
      const Date yearStart = calendar.startOfYear(relativeOrNow(relative));
      const std::optional<Date> month =
          calendar.dateByAdding(platform::CalendarUnit::month, m - 1, yearStart);
      if (month) {
        const LocaleTexts& texts = localeTexts();
        if (v == -1) {
          detail += texts.shortMonth.format(*month);
          detail += lookUpSpecial("space");
          detail += lookUp("Last day");
        } else if (const std::optional<Date> day = calendar.dateByAdding(
                       platform::CalendarUnit::day, v - 1, calendar.startOfMonth(*month))) {
          detail += texts.monthDay.format(*day);
        }
      }
    }
  } else {
#ifdef NORVIK_HAVE_LUNAR_DISPLAY
    if (rule.byMonth.size() == 1 && rule.byMonthDay.size() == 1) {
      const int v = rule.byMonthDay.front();
      detail += convertToChineseMonth(rule.byMonth.front());
      detail += v == -1 ? lookUp("the last day") : convertToChineseDay(v);
    } else {
      detail += displayMonthDayInLunarCalendar(relativeOrNow(relative));
    }
#endif
  }
  if (detail.empty()) {
    const std::string period = plural ? lookUpFormat("Every %d years", n) : lookUp("Yearly");
    return lookUpFormat("%1$@ on %2$@", period,
                        localeTexts().monthDay.format(relativeOrNow(relative)));
  }
  if (plural) return lookUpFormat("%1$@ on %2$@", lookUpFormat("Every %d years", n), detail);
  return lookUpFormat("%1$@ empty on %2$@", lookUp("Yearly"), detail);
}

std::string describe(const SVRecurrenceRulePtr& rule, std::optional<std::string_view> from,
                     bool showCount, std::optional<Date> relative, bool reminderInfo) {
  if (!rule) return lookUp("None");
  if (from == SVRecurrenceFromDefault) {
    if (rule->isEveryOfficalWorkingDay()) return lookUp("Official Working Days");
    if (rule->isEveryOfficalHoliday()) return lookUp("official_holidays");
  }
  if (from == SVRecurrenceFromDueDate) {
    if (rule->isEbbinghaus()) return ebbinghausText(*rule, showCount);
    if (rule->isSpecificDate()) {
      const std::size_t m = rule->specific().byDate.size();
      return m == 0 ? std::string() : lookUpFormat("%d selected", m);
    }
  }
  const int n = rule->interval == 0 ? 1 : rule->interval;
  switch (rule->frequencyOrdinal) {
    case SVRecurrenceRule::daily:
      return n > 1 ? lookUpFormat("Every %d days", n) : lookUp("Every day");
    case SVRecurrenceRule::weekly:
      return weeklyText(*rule, n, reminderInfo, relative);
    case SVRecurrenceRule::monthly:
      return monthlyText(*rule, n, reminderInfo, relative);
    case SVRecurrenceRule::yearly:
      return yearlyText(*rule, n, reminderInfo, relative);
    default:
      return lookUp("None");
  }
}

}  // namespace

std::string Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(
    const SVRecurrenceRulePtr& rule, std::optional<std::string_view> from, bool isNeedShowCount,
    std::optional<Date> relativeDate, bool isNeedReminderDateInfo) {
  try {
    return describe(rule, from, isNeedShowCount, relativeDate, isNeedReminderDateInfo);
  } catch (const std::exception&) {
    return {};  // out of memory
  }
}

std::string Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(
    const SVRecurrenceRulePtr& rule, std::optional<std::string_view> from, bool /*isNeedShowCount*/,
    std::optional<Date> relativeDate) {
  return repeatDescriptionWithRRuleByDefaultOrDueDate(rule, from, false, relativeDate, true);
}

std::string Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(
    const SVRecurrenceRulePtr& rule, std::optional<std::string_view> from,
    std::optional<Date> relativeDate, bool isNeedReminderDateInfo) {
  return repeatDescriptionWithRRuleByDefaultOrDueDate(rule, from, false, relativeDate,
                                                      isNeedReminderDateInfo);
}

std::string Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(
    const SVRecurrenceRulePtr& rule, std::optional<std::string_view> from,
    std::optional<Date> relativeDate) {
  return repeatDescriptionWithRRuleByDefaultOrDueDate(rule, from, false, relativeDate, true);
}

std::string Repeat::intervalDescriptionWithRRule(const SVRecurrenceRulePtr& rule) {
  if (!rule) return {};
  try {
    const int n = rule->interval == 0 ? 1 : rule->interval;
    const bool plural = n > 1;
    switch (rule->frequencyOrdinal) {
      case SVRecurrenceRule::daily:
        return plural ? lookUpFormat("%d days", n) : lookUp("1 day");
      case SVRecurrenceRule::weekly:
        return plural ? lookUpFormat("%d weeks", n) : lookUp("1 week");
      case SVRecurrenceRule::monthly:
        return plural ? lookUpFormat("%d months", n) : lookUp("1 month");
      case SVRecurrenceRule::yearly:
        // The singular yearly text is a format key filled with n, unlike the others.
        return plural ? lookUpFormat("%d years", n) : lookUpFormat("%d year", n);
      default:
        return {};
    }
  } catch (const std::exception&) {
    return {};
  }
}

std::string Repeat::repeatDescriptionWithRRuleByCompletedTime(const SVRecurrenceRulePtr& rule,
                                                              bool simplified) {
  try {
    if (!rule) return lookUp("None");
    const std::string period = intervalDescriptionWithRRule(rule);
    return simplified ? lookUpFormat("%@ after completion", period)
                      : lookUpFormat(
                            "The next occurrence will appear %@ after completion of current "
                            "occurrence.",
                            period);
  } catch (const std::exception&) {
    return {};
  }
}

}  // namespace norvik
