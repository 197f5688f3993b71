// norvik after-completion: the after-completion sentence of a rule.
#include <iostream>

#include "norvik/recurrence/repeat_description.h"
#include "recurrence_cli.h"

namespace norvik::cli {
namespace {

struct AfterCompletionArgs {
  std::string rule;
  bool simplified = false;
};

void addAfterCompletionCommand(CLI::App& app, const GlobalOptions& options, Action& run) {
  auto args = std::make_shared<AfterCompletionArgs>();
  CLI::App* command = app.add_subcommand(
      "after-completion", "The text of a task that repeats a period after its completion");
  command->add_option("RULE", args->rule, "RRULE text")->required();
  command->add_flag("--simplified", args->simplified, "The short form");
  command->callback([&options, &run, args] {
    run = [&options, args] {
      const auto rule = parseRuleArgument(args->rule);
      const std::string text =
          Repeat::repeatDescriptionWithRRuleByCompletedTime(rule, args->simplified);
      if (options.json) {
        printJSON({{"operation", "repeatDescriptionWithRRuleByCompletedTime"},
                   {"rule", rule->toIcal()},
                   {"simplified", args->simplified},
                   {"description", text}});
      } else {
        std::cout << text << "\n";
      }
      return 0;
    };
  });
}

const CommandRegistration registration(&addAfterCompletionCommand);

}  // namespace
}  // namespace norvik::cli
