#pragma once
// Helpers shared by the rule commands (rule, describe, interval, after-completion, repair,
// occurrences, first-occurrence).
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

#include "arguments.h"
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
