#pragma once
// Helpers shared by the rule commands (rule, describe, interval, after-completion).
#include <memory>
#include <string>

#include "cli.h"
#include "norvik/recurrence/recurrence_rule.h"

namespace norvik::cli {

// The rule read from RULE, or a usage error that says what is wrong with it.
inline std::shared_ptr<const SVRecurrenceRule> parseRuleArgument(const std::string& text) {
  SVRecurrenceError error;
  auto rule = SVRecurrenceRule::ruleWithIcalString(text, &error);
  if (!rule) throw UsageError("invalid rule: " + error.description);
  return rule;
}

}  // namespace norvik::cli
