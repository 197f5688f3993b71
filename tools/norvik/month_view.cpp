// norvik month: month calendars with lunar texts, festivals and solar terms, one month, three
// (-3) or a whole year (-y), laid out for the terminal's width.
//
// Cells are as wide as the terminal allows: a single month gets ten columns a day with the full
// festival name; several months get five (two Chinese characters and a space); where even that does
// not fit, a cell holds only the day number (three columns, as cal prints it). No name is ever
// lost: a name wider than its cell shows there shortened, and every name a cell does not show in
// full (all of them in number-only cells) follows the grids as a list of notes. Widths are display
// columns, so Chinese texts stay aligned. Mainland China's official holidays (休) and adjusted
// working days (班) follow the day numbers where the cell has room, else they are listed under the
// grids too.
#include <unicode/calendar.h>
#include <unicode/locid.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>

#include "arguments.h"
#include "cli.h"
#include "norvik/calendar/lunar_display.h"
#include "norvik/calendar/lunisolar.h"
#include "norvik/calendar/official_calendar.h"
#include "norvik/calendar/solar_terms.h"
#include "norvik/environment/language_environment.h"
#include "norvik/environment/user_language.h"
#include "norvik/platform/calendar.h"
#include "norvik/platform/date_formatter.h"
#include "text_width.h"

namespace norvik::cli {
namespace {

enum class Kind { plain, festival, solarTerm };

// A name a day carries that the views must not lose. Other kinds of day marks join as new kinds.
struct Note {
  std::string name;
  Kind kind = Kind::plain;
};

struct Day {
  int day = 0;
  std::string text;  // the festival, else the lunar day text (month name on day 1, solar term)
  std::string festival;
  Kind kind = Kind::plain;  // what `text` is, for its colour
  std::vector<Note> notes;  // the festival and the solar term of the day, when it has them
  bool weekend = false;
  bool today = false;
  std::string official;  // 休 (holiday), 班 (adjusted working day) or empty
};

struct Month {
  int year = 0;
  int month = 0;
  int leading = 0;  // empty cells before day 1
  std::vector<Day> days;
};

// 1 (Sunday) to 7 (Saturday).
int weekdayOf(CivilDay day) {
  return static_cast<int>(((day + 4) % 7 + 7) % 7) + 1;
}

platform::Date noonOf(int year, int month, int day) {
  const GregorianDate g{year, month, day};
  return localTimeOf(g, 12, 0, isoDayText(g));
}

// The weekend of the locale in use, by ICU's week data; Saturday and Sunday when it has none.
std::array<bool, 8> weekendDays() {
  std::array<bool, 8> weekend{};
  weekend[1] = weekend[7] = true;
  UErrorCode status = U_ZERO_ERROR;
  const std::string id = NVUserLanguage::localeForCurrentLanguage().identifier();
  std::unique_ptr<icu::Calendar> calendar(
      icu::Calendar::createInstance(icu::Locale(id.c_str()), status));
  if (U_FAILURE(status)) return weekend;
  std::array<bool, 8> fromLocale{};
  for (int d = 1; d <= 7; ++d) {
    const UCalendarWeekdayType type =
        calendar->getDayOfWeekType(static_cast<UCalendarDaysOfWeek>(d), status);
    fromLocale[static_cast<std::size_t>(d)] = type != UCAL_WEEKDAY;
  }
  return U_SUCCESS(status) ? fromLocale : weekend;
}

// ---- Official days (休 and 班) ----

// Whether the grid marks official holidays and adjusted working days: "cn" always, "none" never,
// otherwise when the interface language is Chinese or the region is China.
bool wantsOfficialMarks(const std::string& option) {
  if (option == "cn") return true;
  if (option == "none") return false;
  return NVUserLanguage::localeForCurrentLanguage().identifier().rfind("zh", 0) == 0 ||
         NVLocaleEnvironment::isChina();
}

// The mark beside a day's number.
std::string officialMark(CivilDay day) {
  const NVOfficialDay official = NVOfficialCalendar::dayOfCivilDay(day);
  return official.isHoliday()                                     ? "休"
         : official.kind == NVOfficialDayKind::adjustedWorkingDay ? "班"
                                                                  : "";
}

Month computeMonth(int year, int month, int firstWeekday, CivilDay today,
                   const std::array<bool, 8>& weekend, bool officialMarks) {
  Month m;
  m.year = year;
  m.month = month;
  const CivilDay first = civilDayFromGregorian(year, month, 1);
  const int days = static_cast<int>(civilDayFromGregorian(year, month + 1, 1) - first);
  m.leading = (weekdayOf(first) - firstWeekday + 7) % 7;
  const NVSolarTermsManager& terms = NVSolarTermsManager::sharedManager();
  for (int d = 1; d <= days; ++d) {
    const platform::Date date = noonOf(year, month, d);
    Day day;
    day.day = d;
    day.festival =
        festivalOrLunarCalendar(date, FestivalMode::chinese, firstWeekday, std::nullopt, nullptr);
    day.text = day.festival.empty() ? dayStringInLunarCalendar(date, std::nullopt, true, true)
                                    : day.festival;
    const std::optional<std::string> term = terms.solarTermOfDay(year, month, d);
    day.kind = term && day.text == *term ? Kind::solarTerm
               : !day.festival.empty()   ? Kind::festival
                                         : Kind::plain;
    if (!day.festival.empty()) day.notes.push_back({day.festival, Kind::festival});
    if (term && *term != day.festival) day.notes.push_back({*term, Kind::solarTerm});
    day.weekend = weekend[static_cast<std::size_t>(weekdayOf(first + d - 1))];
    day.today = first + d - 1 == today;
    if (officialMarks) day.official = officialMark(first + d - 1);
    m.days.push_back(std::move(day));
  }
  return m;
}

struct Style {
  bool colour = false;
  bool highlightToday = false;
  bool officialMarks = false;

  std::string paint(const std::string& text, const char* code) const {
    return colour ? std::string("\033[") + code + "m" + text + "\033[0m" : text;
  }
};

// A rendered month: lines of equal display width (escape sequences take no columns).
struct Block {
  std::vector<std::string> lines;
  int width = 0;
};

// The text of a cell `inner` columns wide: the day's text, or as much of it as fits (a festival
// name keeps its first characters: 国庆节 reads 国庆). The full name is then among the notes.
std::string cellText(const Day& day, int inner) {
  return fitToWidth(day.text, inner);
}

// Whether a name is shown in full in its cell.
bool shownInCell(const Day& day, const Note& note, bool withTexts, int inner) {
  return withTexts && note.name == day.text && displayWidth(day.text) <= inner;
}

// One month in cells of `cell` columns; `withTexts` adds a line of lunar texts under each week.
Block renderMonth(const Month& m, const std::string& title, const std::vector<std::string>& names,
                  int firstWeekday, int cell, bool withTexts, const Style& style) {
  Block block;
  block.width = 7 * cell;
  const int inner = cell - 1;  // one column separates neighbouring cells
  block.lines.push_back(centredIn(title, block.width));
  std::string header;
  for (int i = 0; i < 7; ++i) {
    const int weekday = (firstWeekday - 1 + i) % 7 + 1;
    header += centredIn(names[static_cast<std::size_t>(weekday - 1)], inner) + " ";
  }
  block.lines.push_back(header);
  const int weeks = (m.leading + static_cast<int>(m.days.size()) + 6) / 7;
  for (int week = 0; week < weeks; ++week) {
    std::string numbers;
    std::string texts;
    for (int column = 0; column < 7; ++column) {
      const int index = week * 7 + column - m.leading;
      if (index < 0 || index >= static_cast<int>(m.days.size())) {
        numbers += std::string(static_cast<std::size_t>(cell), ' ');
        texts += std::string(static_cast<std::size_t>(cell), ' ');
        continue;
      }
      const Day& day = m.days[static_cast<std::size_t>(index)];
      // Padding stays outside the escape sequences so that only the digits are marked.
      // Numbers are right-aligned in two columns, as cal prints them, and that field is centred.
      const std::string digits = std::to_string(day.day);
      // 休 and 班 take two columns after the number where the cell has room, else only colour it.
      const bool markBeside = style.officialMarks && inner >= 4;
      const std::string mark = !markBeside ? "" : day.official.empty() ? "  " : day.official;
      const std::string padded = centredIn((day.day < 10 ? " " : "") + digits + mark, inner);
      const std::size_t at = padded.rfind(digits);
      const char* markCode = day.official == "休" ? "31" : "33";
      const char* code = day.today && style.highlightToday           ? "7"
                         : !markBeside && !day.official.empty()      ? markCode
                         : day.kind == Kind::festival && !withTexts  ? "31"
                         : day.kind == Kind::solarTerm && !withTexts ? "32"
                         : day.weekend                               ? "34"
                                                                     : nullptr;
      std::string rest = padded.substr(at + digits.size());
      if (markBeside && !day.official.empty()) {
        rest = style.paint(day.official, markCode) + rest.substr(day.official.size());
      }
      numbers += padded.substr(0, at) + (code ? style.paint(digits, code) : digits) + rest + " ";
      const std::string shown = centredIn(cellText(day, inner), inner);
      texts += (day.kind == Kind::festival    ? style.paint(shown, "31")
                : day.kind == Kind::solarTerm ? style.paint(shown, "32")
                                              : shown) +
               " ";
    }
    block.lines.push_back(numbers);
    if (withTexts) block.lines.push_back(texts);
  }
  return block;
}

// Entries of "MM-DD text" lists, two columns apart, wrapped to a width. `add` takes the entry's
// plain text for its width and its painted form for the output.
class WrappedList {
 public:
  WrappedList(std::ostream& out, int width) : out_(out), width_(width) {}
  ~WrappedList() {
    if (!line_.empty()) out_ << line_ << "\n";
  }
  WrappedList(const WrappedList&) = delete;
  WrappedList& operator=(const WrappedList&) = delete;

  bool empty() const { return count_ == 0; }

  void add(const std::string& plain, const std::string& painted) {
    const int entryWidth = displayWidth(plain);
    if (used_ > 0 && used_ + 2 + entryWidth > width_) {
      out_ << line_ << "\n";
      line_.clear();
      used_ = 0;
    }
    if (used_ > 0) {
      line_ += "  ";
      used_ += 2;
    }
    line_ += painted;
    used_ += entryWidth;
    ++count_;
  }

 private:
  std::ostream& out_;
  int width_;
  std::string line_;
  int used_ = 0;
  int count_ = 0;
};

// Where number cells have no room for the marks, they follow the grid: "10-01..10-07 休" for each
// run of days, wrapped to `width`.
void printOfficialLegend(std::ostream& out, const std::vector<Month>& months, int width,
                         const Style& style) {
  WrappedList list(out, width);
  for (const Month& m : months) {
    for (std::size_t i = 0; i < m.days.size(); ++i) {
      const std::string& mark = m.days[i].official;
      if (mark.empty()) continue;
      std::size_t j = i;
      while (j + 1 < m.days.size() && m.days[j + 1].official == mark) ++j;
      char run[32];
      std::snprintf(run, sizeof run, "%02d-%02d", m.month % 100, m.days[i].day % 100);
      if (j > i) {
        std::snprintf(run + 5, sizeof run - 5, "..%02d-%02d", m.month % 100, m.days[j].day % 100);
      }
      list.add(std::string(run) + " " + mark,
               std::string(run) + " " + style.paint(mark, mark == "休" ? "31" : "33"));
      i = j;
    }
  }
}

// Blocks side by side, `gap` columns apart, trailing blanks removed.
void printRow(std::ostream& out, const std::vector<Block>& blocks, int gap) {
  std::size_t height = 0;
  for (const Block& b : blocks) height = std::max(height, b.lines.size());
  for (std::size_t line = 0; line < height; ++line) {
    std::string text;
    for (std::size_t i = 0; i < blocks.size(); ++i) {
      if (i > 0) text += std::string(static_cast<std::size_t>(gap), ' ');
      const Block& b = blocks[i];
      text += line < b.lines.size() ? b.lines[line]
                                    : std::string(static_cast<std::size_t>(b.width), ' ');
    }
    while (!text.empty() && text.back() == ' ') text.pop_back();
    out << text << "\n";
  }
}

const char* colourOf(Kind kind) {
  switch (kind) {
    case Kind::festival:
      return "31";
    case Kind::solarTerm:
      return "32";
    case Kind::plain:
      break;
  }
  return "0";
}

// The notes of the months that their cells do not show in full, as "MM-DD name" entries wrapped
// to `width`, after a blank line; nothing when every name is in its cell.
void printNotes(std::ostream& out, const std::vector<Month>& months, int width, bool withTexts,
                int inner, const Style& style) {
  WrappedList list(out, width);
  for (const Month& m : months) {
    for (const Day& day : m.days) {
      for (const Note& note : day.notes) {
        if (shownInCell(day, note, withTexts, inner)) continue;
        if (list.empty()) out << "\n";
        char date[8];
        std::snprintf(date, sizeof date, "%02d-%02d", m.month % 100, day.day % 100);
        list.add(std::string(date) + " " + note.name,
                 std::string(date) + " " + style.paint(note.name, colourOf(note.kind)));
      }
    }
  }
}

nlohmann::json monthJSON(const Month& m, int firstWeekday, bool officialMarks) {
  nlohmann::json list = nlohmann::json::array();
  for (const Day& d : m.days) {
    list.push_back({{"day", d.day},
                    {"text", d.text},
                    {"isFestival", d.kind == Kind::festival},
                    {"isSolarTerm", d.kind == Kind::solarTerm},
                    {"isWeekend", d.weekend},
                    {"isToday", d.today}});
    if (!d.official.empty()) list.back()["official"] = d.official;
  }
  nlohmann::json json = {{"month", isoDayText(GregorianDate{m.year, m.month, 1}).substr(0, 7)},
                         {"firstWeekday", firstWeekday},
                         {"days", list}};
  if (officialMarks) {
    json["officialYear"] = officialYearStatusName(NVOfficialCalendar::yearStatus(m.year));
  }
  return json;
}

// Weekday names that fit `columns`: the short stand-alone forms, else the narrow ones.
std::vector<std::string> weekdayNames(const platform::DateFormatter& formatter, int columns) {
  std::vector<std::string> names = formatter.shortStandaloneWeekdaySymbols();
  bool fit = names.size() == 7;
  for (const std::string& name : names) fit = fit && displayWidth(name) <= columns;
  if (!fit) names = formatter.veryShortStandaloneWeekdaySymbols();
  if (names.size() != 7) names = {"S", "M", "T", "W", "T", "F", "S"};
  return names;
}

std::string formatted(const char* skeleton, platform::Date date) {
  platform::DateFormatter formatter = platform::DateFormatter::shared();
  formatter.setLocalizedDateFormatFromTemplate(skeleton);
  return formatter.format(date);
}

std::string lunarYearText(platform::Date date) {
  std::string text;
  for (const std::string& part : years_lunar(date, false, true)) {
    text += (text.empty() ? "" : " ") + part;
  }
  return text;
}

}  // namespace

bool useColour(const GlobalOptions& options) {
  if (options.color == "always") return true;
  if (options.color == "never") return false;
  const char* noColour = std::getenv("NO_COLOR");
  return isatty(STDOUT_FILENO) != 0 && (noColour == nullptr || *noColour == '\0');
}

namespace {

// runMonth with the --official choice: "cn", "none" or empty (by language and region).
int runMonthView(const GlobalOptions& options, const MonthRequest& request,
                 const std::string& officialOption);

}  // namespace

int runMonth(const GlobalOptions& options, const MonthRequest& request) {
  return runMonthView(options, request, "");
}

namespace {

int runMonthView(const GlobalOptions& options, const MonthRequest& request,
                 const std::string& officialOption) {
  if (request.three && request.year) throw UsageError("choose -3 or --year, not both");
  const platform::Calendar calendar = platform::Calendar::currentGregorian();
  const platform::DateComponents now = calendar.components(platform::Date::now());
  int year = now.year.value_or(2024);
  int month = now.month.value_or(1);
  if (!request.month.empty()) {
    char tail = 0;
    const int fields = std::sscanf(request.month.c_str(), "%d-%d%c", &year, &month, &tail);
    const bool yearOnly = fields == 1 && request.month.find('-', 1) == std::string::npos;
    if (!(fields == 2 || (yearOnly && request.year)) ||
        (fields == 2 && (month < 1 || month > 12))) {
      throw UsageError("'" + request.month + "' is not a month (YYYY-MM" +
                       (request.year ? std::string(" or YYYY)") : std::string(")")));
    }
    if (year < 1 || year > 9999) throw UsageError("'" + request.month + "' is out of range");
  }
  int firstWeekday = calendar.firstWeekday();
  if (request.weekStart == "monday") firstWeekday = 2;
  if (request.weekStart == "sunday") firstWeekday = 1;

  // The months to show, from the first one.
  int count = 1;
  if (request.three) {
    count = 3;
    if (--month == 0) month = 12, --year;
    if (year < 1) throw UsageError("'" + request.month + "' is out of range");
  } else if (request.year) {
    count = 12;
    month = 1;
  }
  const CivilDay today =
      civilDayFromGregorian(now.year.value_or(0), now.month.value_or(0), now.day.value_or(0));
  const std::array<bool, 8> weekend = weekendDays();
  const bool officialMarks = wantsOfficialMarks(officialOption);
  std::vector<Month> months;
  for (int i = 0; i < count; ++i) {
    const int y = year + (month - 1 + i) / 12;
    const int mo = (month - 1 + i) % 12 + 1;
    months.push_back(computeMonth(y, mo, firstWeekday, today, weekend, officialMarks));
  }

  if (options.json) {
    if (count == 1) {
      printJSON(monthJSON(months.front(), firstWeekday, officialMarks));
    } else {
      nlohmann::json all = nlohmann::json::array();
      for (const Month& m : months) all.push_back(monthJSON(m, firstWeekday, officialMarks));
      printJSON({{"months", all}});
    }
    return 0;
  }

  Style style;
  style.colour = useColour(options);
  style.highlightToday = style.colour && isatty(STDOUT_FILENO) != 0;
  style.officialMarks = officialMarks;
  const int width = terminalWidth();
  constexpr int kGap = 3;
  // Cell width, months side by side, and whether lunar texts fit in the cells.
  int cell = 5;
  int perRow = 1;
  if (count == 1) {
    cell = width >= 70 ? 10 : width >= 35 ? 5 : 3;
  } else if (count == 3) {
    if (3 * 35 + 2 * kGap <= width) {
      perRow = 3;
    } else if (width >= 3 * 21 + 2 * 2) {
      cell = 3, perRow = 3;
    } else if (width < 35) {
      cell = 3;
    }
  } else {
    perRow = std::max(1, std::min(4, (width + kGap) / (35 + kGap)));
    if (perRow == 1 && width < 35) cell = 3;
  }
  const bool withTexts = cell >= 5;
  const int gap = withTexts ? kGap : 2;

  platform::DateFormatter formatter = platform::DateFormatter::shared();
  const std::vector<std::string> names = weekdayNames(formatter, cell - 1);
  std::vector<Block> blocks;
  for (const Month& m : months) {
    const platform::Date middle = noonOf(m.year, m.month, 15);
    std::string title;
    if (count == 12) {
      title = formatted("LLLL", middle);
    } else if (cell >= 5) {
      title = formatted("yMMMM", middle) + "  " + lunarYearText(middle);
    } else {
      title = formatted("yMMMM", middle);
    }
    blocks.push_back(renderMonth(m, title, names, firstWeekday, cell, withTexts, style));
  }
  std::ostream& out = std::cout;
  if (count == 12) {
    const platform::Date midYear = noonOf(year, 7, 1);
    const int rowWidth = perRow * blocks.front().width + (perRow - 1) * gap;
    std::string heading =
        centredIn(formatted("y", midYear) + "  " + lunarYearText(midYear), std::max(rowWidth, 1));
    while (!heading.empty() && heading.back() == ' ') heading.pop_back();
    out << heading << "\n\n";
  }
  for (std::size_t i = 0; i < blocks.size(); i += static_cast<std::size_t>(perRow)) {
    if (i > 0) out << "\n";
    const auto end = std::min(blocks.size(), i + static_cast<std::size_t>(perRow));
    printRow(out,
             std::vector<Block>(blocks.begin() + static_cast<long>(i),
                                blocks.begin() + static_cast<long>(end)),
             gap);
  }
  printNotes(out, months, width, withTexts, cell - 1, style);
  // Marks that had no room beside their day numbers (the same test as in renderMonth).
  if (officialMarks && cell - 1 < 4) {
    out << "\n";
    printOfficialLegend(out, months, width, style);
  }
  if (officialMarks) {
    // Say where the marks come from when a shown year has no published notice.
    for (int y = months.front().year; y <= months.back().year; ++y) {
      const NVOfficialYearStatus status = NVOfficialCalendar::yearStatus(y);
      if (status == NVOfficialYearStatus::published) continue;
      out << "\n"
          << y
          << (status == NVOfficialYearStatus::projected
                  ? ": 休 projected from the calendar (no notice published yet)\n"
                  : ": no official holidays known\n");
    }
  }
  out.flush();
  return 0;
}

void addMonthCommand(CLI::App& app, const GlobalOptions& options, Action& run) {
  auto request = std::make_shared<MonthRequest>();
  auto official = std::make_shared<std::string>();
  CLI::App* month =
      app.add_subcommand("month", "Month calendars with lunar texts, festivals and solar terms");
  month->add_option("month", request->month,
                    "YYYY-MM (default: this month); with --year also YYYY");
  month->add_flag("-3", request->three, "The month before, this one and the one after");
  month->add_flag("-y,--year", request->year, "The whole year");
  month
      ->add_option("--week-start", request->weekStart,
                   "First day of the week (default: from the locale)")
      ->check(CLI::IsMember({"monday", "sunday"}));
  month
      ->add_option("--official", *official,
                   "Mark official holidays (休) and adjusted working days (班): cn or none "
                   "(default: when the language or region is Chinese)")
      ->check(CLI::IsMember({"cn", "none"}));
  month->callback([&options, &run, request, official] {
    run = [&options, request, official] { return runMonthView(options, *request, *official); };
  });
}

const CommandRegistration registration(addMonthCommand);

}  // namespace
}  // namespace norvik::cli
