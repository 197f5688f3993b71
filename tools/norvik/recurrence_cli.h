#pragma once
// Helpers shared by the rule commands (rule, describe, interval, after-completion, repair,
// occurrences, first-occurrence).
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "cli.h"
#include "norvik/platform/calendar.h"
#include "norvik/recurrence/recurrence_rule.h"

namespace norvik::cli {

// The rule read from RULE, or a usage error that says what is wrong with it.
inline std::shared_ptr<const SVRecurrenceRule> parseRuleArgument(const std::string& text) {
  SVRecurrenceError error;
  auto rule = SVRecurrenceRule::ruleWithIcalString(text, &error);
  if (!rule) throw UsageError("invalid rule: " + error.description);
  return rule;
}

// YYYY-MM-DD or YYYY-MM-DDTHH:MM, local time in the current time zone; a usage error otherwise.
inline platform::Date parseLocalDate(const std::string& text) {
  int y = 0, mo = 0, d = 0, h = 0, mi = 0;
  char tail = 0;
  const int n = std::sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d%c", &y, &mo, &d, &h, &mi, &tail);
  if (!(n == 3 && text.size() == 10) && !(n == 5 && text.size() == 16)) {
    throw UsageError("'" + text + "' is not a date (YYYY-MM-DD or YYYY-MM-DDTHH:MM)");
  }
  platform::DateComponents components;
  components.year = y;
  components.month = mo;
  components.day = d;
  components.hour = h;
  components.minute = mi;
  const auto date = platform::Calendar::currentGregorian().dateFromComponents(components);
  if (!date || platform::Calendar::currentGregorian().components(*date).day != d) {
    throw UsageError("'" + text + "' is not a calendar date");
  }
  return *date;
}

// YYYY-MM-DDTHH:MM:SS of an instant in the current time zone.
inline std::string occurrenceDateText(platform::Date date) {
  const platform::DateComponents c = platform::Calendar::currentGregorian().components(date);
  char buffer[48];
  std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02dT%02d:%02d:%02d", c.year.value_or(0),
                c.month.value_or(0), c.day.value_or(0), c.hour.value_or(0), c.minute.value_or(0),
                c.second.value_or(0));
  return buffer;
}

// The mode constant of a --from value ("default" or "duedate").
inline std::string_view recurrenceFromOption(const std::string& value) {
  return value == "duedate" ? SVRecurrenceFromDueDate : SVRecurrenceFromDefault;
}

}  // namespace norvik::cli
