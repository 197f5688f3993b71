// norvik occurrences: the first occurrences of a rule from a start date.
#include <iostream>

#include "norvik/recurrence/recurrence_assistant.h"
#include "recurrence_cli.h"

namespace norvik::cli {
namespace {

struct OccurrencesArgs {
  std::string rule;
  std::string start;
  std::size_t count = 10;
};

void addOccurrencesCommand(CLI::App& app, const GlobalOptions& options, Action& run) {
  auto args = std::make_shared<OccurrencesArgs>();
  CLI::App* command = app.add_subcommand(
      "occurrences", "List a rule's occurrences from a start date (in the current time zone)");
  command->add_option("RULE", args->rule, "RRULE text, also RSCALE rules")->required();
  command->add_option("--start", args->start, "Start date, YYYY-MM-DD[THH:MM]")->required();
  command->add_option("--count", args->count, "How many occurrences at most (default 10)")
      ->check(CLI::Range(std::size_t{1}, std::size_t{100000}));
  command->callback([&options, &run, args] {
    run = [&options, args] {
      parseRuleArgument(args->rule);  // a clear message for a rule that does not parse
      const platform::Date start = parseLocalDate(args->start);
      SVSimpleRecurringObject object;
      object.setStartDate(start);
      object.setRuleString(args->rule);
      object.setFrom(SVRecurrenceFromDefault);
      const std::vector<platform::Date> dates =
          SVRecurrenceAssistant::occurrenceDatesForRecurringObject(object, start, args->count,
                                                                   true);
      if (options.json) {
        nlohmann::json list = nlohmann::json::array();
        for (platform::Date d : dates) {
          list.push_back({{"date", d.timeIntervalSince1970()}, {"local", occurrenceDateText(d)}});
        }
        printJSON({{"operation", "occurrenceDatesForRecurringObject"},
                   {"rule", args->rule},
                   {"start", start.timeIntervalSince1970()},
                   {"limit", args->count},
                   {"includingFirst", true},
                   {"dates", list}});
        return 0;
      }
      if (dates.empty()) std::cout << "(no occurrences)\n";
      for (platform::Date d : dates) std::cout << occurrenceDateText(d) << "\n";
      return 0;
    };
  });
}

const CommandRegistration registration(addOccurrencesCommand);

}  // namespace
}  // namespace norvik::cli
