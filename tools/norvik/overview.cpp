// The main job of norvik with no arguments: this month with its lunar texts, festivals and solar
// terms, and how a few typical repeat rules read in the interface language.
#include <iostream>

#include "cli.h"
#include "norvik/recurrence/recurrence_rule.h"
#include "norvik/recurrence/repeat_description.h"

namespace norvik::cli {
namespace {

constexpr const char* kExampleRules[] = {
    "FREQ=DAILY;INTERVAL=1",
    "FREQ=WEEKLY;INTERVAL=2;BYDAY=MO,WE",
    "FREQ=WEEKLY;BYDAY=MO,TU,WE,TH,FR",
    "FREQ=MONTHLY;BYMONTHDAY=-1",
    "FREQ=MONTHLY;BYDAY=2TU",
    "FREQ=YEARLY;BYMONTH=3;BYMONTHDAY=5",
    "FREQ=MONTHLY;RSCALE=CHINESE;BYMONTHDAY=5",
    "FREQ=YEARLY;RSCALE=CHINESE;BYMONTH=8;BYMONTHDAY=15",
};

}  // namespace

int runOverview(const GlobalOptions& options) {
  nlohmann::json rules = nlohmann::json::array();
  for (const char* text : kExampleRules) {
    std::string description = Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(
        SVRecurrenceRule::ruleWithIcalString(text, nullptr), SVRecurrenceFromDefault, std::nullopt);
    rules.push_back({{"rule", text}, {"repeatDescription", description}});
  }
  if (options.json) {
    printJSON({{"rules", rules}});
    return 0;
  }
  int status = runMonth(options, MonthRequest{});
  std::cout << "\n";
  for (const auto& rule : rules) {
    std::cout << "  " << rule["repeatDescription"].get<std::string>() << "    ("
              << rule["rule"].get<std::string>() << ")\n";
  }
  return status;
}

}  // namespace norvik::cli
