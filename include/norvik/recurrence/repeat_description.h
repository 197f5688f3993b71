#pragma once
// One-line texts for recurrence rules: "Every day", "Every 2 weeks on Mon, Wed", "Monthly (the 15th
// day)", "Yearly on Mar 5", "Ebbinghaus Curve, 3rd", "3 days after completion".
//
// Every English text is a key looked up in the user's interface language (the library's localized
// lookup); weekday names and the month-and-day texts come from ICU in that language. The functions
// keep no state but cached formatters and may be called from any thread.
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "norvik/platform/date.h"
#include "norvik/recurrence/recurrence_rule.h"

namespace norvik {

using SVRecurrenceRulePtr = std::shared_ptr<const SVRecurrenceRule>;

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
  // "<period> after completion" (simplified) or the full sentence "The next occurrence will appear
  // <period> after completion of current occurrence."; the localized "None" for a null rule.
  static std::string repeatDescriptionWithRRuleByCompletedTime(const SVRecurrenceRulePtr& rule,
                                                               bool simplified);
};

}  // namespace norvik
