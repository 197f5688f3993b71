#pragma once
// Helpers shared by the rule commands (rule, describe, interval, after-completion).
#include <memory>
#include <string>

#include "cli.h"
#include "norvik/environment/user_language.h"
#include "norvik/recurrence/recurrence_rule.h"

namespace norvik::cli {

// Chooses the interface language named by --lang (a supported code such as "de" or "zh-Hans") in
// the run's application-group container. Unknown codes are a usage error.
inline void applyLanguageOption(const GlobalOptions& options) {
  if (options.lang.empty()) return;
  for (const auto& entry : NVUserLanguage::supportedLanguages()) {
    if (entry.code == options.lang) {
      if (!NVUserLanguage::setUserLanguageType(entry.type)) {
        NVUserLanguage::updateUserLanguageAndNotify();
      }
      return;
    }
  }
  throw UsageError("unknown language code '" + options.lang + "'");
}

// The rule read from RULE, or a usage error that says what is wrong with it.
inline std::shared_ptr<const SVRecurrenceRule> parseRuleArgument(const std::string& text) {
  SVRecurrenceError error;
  auto rule = SVRecurrenceRule::ruleWithIcalString(text, &error);
  if (!rule) throw UsageError("invalid rule: " + error.description);
  return rule;
}

}  // namespace norvik::cli
