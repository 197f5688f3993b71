#include <norvik/norvik.h>

#include <iostream>

// Uses the installed library as an application would, without NORVIK_MAIN_BUNDLE: the
// translations are found beside the library. Describes a rule in German through a context of its
// own and through the process-wide language.
int main() {
  using namespace norvik;
  platform::Value row = platform::Dictionary{{"priority", 3}, {"title", "Buy milk"}};
  auto json = platform::encodeJSON(row);
  std::cout << json.value_or("") << "\n";
  if (json != std::optional<std::string>(R"({"priority":3,"title":"Buy milk"})")) return 1;

  const auto rule = SVRecurrenceRule::ruleWithIcalString("FREQ=WEEKLY;INTERVAL=2;BYDAY=MO,FR");
  const platform::Date tuesday(1709640000.0);
  const auto german = platform::TextContext::withLanguage("de");
  const std::string own = Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(
      german, rule, std::nullopt, false, tuesday, true);
  NVUserLanguage::setProcessUserLanguageType(14);  // German for this process
  const std::string processWide = Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(
      rule, std::nullopt, false, tuesday, true);
  std::cout << own << "\n" << processWide << "\n";
  return own == "Alle 2 Wochen am Mo, Fr" && processWide == own ? 0 : 1;
}
