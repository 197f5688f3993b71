// The main job of norvik with no arguments: this month as the library sees it (in the
// environment's calendar, time zone and locale), today marked.
#include <iostream>
#include <sstream>

#include "cli.h"
#include "norvik/platform/calendar.h"
#include "norvik/platform/date_formatter.h"
#include "norvik/platform/environment.h"

namespace norvik::cli {
namespace {

// Display width of a short UTF-8 text: East Asian wide characters take two columns.
int displayWidth(const std::string& text) {
  int width = 0;
  for (std::size_t i = 0; i < text.size();) {
    unsigned char c = static_cast<unsigned char>(text[i]);
    int length = c < 0x80 ? 1 : c < 0xE0 ? 2 : c < 0xF0 ? 3 : 4;
    width += length >= 3 ? 2 : 1;
    i += static_cast<std::size_t>(length);
  }
  return width;
}

std::string padded(const std::string& text, int width) {
  int pad = width - displayWidth(text);
  return std::string(pad > 0 ? static_cast<std::size_t>(pad) : 0, ' ') + text;
}

}  // namespace

int runOverview(const GlobalOptions& options) {
  using namespace platform;
  Calendar calendar = Calendar::autoupdatingCurrent();
  Date now = Date::now();
  Date first = calendar.startOfMonth(now);
  int days = calendar.rangeOfDaysInMonth(now).value_or(CalendarRange{1, 30}).length;
  int today = calendar.component(CalendarUnit::day, now).value_or(0);
  int firstWeekday = calendar.firstWeekday();
  int leading =
      (calendar.component(CalendarUnit::weekday, first).value_or(1) - firstWeekday + 7) % 7;

  DateFormatter title;
  title.setLocalizedDateFormatFromTemplate("yMMMM");
  std::vector<std::string> weekdays = title.shortStandaloneWeekdaySymbols();

  if (options.json) {
    nlohmann::json cells = nlohmann::json::array();
    for (int day = 1; day <= days; ++day) {
      Date date = calendar.dateByAdding(CalendarUnit::day, day - 1, first).value_or(first);
      cells.push_back({{"day", day},
                       {"weekday", calendar.component(CalendarUnit::weekday, date).value_or(0)},
                       {"isToday", day == today}});
    }
    auto env = currentEnvironment();
    printJSON({{"month", title.format(now)},
               {"timeZone", env->timeZoneIdentifier},
               {"locale", env->localeIdentifier},
               {"calendar", std::string(calendar.identifierName())},
               {"firstWeekday", firstWeekday},
               {"days", cells}});
    return 0;
  }

  constexpr int kCell = 5;
  std::ostringstream out;
  out << title.format(now) << "\n";
  for (int i = 0; i < 7 && weekdays.size() == 7; ++i) {
    out << padded(weekdays[static_cast<std::size_t>((firstWeekday - 1 + i) % 7)], kCell);
  }
  out << "\n" << std::string(static_cast<std::size_t>(leading * kCell), ' ');
  for (int day = 1; day <= days; ++day) {
    std::string text = day == today ? "[" + std::to_string(day) + "]" : std::to_string(day) + " ";
    out << padded(text, kCell);
    if ((leading + day) % 7 == 0 && day != days) out << "\n";
  }
  out << "\n";
  std::cout << out.str();
  return 0;
}

}  // namespace norvik::cli
