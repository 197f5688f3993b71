// norvik repair: a rule's day fields rewritten from a moved date.
#include <iostream>

#include "norvik/recurrence/recurrence_assistant.h"
#include "recurrence_cli.h"

namespace norvik::cli {
namespace {

struct RepairArgs {
  std::string rule;
  std::string date;
  std::string from = "default";
};

void addRepairCommand(CLI::App& app, const GlobalOptions& options, Action& run) {
  auto args = std::make_shared<RepairArgs>();
  CLI::App* command =
      app.add_subcommand("repair", "Rewrite a rule's weekday or month-day fields from a new date");
  command->add_option("RULE", args->rule, "RRULE text; unreadable text comes back unchanged")
      ->required();
  command->add_option("--date", args->date, "The new date, YYYY-MM-DD[THH:MM]")->required();
  command->add_option("--from", args->from, "Recurrence-from mode (default: default)")
      ->check(CLI::IsMember({"default", "duedate"}));
  command->callback([&options, &run, args] {
    run = [&options, args] {
      const platform::Date date = parseLocalDate(args->date);
      const std::string repaired = SVRecurrenceAssistant::byDay_fixedRecurrenceRuleString(
          args->rule, recurrenceFromOption(args->from), date);
      if (options.json) {
        printJSON({{"operation", "byDay_fixedRecurrenceRuleString"},
                   {"rule", args->rule},
                   {"recurrenceFrom", std::string(recurrenceFromOption(args->from))},
                   {"date", date.timeIntervalSince1970()},
                   {"result", repaired},
                   {"changed", repaired != args->rule}});
        return 0;
      }
      std::cout << repaired << "\n";
      return 0;
    };
  });
}

const CommandRegistration registration(addRepairCommand);

}  // namespace
}  // namespace norvik::cli
