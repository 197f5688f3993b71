// norvik lunar / solar / day / days / month: the table lunar converter, the lunar and festival
// texts of a day or a range of days, and a month calendar with lunar texts.
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <sstream>

#include "arguments.h"
#include "cli.h"
#include "norvik/calendar/lunar_converter.h"
#include "norvik/calendar/lunar_display.h"
#include "norvik/calendar/lunisolar.h"
#include "norvik/calendar/solar_terms.h"
#include "norvik/platform/calendar.h"
#include "norvik/platform/date_formatter.h"

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
  std::string out;
  for (CivilDay d = first; d <= last; ++d) {
    out += dayTexts(gregorianFromCivilDay(d)).dump();
    out += '\n';
  }
  std::cout << out;
  return 0;
}

int displayWidth(const std::string& text) {
  int width = 0;
  for (std::size_t i = 0; i < text.size();) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    const int length = c < 0x80 ? 1 : c < 0xE0 ? 2 : c < 0xF0 ? 3 : 4;
    width += length >= 3 ? 2 : 1;
    i += static_cast<std::size_t>(length);
  }
  return width;
}

std::string centred(const std::string& text, int width) {
  const int pad = width - displayWidth(text);
  const int left = pad > 0 ? pad / 2 : 0;
  const int right = pad > 0 ? pad - left : 0;
  return std::string(static_cast<std::size_t>(left), ' ') + text +
         std::string(static_cast<std::size_t>(right), ' ');
}

}  // namespace

int runMonth(const GlobalOptions& options, const std::string& text) {
  const platform::Calendar calendar = platform::Calendar::currentGregorian();
  const platform::Date now = platform::Date::now();
  const platform::DateComponents today = calendar.components(now);
  int year = today.year.value_or(2024);
  int month = today.month.value_or(1);
  if (!text.empty()) {
    char tail = 0;
    if (std::sscanf(text.c_str(), "%d-%d%c", &year, &month, &tail) != 2 || month < 1 ||
        month > 12) {
      throw UsageError("'" + text + "' is not a month (YYYY-MM)");
    }
  }
  const CivilDay first = civilDayFromGregorian(year, month, 1);
  const int days = static_cast<int>(civilDayFromGregorian(year, month + 1, 1) - first);
  const CivilDay todayDay =
      civilDayFromGregorian(today.year.value_or(0), today.month.value_or(0), today.day.value_or(0));
  const int firstWeekday = calendar.firstWeekday();
  const int weekdayOfFirst = static_cast<int>(((first + 4) % 7 + 7) % 7) + 1;
  const int leading = (weekdayOfFirst - firstWeekday + 7) % 7;

  struct Cell {
    int day;
    std::string text;
    bool special;
  };
  std::vector<Cell> cells;
  for (int day = 1; day <= days; ++day) {
    const platform::Date date = noonOf(GregorianDate{year, month, day});
    std::string festival =
        festivalOrLunarCalendar(date, FestivalMode::chinese, firstWeekday, std::nullopt, nullptr);
    const bool special = !festival.empty();
    if (festival.empty()) festival = dayStringInLunarCalendar(date, std::nullopt, true, true);
    cells.push_back({day, festival, special});
  }
  if (options.json) {
    nlohmann::json list = nlohmann::json::array();
    for (const Cell& c : cells) {
      list.push_back({{"day", c.day},
                      {"text", c.text},
                      {"isFestival", c.special},
                      {"isToday", first + c.day - 1 == todayDay}});
    }
    printJSON({{"month", isoDayText(GregorianDate{year, month, 1}).substr(0, 7)},
               {"firstWeekday", firstWeekday},
               {"days", list}});
    return 0;
  }
  const bool colour = isatty(STDOUT_FILENO) != 0;
  auto paint = [colour](const std::string& s, const char* code) {
    return colour ? std::string("\033[") + code + "m" + s + "\033[0m" : s;
  };
  constexpr int kCell = 10;
  // The title and weekday names in the interface language, which the shared formatter follows.
  platform::DateFormatter formatter("", platform::DateFormatter::shared().locale());
  formatter.setLocalizedDateFormatFromTemplate("yMMMM");
  std::ostringstream out;
  const platform::Date middle = noonOf(GregorianDate{year, month, 15});
  const std::vector<std::string> years = years_lunar(middle, false, true);
  out << formatter.format(middle) << "  " << years.front() << " " << years.back() << "\n";
  const std::vector<std::string> weekdays = formatter.shortStandaloneWeekdaySymbols();
  for (int i = 0; i < 7 && weekdays.size() == 7; ++i) {
    out << centred(weekdays[static_cast<std::size_t>((firstWeekday - 1 + i) % 7)], kCell);
  }
  out << "\n";
  const int rows = (leading + days + 6) / 7;
  for (int row = 0; row < rows; ++row) {
    std::string numbers;
    std::string texts;
    for (int column = 0; column < 7; ++column) {
      const int index = row * 7 + column - leading;
      if (index < 0 || index >= days) {
        numbers += std::string(kCell, ' ');
        texts += std::string(kCell, ' ');
        continue;
      }
      const Cell& cell = cells[static_cast<std::size_t>(index)];
      const bool isToday = first + index == todayDay;
      const std::string number =
          isToday ? "[" + std::to_string(cell.day) + "]" : std::to_string(cell.day);
      numbers += isToday ? paint(centred(number, kCell), "1;7") : centred(number, kCell);
      texts += cell.special ? paint(centred(cell.text, kCell), "31") : centred(cell.text, kCell);
    }
    out << numbers << "\n" << texts << "\n";
  }
  std::cout << out.str();
  return 0;
}

namespace {

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

  CLI::App* dayCommand =
      app.add_subcommand("day", "Every lunar, festival and solar-term text of a day");
  dayCommand->add_option("date", *day, "YYYY-MM-DD")->required();
  dayCommand->callback(
      [&options, &run, day] { run = [&options, day] { return runDay(options, *day); }; });

  CLI::App* days =
      app.add_subcommand("days", "The texts of every day in a range, one JSON object a line");
  days->add_option("from", *day, "YYYY-MM-DD")->required();
  days->add_option("to", *to, "YYYY-MM-DD")->required();
  days->callback([&run, day, to] { run = [day, to] { return runDays(*day, *to); }; });

  CLI::App* month = app.add_subcommand("month", "A month calendar with lunar texts and festivals");
  month->add_option("month", *day, "YYYY-MM (default: this month)");
  month->callback(
      [&options, &run, day] { run = [&options, day] { return runMonth(options, *day); }; });
}

const CommandRegistration registration(addLunarCommands);

}  // namespace
}  // namespace norvik::cli
