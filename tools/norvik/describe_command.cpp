// norvik describe: the repeat description of a rule in the interface language; with --lunar, the
// description of a rule on another calendar ("Hebrew Yearly (14 Nisan)").
#include <ctime>
#include <iostream>

#include "norvik/platform/calendar.h"
#include "norvik/recurrence/repeat_description.h"
#include "recurrence_cli.h"

namespace norvik::cli {
namespace {

struct DescribeArgs {
  std::string rule;
  std::string from;
  std::string date;
  bool showCount = false;
  bool noReminderInfo = false;
  bool lunar = false;
};

int describeLunar(const GlobalOptions& options, const std::shared_ptr<const SVRecurrenceRule>& rule,
                  const std::string& dateText) {
  const platform::Date date = dateText.empty() ? platform::Date::now() : parseLocalDate(dateText);
  const std::string text = Repeat::repeatDescriptionWithLunarRRule(rule, date);
  if (options.json) {
    printJSON({{"operation", "repeatDescriptionWithLunarRRule"},
               {"rule", rule->toIcal()},
               {"date", date.timeIntervalSince1970()},
               {"description", text}});
  } else {
    std::cout << text << "\n";
  }
  return 0;
}

void addDescribeCommand(CLI::App& app, const GlobalOptions& options, Action& run) {
  auto args = std::make_shared<DescribeArgs>();
  CLI::App* command =
      app.add_subcommand("describe", "The repeat description of a rule, in the interface language");
  command->add_option("RULE", args->rule, "RRULE text")->required();
  command->add_option("--from", args->from, "Recurrence-from mode")
      ->check(CLI::IsMember({"default", "duedate"}));
  command->add_option("--date", args->date, "Relative date, YYYY-MM-DD[THH:MM] (default: now)");
  command->add_flag("--show-count", args->showCount, "Show the Ebbinghaus repetition number");
  command->add_flag("--no-reminder-info", args->noReminderInfo, "Leave out the days");
  command->add_flag("--lunar", args->lunar,
                    "Describe the rule as one on another calendar (Chinese, Korean or "
                    "Vietnamese lunar, Hebrew, Hijri, Persian, Indian)");
  command->callback([&options, &run, args] {
    run = [&options, args] {
      const auto rule = parseRuleArgument(args->rule);
      if (args->lunar) return describeLunar(options, rule, args->date);
      std::optional<std::string_view> from;
      if (args->from == "default") from = SVRecurrenceFromDefault;
      if (args->from == "duedate") from = SVRecurrenceFromDueDate;
      std::optional<platform::Date> date;
      if (!args->date.empty()) date = parseLocalDate(args->date);
      const std::string text = Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(
          rule, from, args->showCount, date, !args->noReminderInfo);
      if (options.json) {
        printJSON({{"operation", "repeatDescriptionWithRRuleByDefaultOrDueDate"},
                   {"rule", rule->toIcal()},
                   {"recurrenceFrom", from ? nlohmann::json(std::string(*from)) : nlohmann::json()},
                   {"isNeedShowCount", args->showCount},
                   {"isNeedReminderDateInfo", !args->noReminderInfo},
                   {"relativeDate",
                    date ? nlohmann::json(date->timeIntervalSince1970()) : nlohmann::json()},
                   {"description", text}});
      } else {
        std::cout << text << "\n";
      }
      return 0;
    };
  });
}

const CommandRegistration registration(&addDescribeCommand);

}  // namespace
}  // namespace norvik::cli
