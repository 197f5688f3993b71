// norvik lunar / solar / day / days: the table lunar converter and the lunar and festival texts of
// a day or a range of days.
#include <cstdio>
#include <iostream>

#include "arguments.h"
#include "cli.h"
#include "norvik/calendar/lunar_converter.h"
#include "norvik/calendar/lunar_display.h"
#include "norvik/calendar/lunisolar.h"
#include "norvik/calendar/official_calendar.h"
#include "norvik/calendar/solar_terms.h"
#include "norvik/platform/calendar.h"

namespace norvik::cli {
namespace {

// Y-M-D of a lunar date: months 1 to 12, days 1 to 30, as the lunar table counts them.
GregorianDate parseLunarDay(const std::string& text) {
  int y = 0, m = 0, d = 0;
  char tail = 0;
  if (std::sscanf(text.c_str(), "%d-%d-%d%c", &y, &m, &d, &tail) != 3 || m < 1 || m > 12 || d < 1 ||
      d > 30) {
    throw UsageError("'" + text + "' is not a lunar date (Y-M-D, month 1 to 12, day 1 to 30)");
  }
  return GregorianDate{y, m, d};
}

// Noon of the day in the current calendar.
platform::Date noonOf(const GregorianDate& g) {
  return localTimeOf(g, 12, 0, isoDayText(g));
}

nlohmann::json simpleDateJSON(const SimpleDate& d) {
  return {{"year", d.year}, {"month", d.month}, {"day", d.day}, {"isLeapMonth", d.isLeapMonth}};
}

int printSimpleDate(const GlobalOptions& options, const char* operation, const SimpleDate& d) {
  if (options.json) {
    printJSON({{operation, simpleDateJSON(d)}});
  } else {
    std::cout << "year " << d.year << "\nmonth " << d.month << "\nday " << d.day << "\nisLeapMonth "
              << d.isLeapMonth << "\n";
  }
  return 0;
}

nlohmann::json dayTexts(const GregorianDate& g) {
  const platform::Date date = noonOf(g);
  const std::optional<std::string> lunarFestival = festivalInLunarCalendar(date);
  const std::optional<std::string> term =
      NVSolarTermsManager::sharedManager().solarTermByDate(date);
  const NVOfficialDay official =
      NVOfficialCalendar::dayOfCivilDay(civilDayFromGregorian(g.year, g.month, g.day));
  return {
      {"date", isoDayText(g)},
      {"displayDayInLunarCalendar", displayDayInLunarCalendar(date)},
      {"displayMonthDayInLunarCalendar", displayMonthDayInLunarCalendar(date)},
      {"dayStringInLunarCalendar", dayStringInLunarCalendar(date, std::nullopt, false, true)},
      {"dayStringInLunarCalendarWithSolarTerms",
       dayStringInLunarCalendar(date, std::nullopt, true, true)},
      {"festivalInLunarCalendar", lunarFestival ? nlohmann::json(*lunarFestival) : nullptr},
      {"festivalOrLunarCalendarChina",
       festivalOrLunarCalendar(date, FestivalMode::chinese, 1, std::nullopt, nullptr)},
      {"festivalOrLunarCalendarJapanese",
       festivalOrLunarCalendar(date, FestivalMode::japanese, 1, std::nullopt, nullptr)},
      {"solarTermByDate", term ? nlohmann::json(*term) : nullptr},
      {"years_lunar", years_lunar(date, true, true)},
      {"monthDay_lunar", monthDay_lunar(date)},
      {"yearMonthDay_lunar", yearMonthDay_lunar(date, true, false)},
      {"officialDay", officialDayKindName(official.kind)},
      {"officialFestival",
       official.festival.empty() ? nlohmann::json(nullptr) : nlohmann::json(official.festival)},
      {"officialYear", officialYearStatusName(NVOfficialCalendar::yearStatus(g.year))},
  };
}

int runDay(const GlobalOptions& options, const std::string& text) {
  const nlohmann::json texts = dayTexts(parseGregorianDay(text));
  if (options.json) {
    printJSON(texts);
    return 0;
  }
  for (const auto& [key, value] : texts.items()) {
    std::string shown;
    if (value.is_string()) {
      shown = value.get<std::string>();
    } else if (value.is_array()) {
      for (const auto& part : value) shown += (shown.empty() ? "" : " ") + part.get<std::string>();
    }
    std::printf("%-40s %s\n", key.c_str(), shown.c_str());
  }
  return 0;
}

int runDays(const std::string& fromText, const std::string& toText) {
  const GregorianDate from = parseGregorianDay(fromText);
  const GregorianDate to = parseGregorianDay(toText);
  const CivilDay first = civilDayFromGregorian(from.year, from.month, from.day);
  const CivilDay last = civilDayFromGregorian(to.year, to.month, to.day);
  if (last < first) throw UsageError("the range ends before it starts");
  if (last - first > 200 * 366) throw UsageError("at most 200 years at a time");
  // Line by line through the stream's buffer: memory stays the same for a day or 200 years.
  for (CivilDay d = first; d <= last; ++d) {
    std::cout << dayTexts(gregorianFromCivilDay(d)).dump() << '\n';
  }
  std::cout.flush();
  return 0;
}

void addLunarCommands(CLI::App& app, const GlobalOptions& options, Action& run) {
  auto day = std::make_shared<std::string>();
  auto to = std::make_shared<std::string>();
  auto leap = std::make_shared<bool>(false);

  CLI::App* lunar = app.add_subcommand("lunar", "Gregorian day to lunar date by the lunar table");
  lunar->add_option("date", *day, "YYYY-MM-DD")->required();
  lunar->callback([&options, &run, day] {
    run = [&options, day] {
      const GregorianDate g = parseGregorianDay(*day);
      return printSimpleDate(options, "toLunar", solar_to_lunar(g.year, g.month, g.day));
    };
  });

  CLI::App* solar = app.add_subcommand("solar", "Lunar date to Gregorian day by the lunar table");
  solar->add_option("date", *day, "Y-M-D (lunar)")->required();
  solar->add_flag("--leap", *leap, "The leap month of that number");
  solar->callback([&options, &run, day, leap] {
    run = [&options, day, leap] {
      const GregorianDate g = parseLunarDay(*day);
      return printSimpleDate(options, "toSolar",
                             lunar_to_solar(g.year, g.month, g.day, *leap ? 1 : 0));
    };
  });

  CLI::App* dayCommand = app.add_subcommand(
      "day", "Every lunar, festival and solar-term text of a day, and its official day");
  dayCommand->add_option("date", *day, "YYYY-MM-DD")->required();
  dayCommand->callback(
      [&options, &run, day] { run = [&options, day] { return runDay(options, *day); }; });

  CLI::App* days =
      app.add_subcommand("days", "The texts of every day in a range, one JSON object a line");
  days->add_option("from", *day, "YYYY-MM-DD")->required();
  days->add_option("to", *to, "YYYY-MM-DD")->required();
  days->callback([&run, day, to] { run = [day, to] { return runDays(*day, *to); }; });
}

const CommandRegistration registration(addLunarCommands);

}  // namespace
}  // namespace norvik::cli
