#pragma once
// One-line texts for recurrence rules: "Every day", "Every 2 weeks on Mon, Wed", "Monthly (the 15th
// day)", "Yearly on Mar 5", "Ebbinghaus Curve, 3rd", "3 days after completion".
//
// Every English text is a key looked up in the interface language of a text context; weekday names
// and the month-and-day texts come from ICU in the context's locale, relative dates are read in its
// calendar and time zone. Each function has a form taking a platform::TextContext and a form
// without one, which uses TextContext::current() (the process-wide choice). One text is made from
// one context from start to end; no lock is taken, and any thread may call any of them.
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "norvik/calendar/calendar_types.h"
#include "norvik/calendar/other_calendar.h"
#include "norvik/platform/calendar.h"
#include "norvik/platform/date.h"
#include "norvik/platform/text_context.h"
#include "norvik/recurrence/recurrence_rule.h"

namespace norvik {

using SVRecurrenceRulePtr = std::shared_ptr<const SVRecurrenceRule>;
using NVCalendarDateTypePtr = std::shared_ptr<const NVCalendarDateType>;
using NVCalendarTextLocalePtr = std::shared_ptr<const NVCalendarTextLocale>;

// The text of a day in another calendar: whether the day is the first of its month, and the text
// (possibly empty). The day-text operations below return this pair, as the conversion returns its
// year, month, day and leap flag as a CalendarDate: typed fields rather than lists of boxed values,
// so an entry can be neither missing nor of the wrong kind.
struct CalendarDayText {
  bool isFirstDay = false;
  std::string text;
  bool operator==(const CalendarDayText&) const = default;
};

struct Repeat {
  // The description of `rule`. `from` is the recurrence-from mode (SVRecurrenceFromDefault,
  // SVRecurrenceFromDueDate; std::nullopt counts as neither). `isNeedShowCount` makes an Ebbinghaus
  // rule show its repetition number; `isNeedReminderDateInfo` false drops the day details of
  // weekly, monthly and yearly rules ("Weekly"). `relativeDate` supplies the weekday, lunar day or
  // year a rule does not name itself; std::nullopt means now. A null rule, and any frequency other
  // than daily to yearly, gives the localized "None"; a picked-dates rule without dates gives "".
  static std::string repeatDescriptionWithRRuleByDefaultOrDueDate(
      const SVRecurrenceRulePtr& rule, std::optional<std::string_view> from, bool isNeedShowCount,
      std::optional<platform::Date> relativeDate, bool isNeedReminderDateInfo);
  // The same in `context`.
  static std::string repeatDescriptionWithRRuleByDefaultOrDueDate(
      const platform::TextContext& context, const SVRecurrenceRulePtr& rule,
      std::optional<std::string_view> from, bool isNeedShowCount,
      std::optional<platform::Date> relativeDate, bool isNeedReminderDateInfo);
  // The same with show-count false and reminder-date-info true: the show-count flag given here is
  // ignored on purpose.
  static std::string repeatDescriptionWithRRuleByDefaultOrDueDate(
      const SVRecurrenceRulePtr& rule, std::optional<std::string_view> from, bool isNeedShowCount,
      std::optional<platform::Date> relativeDate);
  // The same with show-count false.
  static std::string repeatDescriptionWithRRuleByDefaultOrDueDate(
      const SVRecurrenceRulePtr& rule, std::optional<std::string_view> from,
      std::optional<platform::Date> relativeDate, bool isNeedReminderDateInfo);
  // The same with show-count false and reminder-date-info true.
  static std::string repeatDescriptionWithRRuleByDefaultOrDueDate(
      const SVRecurrenceRulePtr& rule, std::optional<std::string_view> from,
      std::optional<platform::Date> relativeDate);

  // The period of `rule`: "3 days", "1 week", "2 months", "1 year". The empty string for a null
  // rule or a frequency other than daily to yearly.
  static std::string intervalDescriptionWithRRule(const SVRecurrenceRulePtr& rule);
  static std::string intervalDescriptionWithRRule(const platform::TextContext& context,
                                                  const SVRecurrenceRulePtr& rule);
  // "<period> after completion" (simplified) or the full sentence "The next occurrence will appear
  // <period> after completion of current occurrence."; the localized "None" for a null rule.
  static std::string repeatDescriptionWithRRuleByCompletedTime(const SVRecurrenceRulePtr& rule,
                                                               bool simplified);
  static std::string repeatDescriptionWithRRuleByCompletedTime(const platform::TextContext& context,
                                                               const SVRecurrenceRulePtr& rule,
                                                               bool simplified);

  // ---- Rules and days on the other calendars ---------------------------------------------------
  //
  // Calendar types are recognised by identity: only the NVCalendarDateType singletons themselves
  // (NVCalendarDateType::HEBCAL() ...) select a calendar's rules; an equal but distinct object, or
  // null, is treated as an unknown type. A calendar argument left absent means the shared
  // auto-updating current calendar. Conversions go through KMAOtherCalendar, which is wired with
  // the default services (and a logger forwarding to SVLoggerObjcWrapper) once, before the first
  // conversion, wherever the host has not wired it itself.

  // The text locale calendar texts are written in, first match winning: the interface language
  // Chinese (ZHHK for traditional, else ZHCN), Korean (KO), Arabic (AR); the system language
  // Hebrew (IW); for HIJRI and HEBCAL, EN when the interface language is English, else AR; for
  // PERSIAN, EN or else FA; EN for everything else.
  static const NVCalendarTextLocalePtr& getCalendarTextLocal(const NVCalendarDateTypePtr& type);
  // The same for the languages of `context` (its chosen language, else its system languages).
  static const NVCalendarTextLocalePtr& getCalendarTextLocal(const platform::TextContext& context,
                                                             const NVCalendarDateTypePtr& type);

  // The date of `date`'s day (read in `calendar`) in the calendar of `type`: year, month, day and
  // leap flag, numbered as in other_calendar.h. {0, 0, 0, false} for NONE, a date whose month or
  // day cannot be read, and a failed conversion (which is logged through SVLoggerObjcWrapper).
  // Any other type, a distinct one included, is converted by its identifier.
  static CalendarDate dayInCalendarType(platform::Date date,
                                        const std::optional<platform::Calendar>& calendar,
                                        const NVCalendarDateTypePtr& type);

  // The text of day `day` of month `month` (`leap`) of `year` in the calendar of `type`.
  // With `showMonthString` the month and day texts joined in the calendar's order ("14 Nisan",
  // "Ramadan 1" in English, "5/8" for the Vietnamese calendar, "八月初五"), a day -1 reading
  // "the last day"; otherwise the day text, or the month text on day 1 when
  // `monthFirstDayShowMonthString`. isFirstDay is day == 1. {false, ""} for NONE and for
  // year, month and day all 0. A month or day the calendar does not have (month 14, day 0 or -2)
  // has the empty text, so its join is only the other part. `calendar` is accepted for symmetry
  // with the date form and unused.
  static CalendarDayText dayStringInCalendarTypeYear(
      int year, int month, int day, bool leap, const std::optional<platform::Calendar>& calendar,
      const NVCalendarDateTypePtr& type, bool showMonthString, bool monthFirstDayShowMonthString);
  static CalendarDayText dayStringInCalendarTypeYear(
      const platform::TextContext& context, int year, int month, int day, bool leap,
      const std::optional<platform::Calendar>& calendar, const NVCalendarDateTypePtr& type,
      bool showMonthString, bool monthFirstDayShowMonthString);

  // The text of `date`'s day in the calendar of `type`, as dayStringInCalendarTypeYear gives it
  // for the converted date. For LUNAR with `isSupportSolarTerm` and a Chinese text locale, the
  // day's solar term ({false, "清明"}) when it is one. {false, ""} for NONE and failed conversions.
  static CalendarDayText dayStringInCalendarType(platform::Date date,
                                                 const std::optional<platform::Calendar>& calendar,
                                                 const NVCalendarDateTypePtr& type,
                                                 bool isSupportSolarTerm, bool showMonthString,
                                                 bool monthFirstDayShowMonthString);
  static CalendarDayText dayStringInCalendarType(const platform::TextContext& context,
                                                 platform::Date date,
                                                 const std::optional<platform::Calendar>& calendar,
                                                 const NVCalendarDateTypePtr& type,
                                                 bool isSupportSolarTerm, bool showMonthString,
                                                 bool monthFirstDayShowMonthString);

  // The description of a monthly or yearly rule on another calendar: "Hebrew Yearly (14 Nisan)",
  // "Lunar Monthly (初五)", the localized title and " (%@)" with the day text (kept, in
  // parentheses, even when empty). `date` supplies the day a rule does not name itself and the
  // year of a yearly month and day. The empty string for an interval above 1 (only singular rules
  // are described); the localized "None" for a null rule and any other frequency. A Gregorian
  // rule has no calendar to name its day: it reads as a Chinese lunar one with an empty day text
  // ("Lunar Monthly ()").
  static std::string repeatDescriptionWithLunarRRule(
      const SVRecurrenceRulePtr& rule, platform::Date date,
      const std::optional<platform::Calendar>& calendar = std::nullopt);
  // The same in `context`; an absent calendar means the context's calendar.
  static std::string repeatDescriptionWithLunarRRule(
      const platform::TextContext& context, const SVRecurrenceRulePtr& rule, platform::Date date,
      const std::optional<platform::Calendar>& calendar = std::nullopt);
};

}  // namespace norvik
