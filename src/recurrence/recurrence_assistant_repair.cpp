// Rule repair: the day fields of a rule follow a moved date, and the first occurrence of a
// due-date object.
#include <cmath>

#include "calendar/calendar_days.h"
#include "norvik/calendar/calendar_types.h"
#include "norvik/calendar/lunisolar.h"
#include "norvik/platform/calendar.h"
#include "norvik/platform/format.h"
#include "norvik/platform/logger.h"
#include "norvik/platform/time_zone.h"
#include "norvik/recurrence/recurrence_assistant.h"
#include "norvik/recurrence/repeat_description.h"
#include "recurrence/recurrence_assistant_internal.h"
#include "recurrence/rule_calendar.h"

namespace norvik {
namespace {

void logAbnormalRule(std::string_view text, const SVRecurrenceError& error,
                     std::string_view function, int line) {
  // The parser always explains a refusal; without an explanation there is nothing to report.
  if (error.description.empty()) return;
  SVLoggerObjcWrapper::logError(
      platform::format("abnormal recurrence rule: %@ %@", text, error.description), __FILE__,
      function, line);
}

void repairLunar(SVRecurrenceRule& rule, platform::Date date) {
  const auto lunar =
      chineseLunarDateOfCivilDay(detail::civilDayInZone(platform::TimeZone::current(), date));
  if (!lunar) return;
  // The leap flag is deliberately not carried over: the rule keeps the plain month.
  if (rule.isYearly()) {
    rule.setByMonth({lunar->month});
    rule.setByMonthDay({lunar->day});
  } else if (rule.isMonthly()) {
    rule.setByMonthDay({lunar->day});
  }
}

void repairOtherCalendar(SVRecurrenceRule& rule, platform::Date date) {
  const CalendarDate converted =
      Repeat::dayInCalendarType(date, std::nullopt, detail::calendarTypeOfRule(rule));
  // A month or day of 0 is a part the conversion could not give; it is not written.
  if (rule.isYearly()) {
    if (converted.month != 0) rule.setByMonth({converted.month});
    if (converted.day != 0) rule.setByMonthDay({converted.day});
  } else if (rule.isMonthly()) {
    if (converted.day != 0) rule.setByMonthDay({converted.day});
  }
}

void repairGregorian(SVRecurrenceRule& rule, platform::Date date) {
  const auto day = detail::calendarDay(platform::Calendar::autoupdatingCurrent(), date);
  if (!day) return;
  const int weekdayOrdinal = (day->day - 1) / 7 + 1;
  const SVRecurrenceWeekday weekday(day->weekday);
  switch (rule.frequencyOrdinal) {
    case SVRecurrenceRule::yearly:
      rule.setByMonth({day->month});
      rule.setByMonthDay({day->day});
      break;
    case SVRecurrenceRule::monthly:
      if (rule.byDay.size() == 1) {
        // The last Friday becomes, say, the 4th Friday: the ordinal is read from the date.
        rule.setByDay({SVRecurrenceWeekdayNumber(weekdayOrdinal, weekday)});
      } else if (rule.byMonthDay.size() == 1 || (rule.byDay.empty() && rule.byMonthDay.empty())) {
        rule.setByMonthDay({day->day});
      }
      break;
    case SVRecurrenceRule::weekly:
      if (rule.byDay.size() <= 1) rule.setByDay({SVRecurrenceWeekdayNumber(0, weekday)});
      break;
    default:
      break;
  }
}

}  // namespace

std::string SVRecurrenceAssistant::byDay_fixedRecurrenceRuleString(std::string_view text,
                                                                   std::string_view recurrenceFrom,
                                                                   platform::Date date) {
  if (recurrenceFrom != SVRecurrenceFromDefault) return std::string(text);
  SVRecurrenceError error;
  std::shared_ptr<SVRecurrenceRule> rule = SVRecurrenceRule::ruleWithIcalString(text, &error);
  if (!rule) {
    logAbnormalRule(text, error, __func__, __LINE__);
    return std::string(text);
  }
  rule = byDay_fixedRecurrenceRule(std::move(rule), recurrenceFrom, date);
  if (!rule) return std::string(text);
  return rule->toIcal();
}

std::shared_ptr<SVRecurrenceRule> SVRecurrenceAssistant::byDay_fixedRecurrenceRule(
    std::shared_ptr<SVRecurrenceRule> rule, std::string_view recurrenceFrom, platform::Date date) {
  if (!rule || recurrenceFrom != SVRecurrenceFromDefault) return rule;
  if (!std::isfinite(date.timeIntervalSince1970())) return rule;
  if (rule->isLunar()) {
    repairLunar(*rule, date);
  } else if (rule->isOtherCalendars()) {
    repairOtherCalendar(*rule, date);
  } else {
    repairGregorian(*rule, date);
  }
  return rule;
}

std::optional<platform::Date> SVRecurrenceAssistant::firstOccurenceDateForRecurringObjectIfExists(
    const SVSimpleRecurringObject& object) {
  const std::string& from = object.recurrenceFromAsRecurringObject();
  const std::string& text = object.recurrenceRuleStringAsRecurringObject();
  const std::optional<platform::Date> start = object.startDateAsRecurringObject();
  if (from.empty() || text.empty() || !start) return std::nullopt;
  SVRecurrenceError error;
  const auto rule = SVRecurrenceRule::ruleWithIcalString(text, &error);
  if (!rule) {
    logAbnormalRule(text, error, __func__, __LINE__);
    return std::nullopt;
  }
  if (from != SVRecurrenceFromDueDate ||
      !(rule->isWeekly() || rule->isMonthly() || rule->isYearly())) {
    return std::nullopt;
  }
  // The search starts a day before the start so that the start date itself can be the first
  // occurrence; the day is a calendar day in the object's zone, keeping the wall-clock time.
  const std::optional<platform::Date> dayBefore = detail::sameTimeDayBefore(object, *start);
  if (!dayBefore) return std::nullopt;
  SVSimpleRecurringObject earlier = object;
  earlier.setStartDate(*dayBefore);
  // The rule read above is the object's text: it is expanded without being read again.
  const std::vector<platform::Date> dates =
      detail::occurrenceDatesOfRule(*rule, earlier, *start, 1, true);
  if (dates.empty()) return std::nullopt;
  return dates.front();
}

}  // namespace norvik
