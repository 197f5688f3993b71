// norvik stamp: a day's stamp (20240305) from its date text (2024-03-05), and back.
#include <algorithm>
#include <cctype>
#include <iostream>

#include "arguments.h"
#include "cli.h"
#include "norvik/calendar/date_utils.h"
#include "norvik/platform/calendar.h"

namespace norvik::cli {
namespace {

bool allDigits(std::string_view text) {
  return !text.empty() &&
         std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isdigit(c); });
}

int stampFromDay(const GlobalOptions& options, const std::string& text) {
  // YYYY-MM-DD: four digits, two, two.
  if (text.size() != 10 || text[4] != '-' || text[7] != '-' || !allDigits(text.substr(0, 4)) ||
      !allDigits(text.substr(5, 2)) || !allDigits(text.substr(8, 2))) {
    throw UsageError("'" + text + "' is neither a day (YYYY-MM-DD) nor a stamp (YYYYMMDD)");
  }
  const platform::Date date = localTimeOf(parseGregorianDay(text), 0, 0, text);
  std::int64_t stamp = NVDateUtils::stampOfDate(date);
  if (options.json) {
    printJSON({{"yyyy_MM_ddFormatBy", text},
               {"stampOfDate", stamp},
               {"stampStringOfDate", NVDateUtils::stampStringOfDate(date)}});
  } else {
    std::cout << stamp << "\n";
  }
  return 0;
}

int dayFromStamp(const GlobalOptions& options, const std::string& text) {
  auto date = NVDateUtils::dateOfStampString(text);
  if (!date) {
    throw UsageError("'" + text + "' is not a stamp (YYYYMMDD from 10000000 to 100009999)");
  }
  std::string day = NVDateUtils::yyyy_MM_ddFormatBy(*date);
  if (options.json) {
    printJSON({{"stamp", std::stoll(text)},
               {"dateOfStamp", date->timeIntervalSince1970()},
               {"yyyy_MM_ddFormatBy", day}});
  } else {
    std::cout << day << "\n";
  }
  return 0;
}

void addStampCommand(CLI::App& app, const GlobalOptions& options, Action& run) {
  auto input = std::make_shared<std::string>();
  CLI::App* stamp =
      app.add_subcommand("stamp", "Turn a day (YYYY-MM-DD) into its stamp (YYYYMMDD) or back");
  stamp->add_option("day-or-stamp", *input, "YYYY-MM-DD or YYYYMMDD")->required();
  stamp->callback([&options, &run, input] {
    run = [&options, input] {
      return allDigits(*input) ? dayFromStamp(options, *input) : stampFromDay(options, *input);
    };
  });
}

const CommandRegistration registration(addStampCommand);

}  // namespace
}  // namespace norvik::cli
