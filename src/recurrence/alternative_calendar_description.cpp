// Descriptions and day texts of rules on the calendars other than the Gregorian one: the Chinese,
// Korean and Vietnamese lunar calendars, the Hebrew, Hijri (three kinds), Persian and Indian
// national calendars. Conversions and the month and day names come from KMAOtherCalendar; this
// file chooses the calendar and the text locale, joins month and day in each calendar's order and
// composes the localized titles.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "norvik/calendar/lunar_display.h"
#include "norvik/calendar/solar_terms.h"
#include "norvik/environment/language_environment.h"
#include "norvik/environment/user_language.h"
#include "norvik/platform/environment.h"
#include "norvik/platform/format.h"
#include "norvik/platform/localized_string.h"
#include "norvik/platform/logger.h"
#include "norvik/platform/text_context.h"
#include "norvik/recurrence/repeat_description.h"
#include "rule_calendar.h"

namespace norvik {

namespace {

using platform::Date;
using Type = NVCalendarDateType;
using Locale = NVCalendarTextLocale;

bool is(const NVCalendarDateTypePtr& type, const NVCalendarDateTypePtr& singleton) {
  return type.get() == singleton.get();
}

// A null type carries no identifier: the calendar module knows no calendar by the empty one.
std::string_view rawValueOf(const NVCalendarDateTypePtr& type) {
  return type ? std::string_view(type->rawValue()) : std::string_view();
}

// The position of a predefined type in allCases() (NONE 0 ... HIJRI_SAUDI 9), -1 for any other
// object: the number the conversion log names the type by.
long typeOrdinal(const NVCalendarDateTypePtr& type) {
  const auto& all = Type::allCases();
  const auto it =
      std::find_if(all.begin(), all.end(), [&](const auto& entry) { return is(type, entry); });
  return it == all.end() ? -1L : static_cast<long>(it - all.begin());
}

// The language facts the text locale depends on, read from a context: the chosen interface
// language when it is one of the supported ones, else the system's first language (as the
// language predicates of NVLanguageEnvironment answer them).
struct LanguageFacts {
  bool chinese = false;
  bool traditionalChinese = false;
  bool korean = false;
  bool arabic = false;
  bool systemHebrew = false;
  bool english = false;

  explicit LanguageFacts(const platform::TextContext& context) {
    const auto& preferred = context.systemLanguages();
    const std::string_view system = preferred.empty() ? std::string_view() : preferred.front();
    auto systemIs = [system](std::initializer_list<std::string_view> prefixes) {
      return std::any_of(prefixes.begin(), prefixes.end(),
                         [system](std::string_view prefix) { return system.starts_with(prefix); });
    };
    systemHebrew = systemIs({"iw", "he"});
    const auto& chosen = context.chosenLanguage();
    const auto supported = NVUserLanguage::supportedLanguages();
    if (chosen && std::any_of(supported.begin(), supported.end(),
                              [&](const auto& entry) { return entry.code == *chosen; })) {
      chinese = *chosen == "zh-Hans" || *chosen == "zh-Hant";
      traditionalChinese = *chosen == "zh-Hant";
      korean = *chosen == "ko";
      arabic = *chosen == "ar";
      english = *chosen == "en";
      return;
    }
    chinese = systemIs({"zh-"});
    traditionalChinese = systemIs({"zh-HK", "zh-Hant", "zh-TW"});
    korean = systemIs({"ko"});
    arabic = systemIs({"ar"});
    english = systemIs({"en-"});
  }
};

// Forwards the calendar module's own reports to the library's logger.
class ForwardingLogger final : public KMALogger {
 public:
  void log(KMALogLevel level, std::string_view message) override {
    SVLoggerObjcWrapper::log(toLevel(level), message, "KMAOtherCalendar", "KMALog", 0);
  }

 private:
  static SVLogLevel toLevel(KMALogLevel level) {
    switch (level) {
      case KMALogLevel::debug:
        return SVLogLevel::debug;
      case KMALogLevel::info:
        return SVLogLevel::info;
      case KMALogLevel::warning:
        return SVLogLevel::warning;
      case KMALogLevel::error:
        break;
    }
    return SVLogLevel::error;
  }
};

// Hands the calendar module the default services it lacks, once per process, before the first
// conversion. Services the host set beforehand are kept: every holder is filled only when empty,
// each in one atomic step, and the function-local static makes concurrent first calls wait for
// the one that wires.
void wireCalendarModuleOnce() {
  static const bool wired = [] {
    KMACalendarWrapperUtils::shared().setDateConvertIfUnset(std::make_shared<KMADateConvert>());
    KMADarwinUtils::shared().setConvertIfUnset(std::make_shared<KMAConvert>());
    KMALog::shared().addLoggerIfEmpty(std::make_shared<ForwardingLogger>());
    return true;
  }();
  (void)wired;
}

// Month and day texts joined in the order a reader of the calendar expects.
std::string joinMonthAndDay(const NVCalendarDateTypePtr& type,
                            const NVCalendarTextLocalePtr& locale, const std::string& month,
                            const std::string& day) {
  if (is(type, Type::VIETNAM())) return platform::format("%@/%@", day, month);
  if (is(type, Type::HIJRI()) || is(type, Type::HIJRI_SAUDI()) || is(type, Type::HIJRI_KUWAITI()) ||
      is(type, Type::PERSIAN())) {
    return locale.get() == Locale::EN().get() ? platform::format("%@ %@", month, day)
                                              : platform::format("%@ %@", day, month);
  }
  if (is(type, Type::HEBCAL()) || is(type, Type::SHAKA())) {
    return platform::format("%@ %@", day, month);
  }
  return platform::format("%@%@", month, day);
}

// The calendar type a rule runs on, by the first of its calendar predicates that holds.
// The title keys of a rule, monthly and yearly, by the same order of predicates.
struct Titles {
  std::string_view monthly;
  std::string_view yearly;
};

Titles titlesOfRule(const SVRecurrenceRule& rule) {
  if (rule.isKorean()) return {"Korean Lunar Monthly", "Korean Lunar Yearly"};
  if (rule.isHebcal()) return {"Hebrew Monthly", "Hebrew Yearly"};
  if (rule.isShaka()) return {"Indian Monthly", "Indian Yearly"};
  if (rule.isPersian()) return {"Persian Monthly", "Persian Yearly"};
  if (rule.isVietnam()) return {"Vietnamese Lunar Monthly", "Vietnamese Lunar Yearly"};
  if (rule.isHijri() || rule.isKuwaiti() || rule.isSaudi()) {
    return {"Hijri Monthly", "Hijri Yearly"};
  }
  return {"Lunar Monthly", "Lunar Yearly"};
}

// The day text of a monthly rule: the one day it names, else the day of `date`.
std::string monthlyDayText(const platform::TextContext& context, const SVRecurrenceRule& rule,
                           const NVCalendarDateTypePtr& type, Date date,
                           const platform::Calendar& calendar) {
  if (rule.byMonthDay.size() == 1) {
    const int v = rule.byMonthDay.front();
    if (v == -1) return std::string(context.lookUp("the last day"));
    if (rule.isLunar()) return convertToChineseDay(v);
    // Only the name of day v is wanted: any year and month that have such a day will do.
    return Repeat::dayStringInCalendarTypeYear(context, 2025, 1, v, false, calendar, type, false,
                                               false)
        .text;
  }
  if (rule.isLunar()) return displayDayInLunarCalendar(date, calendar);
  return Repeat::dayStringInCalendarType(context, date, calendar, type, true, false, false).text;
}

// The month-and-day text of a yearly rule: the month and day it names, in the calendar year of
// `date`, else the month and day of `date`.
std::string yearlyDayText(const platform::TextContext& context, const SVRecurrenceRule& rule,
                          const NVCalendarDateTypePtr& type, Date date,
                          const platform::Calendar& calendar) {
  if (rule.byMonth.size() == 1 && rule.byMonthDay.size() == 1) {
    const int m = rule.byMonth.front();
    const int v = rule.byMonthDay.front();
    if (rule.isLunar()) {
      return convertToChineseMonth(m) +
             (v == -1 ? std::string(context.lookUp("the last day")) : convertToChineseDay(v));
    }
    const CalendarDate current = Repeat::dayInCalendarType(date, calendar, type);
    return Repeat::dayStringInCalendarTypeYear(context, current.year, m, v, current.leap, calendar,
                                               type, true, true)
        .text;
  }
  if (rule.isLunar()) return displayMonthDayInLunarCalendar(date, calendar);
  return Repeat::dayStringInCalendarType(context, date, calendar, type, true, true, true).text;
}

std::string describeLunarRule(const platform::TextContext& context, const SVRecurrenceRulePtr& rule,
                              Date date, const platform::Calendar& calendar) {
  if (!rule) return std::string(context.lookUp("None"));
  const NVCalendarDateTypePtr& type = detail::calendarTypeOfRule(*rule);
  const int n = rule->interval == 0 ? 1 : rule->interval;
  const bool monthly = rule->frequencyOrdinal == SVRecurrenceRule::monthly;
  const bool yearly = rule->frequencyOrdinal == SVRecurrenceRule::yearly;
  if (!monthly && !yearly) return std::string(context.lookUp("None"));
  if (n > 1) return {};
  const Titles titles = titlesOfRule(*rule);
  const std::string text = monthly ? monthlyDayText(context, *rule, type, date, calendar)
                                   : yearlyDayText(context, *rule, type, date, calendar);
  // Every branch yields a text, possibly empty; an empty one keeps its parentheses.
  const std::string_view title = context.lookUp(monthly ? titles.monthly : titles.yearly);
  const std::string detail =
      platform::formatLocalized(context, " (%@)", kNVSpecialStringTable,
                                context.lookUp(" (%@)", kNVSpecialStringTable), text);
  return platform::format("%@%@", title, detail);
}

}  // namespace

const NVCalendarTextLocalePtr& Repeat::getCalendarTextLocal(const NVCalendarDateTypePtr& type) {
  return getCalendarTextLocal(platform::TextContext::current(), type);
}

const NVCalendarTextLocalePtr& Repeat::getCalendarTextLocal(const platform::TextContext& context,
                                                            const NVCalendarDateTypePtr& type) {
  const LanguageFacts language(context);
  if (language.chinese) return language.traditionalChinese ? Locale::ZHHK() : Locale::ZHCN();
  if (language.korean) return Locale::KO();
  if (language.arabic) return Locale::AR();
  if (language.systemHebrew) return Locale::IW();
  // A Hebrew-calendar text for a reader of neither Hebrew nor English is written in Arabic.
  if (is(type, Type::HIJRI()) || is(type, Type::HEBCAL())) {
    return language.english ? Locale::EN() : Locale::AR();
  }
  if (is(type, Type::PERSIAN())) return language.english ? Locale::EN() : Locale::FA();
  return Locale::EN();
}

CalendarDate Repeat::dayInCalendarType(Date date, const std::optional<platform::Calendar>& calendar,
                                       const NVCalendarDateTypePtr& type) {
  try {
    if (is(type, Type::NONE())) return {};
    const platform::DateComponents parts =
        (calendar ? *calendar : platform::Calendar::autoupdatingCurrent()).components(date);
    const int year = parts.year.value_or(0);
    const int month = parts.month.value_or(0);
    const int day = parts.day.value_or(0);
    if (month < 1 || day < 1) return {};
    wireCalendarModuleOnce();
    KMAError error;
    const std::optional<CalendarDate> converted =
        KMAOtherCalendar::shared().gregorianToCalendarType(rawValueOf(type), year, month, day,
                                                           &error);
    if (!converted) {
      NV_LOG_ERROR(
          platform::format("error gregorianToCalendar type:%ld year:%ld month:%ld day:%ld error:%@",
                           typeOrdinal(type), static_cast<long>(year), static_cast<long>(month),
                           static_cast<long>(day), error.description));
      return {};
    }
    return *converted;
  } catch (const std::exception&) {
    return {};  // out of memory
  }
}

CalendarDayText Repeat::dayStringInCalendarTypeYear(
    int year, int month, int day, bool leap, const std::optional<platform::Calendar>& calendar,
    const NVCalendarDateTypePtr& type, bool showMonthString, bool monthFirstDayShowMonthString) {
  return dayStringInCalendarTypeYear(platform::TextContext::current(), year, month, day, leap,
                                     calendar, type, showMonthString, monthFirstDayShowMonthString);
}

CalendarDayText Repeat::dayStringInCalendarTypeYear(
    const platform::TextContext& context, int year, int month, int day, bool leap,
    const std::optional<platform::Calendar>& /*calendar*/, const NVCalendarDateTypePtr& type,
    bool showMonthString, bool monthFirstDayShowMonthString) {
  try {
    if (is(type, Type::NONE()) || (year == 0 && month == 0 && day == 0)) return {};
    const NVCalendarTextLocalePtr& locale = getCalendarTextLocal(context, type);
    wireCalendarModuleOnce();
    const std::vector<std::string> texts = KMAOtherCalendar::shared().formatCalendarType(
        rawValueOf(type), year, month, day, leap, locale->rawValue());
    const std::string monthText = texts.size() > 1 ? texts[1] : std::string();
    const std::string dayText = texts.size() > 2 ? texts[2] : std::string();
    CalendarDayText result;
    result.isFirstDay = day == 1;
    if (showMonthString) {
      result.text =
          joinMonthAndDay(type, locale, monthText,
                          day == -1 ? std::string(context.lookUp("the last day")) : dayText);
    } else {
      result.text = (day == 1 && monthFirstDayShowMonthString) ? monthText : dayText;
    }
    return result;
  } catch (const std::exception&) {
    return {};
  }
}

CalendarDayText Repeat::dayStringInCalendarType(Date date,
                                                const std::optional<platform::Calendar>& calendar,
                                                const NVCalendarDateTypePtr& type,
                                                bool isSupportSolarTerm, bool showMonthString,
                                                bool monthFirstDayShowMonthString) {
  return dayStringInCalendarType(platform::TextContext::current(), date, calendar, type,
                                 isSupportSolarTerm, showMonthString, monthFirstDayShowMonthString);
}

CalendarDayText Repeat::dayStringInCalendarType(const platform::TextContext& context, Date date,
                                                const std::optional<platform::Calendar>& calendar,
                                                const NVCalendarDateTypePtr& type,
                                                bool isSupportSolarTerm, bool showMonthString,
                                                bool monthFirstDayShowMonthString) {
  try {
    if (is(type, Type::NONE())) return {};
    const CalendarDate converted = dayInCalendarType(date, calendar, type);
    if (converted.year == 0 && converted.month == 0 && converted.day == 0) return {};
    if (is(type, Type::LUNAR()) && isSupportSolarTerm) {
      const NVCalendarTextLocalePtr& locale = getCalendarTextLocal(context, type);
      if (locale.get() == Locale::ZHCN().get() || locale.get() == Locale::ZHHK().get()) {
        if (auto term = NVSolarTermsManager::sharedManager().solarTermByDate(date, std::nullopt)) {
          return {false, std::move(*term)};
        }
      }
    }
    return dayStringInCalendarTypeYear(context, converted.year, converted.month, converted.day,
                                       converted.leap, calendar, type, showMonthString,
                                       monthFirstDayShowMonthString);
  } catch (const std::exception&) {
    return {};
  }
}

std::string Repeat::repeatDescriptionWithLunarRRule(
    const SVRecurrenceRulePtr& rule, Date date, const std::optional<platform::Calendar>& calendar) {
  return repeatDescriptionWithLunarRRule(platform::TextContext::current(), rule, date, calendar);
}

std::string Repeat::repeatDescriptionWithLunarRRule(
    const platform::TextContext& context, const SVRecurrenceRulePtr& rule, Date date,
    const std::optional<platform::Calendar>& calendar) {
  try {
    return describeLunarRule(context, rule, date, calendar ? *calendar : context.calendar());
  } catch (const std::exception&) {
    return {};  // out of memory
  }
}

}  // namespace norvik
