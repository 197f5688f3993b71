// GCC 12 reports the variant inside FormatArgument as maybe-uninitialized when it inlines the
// format calls with optimisation and sanitizers; the variant is always constructed.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#include "norvik/recurrence/repeat_description.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <memory>
#include <vector>

#include "norvik/platform/calendar.h"
#include "norvik/platform/date_formatter.h"
#include "norvik/platform/environment.h"
#include "norvik/platform/format.h"
#include "norvik/platform/localized_string.h"
#include "norvik/platform/text_context.h"

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

// The lookups of one description, all in one context: whatever another thread changes meanwhile,
// every part of the text comes from the same language, locale and calendar.
class Texts {
 public:
  explicit Texts(const platform::TextContext& context) : context_(context) {}

  const platform::TextContext& context() const { return context_; }

  std::string lookUp(std::string_view key) const { return std::string(context_.lookUp(key)); }
  std::string lookUpSpecial(std::string_view key) const {
    return std::string(context_.lookUp(key, kNVSpecialStringTable));
  }

  // Looks up `key` and formats the translation with the arguments, taking the plural variant of
  // the count where the table has one; a translation whose specifiers disagree with the arguments
  // falls back to the English key.
  template <class... A>
  std::string lookUpFormat(std::string_view key, const A&... args) const {
    return platform::formatLocalized(context_, key, {}, context_.lookUp(key), args...);
  }
  template <class... A>
  std::string lookUpSpecialFormat(std::string_view key, const A&... args) const {
    return platform::formatLocalized(context_, key, kNVSpecialStringTable,
                                     context_.lookUp(key, kNVSpecialStringTable), args...);
  }

 private:
  const platform::TextContext& context_;
};

// Keys put together from parts, built once: "the 2nd Tuesday" for every ordinal and weekday, "the
// 15th day" for every day, "%@ in Mar" for every month.
struct ComposedKeys {
  std::array<std::array<std::string, 7>, 6> nthWeekday;
  std::array<std::string, 31> monthDay;
  std::array<std::string, 12> inMonth;

  ComposedKeys() {
    for (std::size_t n = 0; n < kWeekOrdinals.size(); ++n) {
      for (std::size_t d = 0; d < kWeekdayNames.size(); ++d) {
        nthWeekday[n][d] = platform::format("the %@ %@", kWeekOrdinals[n], kWeekdayNames[d]);
      }
    }
    for (std::size_t d = 0; d < kDayOrdinals.size(); ++d) {
      monthDay[d] = platform::format("the %@ day", kDayOrdinals[d]);
    }
    for (std::size_t m = 0; m < kMonthAbbreviations.size(); ++m) {
      inMonth[m] = "%@ " + platform::format("in %@", kMonthAbbreviations[m]);
    }
  }
};

const ComposedKeys& composedKeys() {
  static const ComposedKeys keys;
  return keys;
}

std::string_view weekdayName(const std::vector<std::string>& names, int dayNum) {
  if (dayNum < 1 || dayNum > 7) return {};
  return names[static_cast<std::size_t>(dayNum - 1)];
}

Date relativeOrNow(std::optional<Date> relative) {
  return relative ? *relative : Date::now();
}

// Day arithmetic of the Gregorian calendar on days since 1970-01-01 in the context's time zone:
// exact, and a fraction of the cost of ICU's calendar fields. Other calendars, and instants far
// outside the range of dates, go through platform::Calendar.
struct CivilDate {
  std::int64_t year;
  int month;
  int day;
};

std::int64_t daysFromCivil(std::int64_t y, int m, int d) {
  y -= m <= 2;
  const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
  const std::int64_t yoe = y - era * 400;
  const std::int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  const std::int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + doe - 719468;
}

CivilDate civilFromDays(std::int64_t z) {
  z += 719468;
  const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const std::int64_t doe = z - era * 146097;
  const std::int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const std::int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const std::int64_t mp = (5 * doy + 2) / 153;
  const int d = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
  const int m = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
  return {yoe + era * 400 + (m <= 2), m, d};
}

// The local day of `date` in the context, when the context's calendar is Gregorian and the date a
// plain one; std::nullopt otherwise.
std::optional<std::int64_t> gregorianLocalDay(const platform::TextContext& context, Date date) {
  const double seconds = date.timeIntervalSince1970();
  if (context.calendar().identifier() != platform::CalendarIdentifier::gregorian ||
      !(std::fabs(seconds) < 1.0e12)) {
    return std::nullopt;
  }
  const double local = seconds + context.timeZone().secondsFromGMT(date);
  return static_cast<std::int64_t>(std::floor(local / 86400.0));
}

// An instant inside local day `day` (its noon, which no zone's offset change moves off the day).
Date instantOfLocalDay(const platform::TextContext& context, std::int64_t day) {
  const double noon = static_cast<double>(day) * 86400.0 + 43200.0;
  return Date(noon - context.timeZone().secondsFromGMT(Date(noon)));
}

// Index into kWeekOrdinals: -1 reads "last"; 1..6 read the 1st to "last" (6 included); anything
// else reads "1st".
std::size_t weekOrdinalIndex(int num) {
  const int index = num == -1 ? 5 : num - 1;
  return (index < 0 || index > 5) ? 0 : static_cast<std::size_t>(index);
}

// "the 2nd Tuesday", looked up. A weekday outside 1..7 reads as "the 2nd " (an empty name).
std::string nthWeekdayText(const Texts& t, const SVRecurrenceWeekdayNumber& entry) {
  const int dayNum = entry.wday().dayNum();
  const std::size_t ordinal = weekOrdinalIndex(entry.num());
  if (dayNum < 1 || dayNum > 7) {
    return t.lookUp(platform::format("the %@ %@", kWeekOrdinals[ordinal], ""));
  }
  return t.lookUp(composedKeys().nthWeekday[ordinal][static_cast<std::size_t>(dayNum - 1)]);
}

std::string ebbinghausText(const Texts& t, const SVRecurrenceRule& rule, bool showCount) {
  if (!showCount) return t.lookUp("Ebbinghaus Curve");
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
  return platform::format("%@, %@", t.lookUp("Ebbinghaus Curve"), t.lookUpFormat(suffixKey, k));
}

std::string weeklyText(const Texts& t, const SVRecurrenceRule& rule, int n, bool reminderInfo,
                       std::optional<Date> relative) {
  const bool plural = n > 1;
  if (!reminderInfo) return plural ? t.lookUpFormat("Every %d weeks", n) : t.lookUp("Weekly");
  const auto& days = rule.byDay;
  auto dayList = [&days, &t] {
    const auto& names = t.context().shortWeekdaySymbols();
    std::string list;
    list.reserve(64);
    for (const auto& entry : SVRecurrenceWeekdayNumber::allDays()) {
      if (std::find(days.begin(), days.end(), entry) == days.end()) continue;
      if (!list.empty()) list += ", ";
      list += weekdayName(names, entry.wday().dayNum());
    }
    return list;
  };
  if (SVRecurrenceWeekdayNumber::isWeekdays(days)) {
    return plural ? t.lookUpFormat("Every %d weeks on weekdays (Mon-Fri)", n)
                  : t.lookUp("Every Weekday (Mon - Fri)");
  }
  if (SVRecurrenceWeekdayNumber::isWeekends(days)) {
    return plural ? t.lookUpFormat("Every %d weeks on %@", n, dayList())
                  : t.lookUp("every_weekend");
  }
  if (days.size() == 7) {
    return plural ? t.lookUpFormat("Every %d weeks on all days", n) : t.lookUp("Every day");
  }
  if (days.empty()) {
    if (plural) return t.lookUpFormat("Every %d weeks", n);
    const Date date = relativeOrNow(relative);
    std::optional<int> weekday;
    if (const auto day = gregorianLocalDay(t.context(), date)) {
      weekday = static_cast<int>(((*day + 4) % 7 + 7) % 7) + 1;  // 1970-01-01 was a Thursday (5)
    } else {
      weekday = t.context().calendar().component(platform::CalendarUnit::weekday, date);
    }
    const std::string_view name = weekdayName(t.context().weekdaySymbols(), weekday.value_or(0));
    return t.lookUp("Weekly") + t.lookUpSpecialFormat(" (%@)", name);
  }
  return plural ? t.lookUpFormat("Every %d weeks on %@", n, dayList())
                : t.lookUpFormat("Every week on %@", dayList());
}

// "the 15th day", "the last day", "day 1, 15 and 28".
std::string monthDaysText(const Texts& t, const std::vector<int>& sorted) {
  if (sorted.size() == 1) {
    const int v = sorted.front();
    if (v == -1) return t.lookUp("the last day");
    if (v >= 1 && v <= static_cast<int>(kDayOrdinals.size())) {
      return t.lookUp(composedKeys().monthDay[static_cast<std::size_t>(v - 1)]);
    }
    return t.lookUpFormat("day %d", v);
  }
  std::string text;
  for (std::size_t i = 0; i < sorted.size(); ++i) {
    const int v = sorted[i];
    if (i == 0) {
      text += v == -1 ? t.lookUp("the last day") : t.lookUpFormat("day %d", v);
    } else if (i + 1 == sorted.size()) {
      text += v == -1 ? t.lookUp(" and the last day") : t.lookUpFormat(" and %d", v);
    } else {
      text += t.lookUpSpecialFormat(", %d", v);
    }
  }
  return text;
}

std::string monthlyText(const Texts& t, const SVRecurrenceRule& rule, int n, bool reminderInfo,
                        std::optional<Date> relative) {
  const bool plural = n > 1;
  if (!reminderInfo) return plural ? t.lookUpFormat("Every %d months", n) : t.lookUp("Every month");
  std::string detail;
  if (!rule.isLunar()) {
    if (!rule.byMonthDay.empty()) {
      if (rule.isFirstWorkday()) {
        detail = t.lookUp("First workday");
      } else if (rule.isLastWorkday()) {
        detail = t.lookUp("Last workday");
      } else {
        detail = monthDaysText(t, *rule.monthDaysOfTheSorted());
      }
    } else if (!rule.byDay.empty()) {
      detail = nthWeekdayText(t, rule.byDay.front());
    }
  } else {
#ifdef NORVIK_HAVE_LUNAR_DISPLAY
    if (rule.byMonthDay.size() != 1) {
      detail = displayDayInLunarCalendar(relativeOrNow(relative), t.context().calendar());
    } else {
      const int v = rule.byMonthDay.front();
      detail = v == -1 ? std::string("最后一天") : convertToChineseDay(v);
    }
#else
    (void)relative;
#endif
  }
  if (detail.empty())
    return plural ? t.lookUpFormat("Every %d months", n) : t.lookUp("Every month");
  if (plural) return t.lookUpFormat("Every %d months on %@", n, detail);
  return t.lookUp("Monthly") + t.lookUpSpecialFormat(" (%@)", detail);
}

std::string yearlyText(const Texts& t, const SVRecurrenceRule& rule, int n, bool reminderInfo,
                       std::optional<Date> relative) {
  const bool plural = n > 1;
  if (!reminderInfo) return plural ? t.lookUpFormat("Every %d years", n) : t.lookUp("Yearly");
  const platform::TextContext& context = t.context();
  std::string detail;
  if (!rule.isLunar()) {
    if (!rule.byDay.empty() && !rule.byMonth.empty()) {
      const int m = rule.byMonth.front();
      if (m >= 1 && m <= 12) {
        detail += t.lookUpFormat(composedKeys().inMonth[static_cast<std::size_t>(m - 1)],
                                 nthWeekdayText(t, rule.byDay.front()));
      }
    }
    if (!rule.byMonth.empty() && !rule.byMonthDay.empty()) {
      const int m = rule.byMonth.front();
      const int v = rule.byMonthDay.front();
      const platform::Calendar& calendar = context.calendar();
      const Date date = relativeOrNow(relative);
      if (const auto today = gregorianLocalDay(context, date); today && m >= 1 && m <= 12) {
        // Day v of month m of this year, counted on from the 1st as the calendar's addition does.
        const std::int64_t first = daysFromCivil(civilFromDays(*today).year, m, 1);
        if (v == -1) {
          detail += context.shortMonthText(instantOfLocalDay(context, first));
          detail += t.lookUpSpecial("space");
          detail += t.lookUp("Last day");
        } else {
          detail += context.monthDayText(instantOfLocalDay(context, first + v - 1));
        }
      } else if (const std::optional<Date> month = calendar.dateByAdding(
                     platform::CalendarUnit::month, m - 1, calendar.startOfYear(date))) {
        if (v == -1) {
          detail += context.shortMonthText(*month);
          detail += t.lookUpSpecial("space");
          detail += t.lookUp("Last day");
        } else if (const std::optional<Date> day = calendar.dateByAdding(
                       platform::CalendarUnit::day, v - 1, calendar.startOfMonth(*month))) {
          detail += context.monthDayText(*day);
        }
      }
    }
  } else {
#ifdef NORVIK_HAVE_LUNAR_DISPLAY
    if (rule.byMonth.size() == 1 && rule.byMonthDay.size() == 1) {
      const int v = rule.byMonthDay.front();
      detail += convertToChineseMonth(rule.byMonth.front());
      detail += v == -1 ? t.lookUp("the last day") : convertToChineseDay(v);
    } else {
      detail += displayMonthDayInLunarCalendar(relativeOrNow(relative), context.calendar());
    }
#endif
  }
  if (detail.empty()) {
    const std::string period = plural ? t.lookUpFormat("Every %d years", n) : t.lookUp("Yearly");
    return t.lookUpFormat("%1$@ on %2$@", period, context.monthDayText(relativeOrNow(relative)));
  }
  if (plural) return t.lookUpFormat("%1$@ on %2$@", t.lookUpFormat("Every %d years", n), detail);
  return t.lookUpFormat("%1$@ empty on %2$@", t.lookUp("Yearly"), detail);
}

std::string describe(const Texts& t, const SVRecurrenceRulePtr& rule,
                     std::optional<std::string_view> from, bool showCount,
                     std::optional<Date> relative, bool reminderInfo) {
  if (!rule) return t.lookUp("None");
  if (from == SVRecurrenceFromDefault) {
    if (rule->isEveryOfficalWorkingDay()) return t.lookUp("Official Working Days");
    if (rule->isEveryOfficalHoliday()) return t.lookUp("official_holidays");
  }
  if (from == SVRecurrenceFromDueDate) {
    if (rule->isEbbinghaus()) return ebbinghausText(t, *rule, showCount);
    if (rule->isSpecificDate()) {
      const std::size_t m = rule->specific().byDate.size();
      return m == 0 ? std::string() : t.lookUpFormat("%d selected", m);
    }
  }
  const int n = rule->interval == 0 ? 1 : rule->interval;
  switch (rule->frequencyOrdinal) {
    case SVRecurrenceRule::daily:
      return n > 1 ? t.lookUpFormat("Every %d days", n) : t.lookUp("Every day");
    case SVRecurrenceRule::weekly:
      return weeklyText(t, *rule, n, reminderInfo, relative);
    case SVRecurrenceRule::monthly:
      return monthlyText(t, *rule, n, reminderInfo, relative);
    case SVRecurrenceRule::yearly:
      return yearlyText(t, *rule, n, reminderInfo, relative);
    default:
      return t.lookUp("None");
  }
}

std::string intervalText(const Texts& t, const SVRecurrenceRule& rule) {
  const int n = rule.interval == 0 ? 1 : rule.interval;
  const bool plural = n > 1;
  switch (rule.frequencyOrdinal) {
    case SVRecurrenceRule::daily:
      return plural ? t.lookUpFormat("%d days", n) : t.lookUp("1 day");
    case SVRecurrenceRule::weekly:
      return plural ? t.lookUpFormat("%d weeks", n) : t.lookUp("1 week");
    case SVRecurrenceRule::monthly:
      return plural ? t.lookUpFormat("%d months", n) : t.lookUp("1 month");
    case SVRecurrenceRule::yearly:
      // The singular yearly text is a format key filled with n, unlike the others.
      return plural ? t.lookUpFormat("%d years", n) : t.lookUpFormat("%d year", n);
    default:
      return {};
  }
}

}  // namespace

std::string Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(
    const platform::TextContext& context, const SVRecurrenceRulePtr& rule,
    std::optional<std::string_view> from, bool isNeedShowCount, std::optional<Date> relativeDate,
    bool isNeedReminderDateInfo) {
  try {
    return describe(Texts(context), rule, from, isNeedShowCount, relativeDate,
                    isNeedReminderDateInfo);
  } catch (const std::exception&) {
    return {};  // out of memory
  }
}

std::string Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(
    const SVRecurrenceRulePtr& rule, std::optional<std::string_view> from, bool isNeedShowCount,
    std::optional<Date> relativeDate, bool isNeedReminderDateInfo) {
  return repeatDescriptionWithRRuleByDefaultOrDueDate(platform::TextContext::current(), rule, from,
                                                      isNeedShowCount, relativeDate,
                                                      isNeedReminderDateInfo);
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

std::string Repeat::intervalDescriptionWithRRule(const platform::TextContext& context,
                                                 const SVRecurrenceRulePtr& rule) {
  if (!rule) return {};
  try {
    return intervalText(Texts(context), *rule);
  } catch (const std::exception&) {
    return {};
  }
}

std::string Repeat::intervalDescriptionWithRRule(const SVRecurrenceRulePtr& rule) {
  return intervalDescriptionWithRRule(platform::TextContext::current(), rule);
}

std::string Repeat::repeatDescriptionWithRRuleByCompletedTime(const platform::TextContext& context,
                                                              const SVRecurrenceRulePtr& rule,
                                                              bool simplified) {
  try {
    const Texts t(context);
    if (!rule) return t.lookUp("None");
    const std::string period = intervalText(t, *rule);
    return simplified ? t.lookUpFormat("%@ after completion", period)
                      : t.lookUpFormat(
                            "The next occurrence will appear %@ after completion of current "
                            "occurrence.",
                            period);
  } catch (const std::exception&) {
    return {};
  }
}

std::string Repeat::repeatDescriptionWithRRuleByCompletedTime(const SVRecurrenceRulePtr& rule,
                                                              bool simplified) {
  return repeatDescriptionWithRRuleByCompletedTime(platform::TextContext::current(), rule,
                                                   simplified);
}

}  // namespace norvik
