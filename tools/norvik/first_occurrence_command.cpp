// norvik first-occurrence: the first occurrence of a due-date rule.
#include <iostream>

#include "norvik/recurrence/recurrence_assistant.h"
#include "recurrence_cli.h"

namespace norvik::cli {
namespace {

struct FirstOccurrenceArgs {
  std::string rule;
  std::string start;
  std::string from = "duedate";
};

void addFirstOccurrenceCommand(CLI::App& app, const GlobalOptions& options, Action& run) {
  auto args = std::make_shared<FirstOccurrenceArgs>();
  CLI::App* command = app.add_subcommand(
      "first-occurrence", "The first occurrence of a due-date rule: the start itself or later");
  command->add_option("RULE", args->rule, "RRULE text (weekly, monthly or yearly)")->required();
  command->add_option("--start", args->start, "Start date, YYYY-MM-DD[THH:MM]")->required();
  command->add_option("--from", args->from, "Recurrence-from mode (default: duedate)")
      ->check(CLI::IsMember({"default", "duedate"}));
  command->callback([&options, &run, args] {
    run = [&options, args] {
      const platform::Date start = parseLocalDate(args->start);
      SVSimpleRecurringObject object;
      object.setStartDate(start);
      object.setRuleString(args->rule);
      object.setFrom(recurrenceFromOption(args->from));
      const std::optional<platform::Date> first =
          SVRecurrenceAssistant::firstOccurenceDateForRecurringObjectIfExists(object);
      if (options.json) {
        printJSON(
            {{"operation", "firstOccurenceDateForRecurringObjectIfExists"},
             {"rule", args->rule},
             {"recurrenceFrom", std::string(recurrenceFromOption(args->from))},
             {"start", start.timeIntervalSince1970()},
             {"date", first ? nlohmann::json(first->timeIntervalSince1970()) : nlohmann::json()},
             {"local", first ? nlohmann::json(occurrenceDateText(*first)) : nlohmann::json()}});
        return 0;
      }
      std::cout << (first ? occurrenceDateText(*first) : std::string("(none)")) << "\n";
      return 0;
    };
  });
}

const CommandRegistration registration(addFirstOccurrenceCommand);

}  // namespace
}  // namespace norvik::cli
