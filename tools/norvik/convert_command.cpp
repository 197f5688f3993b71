// norvik convert: a Gregorian day in the other calendars, with the day texts the repeat
// descriptions use and the calendar module's own texts.
#include <cstdio>
#include <iomanip>
#include <iostream>
#include <vector>

#include "arguments.h"
#include "cli.h"
#include "norvik/calendar/calendar_types.h"
#include "norvik/calendar/other_calendar.h"
#include "norvik/platform/calendar.h"
#include "norvik/recurrence/repeat_description.h"

namespace norvik::cli {
namespace {

struct ConvertArgs {
  std::string date;
  std::string calendar;
  std::string locale;
};

// The predefined types named by TYPE: one identifier, or every type but NONE for "all".
std::vector<NVCalendarDateTypePtr> typesNamed(const std::string& name) {
  std::vector<NVCalendarDateTypePtr> types;
  for (const auto& type : NVCalendarDateType::allCases()) {
    if (type == NVCalendarDateType::NONE()) continue;
    if (name == "all" || type->rawValue() == name) types.push_back(type);
  }
  if (types.empty()) {
    std::string known;
    for (const auto& type : NVCalendarDateType::allCases()) {
      if (!type->rawValue().empty()) known += " " + type->rawValue();
    }
    throw UsageError("unknown calendar '" + name + "' (all" + known + ")");
  }
  return types;
}

struct Conversion {
  NVCalendarDateTypePtr type;
  CalendarDate date;
  CalendarDayText day;             // dayStringInCalendarType, day alone (month on day 1)
  CalendarDayText monthAndDay;     // dayStringInCalendarType with the month
  CalendarDayText fromParts;       // dayStringInCalendarTypeYear of the converted date, with month
  std::string textLocale;          // the locale formatCalendarType wrote in
  std::vector<std::string> texts;  // formatCalendarType: year, month, day
};

Conversion convert(platform::Date date, const NVCalendarDateTypePtr& type,
                   const std::string& locale) {
  Conversion c;
  c.type = type;
  c.date = Repeat::dayInCalendarType(date, std::nullopt, type);
  c.day = Repeat::dayStringInCalendarType(date, std::nullopt, type, true, false, true);
  c.monthAndDay = Repeat::dayStringInCalendarType(date, std::nullopt, type, false, true, true);
  c.fromParts = Repeat::dayStringInCalendarTypeYear(c.date.year, c.date.month, c.date.day,
                                                    c.date.leap, std::nullopt, type, true, true);
  c.textLocale = locale.empty() ? Repeat::getCalendarTextLocal(type)->rawValue() : locale;
  c.texts = KMAOtherCalendar::shared().formatCalendarType(
      type->rawValue(), c.date.year, c.date.month, c.date.day, c.date.leap, c.textLocale);
  return c;
}

nlohmann::json dayTextJSON(const CalendarDayText& text) {
  return {{"isFirstDay", text.isFirstDay}, {"text", text.text}};
}

nlohmann::json toJSON(const Conversion& c) {
  return {{"calendar", c.type->rawValue()},
          {"year", c.date.year},
          {"month", c.date.month},
          {"day", c.date.day},
          {"leap", c.date.leap},
          {"dayInCalendarType", {c.date.year, c.date.month, c.date.day, c.date.leap}},
          {"dayStringInCalendarType", dayTextJSON(c.day)},
          {"dayStringInCalendarTypeWithMonth", dayTextJSON(c.monthAndDay)},
          {"dayStringInCalendarTypeYear", dayTextJSON(c.fromParts)},
          {"textLocale", c.textLocale},
          {"formatCalendarType", c.texts}};
}

std::string textAt(const std::vector<std::string>& texts, std::size_t i) {
  return i < texts.size() ? texts[i] : std::string();
}

void printOne(const Conversion& c) {
  std::cout << "calendar    " << c.type->rawValue() << " (" << c.type->getDisplayName() << ")\n"
            << "year        " << c.date.year << "\nmonth       " << c.date.month << "\nday         "
            << c.date.day << "\nleap        " << (c.date.leap ? "yes" : "no") << "\nday text    "
            << c.day.text << "\nmonth, day  " << c.monthAndDay.text << "\nfrom parts  "
            << c.fromParts.text << "\ntexts (" << c.textLocale << ")  year " << textAt(c.texts, 0)
            << " | month " << textAt(c.texts, 1) << " | day " << textAt(c.texts, 2) << "\n";
}

void printTable(const std::vector<Conversion>& rows) {
  std::cout << std::left << std::setw(15) << "calendar" << std::setw(7) << "year" << std::setw(6)
            << "month" << std::setw(5) << "day" << std::setw(6) << "leap"
            << "day text | month and day | formatCalendarType (locale)\n";
  for (const auto& c : rows) {
    std::cout << std::left << std::setw(15) << c.type->rawValue() << std::setw(7) << c.date.year
              << std::setw(6) << c.date.month << std::setw(5) << c.date.day << std::setw(6)
              << (c.date.leap ? "yes" : "no") << c.day.text << " | " << c.monthAndDay.text << " | "
              << textAt(c.texts, 0) << " / " << textAt(c.texts, 1) << " / " << textAt(c.texts, 2)
              << " (" << c.textLocale << ")\n";
  }
}

void addConvertCommand(CLI::App& app, const GlobalOptions& options, Action& run) {
  auto args = std::make_shared<ConvertArgs>();
  CLI::App* command =
      app.add_subcommand("convert", "A Gregorian day in another calendar, with its day texts");
  command->add_option("DATE", args->date, "Gregorian day, YYYY-MM-DD (local time)")->required();
  command
      ->add_option("--calendar", args->calendar,
                   "Calendar identifier (lunar, korean-lunar, hijri, hebcal, shaka, persian, "
                   "vietnam, hijri-kuwaiti, hijri-saudi) or all")
      ->required();
  command
      ->add_option("--locale", args->locale,
                   "Text locale of the calendar module's texts (default: the one the interface "
                   "language selects)")
      ->check(CLI::IsMember({"en", "zh-rCN", "zh-rHK", "ar", "ko", "iw", "fa"}));
  command->callback([&options, &run, args] {
    run = [&options, args] {
      const platform::Date date = parseLocalDay(args->date);
      std::vector<Conversion> rows;
      for (const auto& type : typesNamed(args->calendar)) {
        rows.push_back(convert(date, type, args->locale));
      }
      if (options.json) {
        if (args->calendar == "all") {
          nlohmann::json list = nlohmann::json::array();
          for (const auto& row : rows) list.push_back(toJSON(row));
          printJSON({{"date", args->date}, {"calendars", list}});
        } else {
          nlohmann::json document = toJSON(rows.front());
          document["date"] = args->date;
          printJSON(document);
        }
      } else if (args->calendar == "all") {
        printTable(rows);
      } else {
        printOne(rows.front());
      }
      return 0;
    };
  });
}

const CommandRegistration registration(&addConvertCommand);

}  // namespace
}  // namespace norvik::cli
