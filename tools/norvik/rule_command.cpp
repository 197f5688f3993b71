// norvik rule: the parsed model of a rule and its text written back.
#include <iostream>

#include "recurrence_cli.h"

namespace norvik::cli {
namespace {

std::string listText(const std::vector<int>& values) {
  std::string out;
  for (int v : values) out += (out.empty() ? "" : ",") + std::to_string(v);
  return out;
}

void addRuleCommand(CLI::App& app, const GlobalOptions& options, Action& run) {
  auto text = std::make_shared<std::string>();
  CLI::App* command = app.add_subcommand("rule", "Parse a recurrence rule and write it back");
  command->add_option("RULE", *text, "RRULE text, e.g. FREQ=WEEKLY;BYDAY=MO,FR")->required();
  command->callback([&options, &run, text] {
    run = [&options, text] {
      const auto rule = parseRuleArgument(*text);
      static constexpr const char* kFrequencies[] = {"secondly", "minutely", "hourly", "daily",
                                                     "weekly",   "monthly",  "yearly"};
      nlohmann::json byDay = nlohmann::json::array();
      std::string byDayText;
      for (const auto& entry : rule->byDay) {
        byDay.push_back({{"num", entry.num()}, {"dayNum", entry.wday().dayNum()}});
        byDayText += (byDayText.empty() ? "" : ",") +
                     (entry.num() ? std::to_string(entry.num()) : std::string()) +
                     std::string(entry.wday().icalName());
      }
      const auto sorted = rule->monthDaysOfTheSorted();
      const char* calendar = rule->isLunar()     ? "lunar"
                             : rule->isKorean()  ? "korean-lunar"
                             : rule->isHijri()   ? "hijri"
                             : rule->isHebcal()  ? "hebcal"
                             : rule->isShaka()   ? "shaka"
                             : rule->isPersian() ? "persian"
                             : rule->isVietnam() ? "vietnam"
                             : rule->isKuwaiti() ? "hijri-kuwaiti"
                             : rule->isSaudi()   ? "hijri-saudi"
                                                 : "";
      nlohmann::json model = {
          {"frequencyOrdinal", rule->frequencyOrdinal},
          {"frequency", kFrequencies[rule->frequencyOrdinal]},
          {"interval", rule->interval},
          {"count", rule->count ? nlohmann::json(*rule->count) : nlohmann::json()},
          {"until", rule->until ? nlohmann::json(rule->until->toIcal()) : nlohmann::json()},
          {"byDay", byDay},
          {"byMonthDay", rule->byMonthDay},
          {"byMonth", rule->byMonth},
          {"monthDaysOfTheSorted", sorted ? nlohmann::json(*sorted) : nlohmann::json()},
          {"bySetPos", rule->bySetPos},
          {"rscale", rule->rscale},
          {"calendar", calendar},
          {"isOtherCalendars", rule->isOtherCalendars()},
          {"isFirstWorkday", rule->isFirstWorkday()},
          {"isLastWorkday", rule->isLastWorkday()},
          {"isEveryOfficalWorkingDay", rule->isEveryOfficalWorkingDay()},
          {"isEveryOfficalHoliday", rule->isEveryOfficalHoliday()},
          {"isEbbinghaus", rule->isEbbinghaus()},
          {"ebbinghausCycle", rule->extendable.ebbinghaus().cycle},
          {"isSpecificDate", rule->isSpecificDate()},
          {"specificDates", rule->specific().byDate.size()},
      };
      const std::string written = rule->toIcal();
      if (options.json) {
        printJSON({{"operation", "ruleWithIcalString"}, {"rule", model}, {"toIcal", written}});
        return 0;
      }
      auto row = [](const char* name, const std::string& value) {
        if (!value.empty())
          std::cout << "  " << name << std::string(22 - std::string(name).size(), ' ') << value
                    << "\n";
      };
      std::cout << "Rule\n";
      row("frequency", std::string(kFrequencies[rule->frequencyOrdinal]) + " (" +
                           std::to_string(rule->frequencyOrdinal) + ")");
      row("interval", std::to_string(rule->interval));
      row("count", rule->count ? std::to_string(*rule->count) : "");
      row("until", rule->until ? rule->until->toIcal() : "");
      row("byDay", byDayText);
      row("byMonthDay", listText(rule->byMonthDay));
      row("byMonth", listText(rule->byMonth));
      row("bySetPos", listText(rule->bySetPos));
      row("calendar", calendar);
      if (rule->isFirstWorkday()) row("workday", "first");
      if (rule->isLastWorkday()) row("workday", "last");
      if (rule->isEveryOfficalWorkingDay()) row("official", "working days");
      if (rule->isEveryOfficalHoliday()) row("official", "holidays");
      if (rule->isEbbinghaus())
        row("ebbinghaus cycle", std::to_string(rule->extendable.ebbinghaus().cycle));
      if (rule->isSpecificDate())
        row("picked dates", std::to_string(rule->specific().byDate.size()));
      std::cout << "toIcal  " << written << "\n";
      return 0;
    };
  });
}

const CommandRegistration registration(&addRuleCommand);

}  // namespace
}  // namespace norvik::cli
