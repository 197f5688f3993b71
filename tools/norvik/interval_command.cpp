// norvik interval: the period text of a rule ("3 days").
#include <iostream>

#include "norvik/recurrence/repeat_description.h"
#include "recurrence_cli.h"

namespace norvik::cli {
namespace {

void addIntervalCommand(CLI::App& app, const GlobalOptions& options, Action& run) {
  auto text = std::make_shared<std::string>();
  CLI::App* command = app.add_subcommand("interval", "The period of a rule, e.g. \"3 days\"");
  command->add_option("RULE", *text, "RRULE text")->required();
  command->callback([&options, &run, text] {
    run = [&options, text] {
      const auto rule = parseRuleArgument(*text);
      const std::string period = Repeat::intervalDescriptionWithRRule(rule);
      if (options.json) {
        printJSON({{"operation", "intervalDescriptionWithRRule"},
                   {"rule", rule->toIcal()},
                   {"description", period}});
      } else {
        std::cout << period << "\n";
      }
      return 0;
    };
  });
}

const CommandRegistration registration(&addIntervalCommand);

}  // namespace
}  // namespace norvik::cli
