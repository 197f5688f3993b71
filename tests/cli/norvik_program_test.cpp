// The norvik program as a user runs it: month layouts, colours, the iCalendar export read back
// with libical, the per-run language, and the files made from its option definitions.
#include <gtest/gtest.h>
#include <libical/ical.h>
#include <pty.h>
#include <sys/wait.h>
#include <unicode/uchar.h>
#include <unicode/utf8.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <thread>

#include "norvik/calendar/lunar_display.h"
#include "norvik/calendar/solar_terms.h"
#include "norvik/platform/calendar.h"
#include "support/test_support.h"

namespace norvik {
namespace {

struct ProgramRun {
  int status = -1;
  std::string out;
  std::string err;
};

class NorvikProgramTest : public ::testing::Test {
 protected:
  // Runs norvik with `arguments` (shell words) in a fixed environment plus `extra` ("NAME=value"
  // words), standard output and error captured.
  ProgramRun norvik(const std::string& arguments, const std::string& extra = "") {
    const char* data = std::getenv("NORVIK_TEST_DATADIR");
    const std::string datadir = data ? data : NORVIK_TEST_DATADIR_DEFAULT;
    const std::string errFile = dir_.file("stderr");
    const std::string command = "env -i PATH=/usr/bin:/bin HOME=" + dir_.path() +
                                " NORVIK_APP_GROUP_DIR=" + dir_.file("group") +
                                " NORVIK_MAIN_BUNDLE=" + datadir +
                                "/MainBundle TZ=Asia/Shanghai LC_ALL=en_US.UTF-8 " + extra +
                                " " NORVIK_PROGRAM " " + arguments + " 2>" + errFile;
    ProgramRun run;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe) return run;
    std::array<char, 4096> buffer{};
    for (std::size_t n; (n = fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) {
      run.out.append(buffer.data(), n);
    }
    const int status = pclose(pipe);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    std::ifstream err(errFile);
    run.err.assign(std::istreambuf_iterator<char>(err), {});
    return run;
  }

  testing::TempDir dir_;
};

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// A column-by-column picture of a line as a terminal shows it, told independently of the program:
// wide and fullwidth characters fill two cells (the second holds ""), others one.
std::vector<std::string> cellsOf(const std::string& line) {
  std::vector<std::string> cells;
  const auto* bytes = reinterpret_cast<const uint8_t*>(line.data());
  const auto length = static_cast<int32_t>(line.size());
  for (int32_t i = 0; i < length;) {
    const int32_t start = i;
    UChar32 c = 0;
    U8_NEXT(bytes, i, length, c);
    const int ea = u_getIntPropertyValue(c, UCHAR_EAST_ASIAN_WIDTH);
    cells.push_back(
        line.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(i - start)));
    if (ea == U_EA_WIDE || ea == U_EA_FULLWIDTH) cells.emplace_back();
  }
  return cells;
}

// The text in display columns [from, from + width) of a line, spaces trimmed.
std::string columns(const std::string& line, int from, int width) {
  const std::vector<std::string> cells = cellsOf(line);
  std::string text;
  for (int i = from; i < from + width && i < static_cast<int>(cells.size()); ++i) {
    text += cells[static_cast<std::size_t>(i)];
  }
  const auto first = text.find_first_not_of(' ');
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// Every day number of a grid line and the text in the same cell of the line below: "10" -> "春节".
// Cells are `cell` columns wide and blocks start every `stride` columns.
std::map<std::string, std::string> textsUnderNumbers(const std::vector<std::string>& lines,
                                                     std::size_t numbersLine, int block, int cell,
                                                     int stride) {
  std::map<std::string, std::string> out;
  for (int c = 0; c < 7; ++c) {
    const int at = block * stride + c * cell;
    const std::string number = columns(lines[numbersLine], at, cell);
    if (!number.empty()) out[number] = columns(lines[numbersLine + 1], at, cell);
  }
  return out;
}

int widestLine(const std::string& text) {
  int widest = 0;
  for (const std::string& line : linesOf(text)) {
    widest = std::max(widest, static_cast<int>(cellsOf(line).size()));
  }
  return widest;
}

TEST_F(NorvikProgramTest, ThreeMonthsSideBySideKeepLunarTextsUnderTheirDays) {
  const ProgramRun run =
      norvik("month 2024-02 -3 --week-start sunday --color=never", "COLUMNS=120");
  ASSERT_EQ(run.status, 0) << run.err;
  const std::vector<std::string> lines = linesOf(run.out);
  EXPECT_LE(widestLine(run.out), 111);
  ASSERT_GE(lines.size(), 8u);
  EXPECT_NE(lines[0].find("January 2024"), std::string::npos) << lines[0];
  EXPECT_NE(lines[0].find("March 2024"), std::string::npos) << lines[0];
  // February 2024 starts on a Thursday: its first week line holds 1-3, the second 4-10.
  std::map<std::string, std::string> february = textsUnderNumbers(lines, 4, 1, 5, 38);
  EXPECT_EQ(february["4"], "立春");
  EXPECT_EQ(february["9"], "除夕");
  EXPECT_EQ(february["10"], "春节");
  EXPECT_EQ(february["5"], "廿六");
  EXPECT_EQ(columns(lines[1], 38, 4), "Sun");
  std::map<std::string, std::string> march = textsUnderNumbers(lines, 4, 2, 5, 38);
  EXPECT_EQ(march["8"], "妇女");  // 妇女节 is too wide for the cell: it is shortened and listed
  EXPECT_NE(run.out.find("03-08 妇女节"), std::string::npos);
  EXPECT_EQ(run.out.find("02-10 春节"), std::string::npos);  // shown in full in its cell
}

TEST_F(NorvikProgramTest, ThreeMonthsInEightyColumnsListTheirFestivals) {
  const ProgramRun run = norvik("month 2024-02 -3 --color=never");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_LE(widestLine(run.out), 80);
  const std::vector<std::string> lines = linesOf(run.out);
  EXPECT_EQ(columns(lines[0], 23, 21), "February 2024");
  EXPECT_NE(run.out.find("02-10 春节"), std::string::npos);
  EXPECT_NE(run.out.find("03-20 春分"), std::string::npos);
  EXPECT_NE(run.out.find("01-01 元旦"), std::string::npos);
}

TEST_F(NorvikProgramTest, YearFitsEightyColumnsWithLunarTextsInEveryLanguage) {
  const ProgramRun run = norvik("--lang ja month -y 2025 --color=never");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_LE(widestLine(run.out), 80);
  const std::vector<std::string> lines = linesOf(run.out);
  EXPECT_NE(lines[0].find("2025年"), std::string::npos) << lines[0];
  EXPECT_NE(lines[0].find("乙巳年"), std::string::npos) << lines[0];
  for (const char* month : {"1月", "6月", "12月"}) {
    EXPECT_NE(run.out.find(month), std::string::npos) << month;
  }
  // January 2025 in the left block: the 29th is the Spring Festival, the 5th a solar term.
  std::map<std::string, std::string> january;
  for (std::size_t line = 4; line + 1 < 16 && line + 1 < lines.size(); line += 2) {
    for (const auto& entry : textsUnderNumbers(lines, line, 0, 5, 38)) january.insert(entry);
  }
  EXPECT_EQ(january["29"], "春节");
  EXPECT_EQ(january["5"], "小寒");
  EXPECT_EQ(january["1"], "元旦");
  for (const char* code : {"de", "ar", "ta", "zh-Hant", "ko"}) {
    const ProgramRun other = norvik(std::string("--lang ") + code + " month -y 2025 --color=never");
    EXPECT_EQ(other.status, 0) << code << other.err;
    EXPECT_LE(widestLine(other.out), 80) << code;
  }
}

TEST_F(NorvikProgramTest, NarrowTerminalsGetNumberCellsAndAList) {
  const ProgramRun run = norvik("month 2024-02 --color=never", "COLUMNS=30");
  ASSERT_EQ(run.status, 0) << run.err;
  EXPECT_LE(widestLine(run.out), 30);
  EXPECT_NE(run.out.find("02-10 春节"), std::string::npos);
  const ProgramRun wide = norvik("month 2024-02 --color=never", "COLUMNS=100");
  EXPECT_LE(widestLine(wide.out), 70);
  EXPECT_NE(wide.out.find("春节"), std::string::npos);
  EXPECT_EQ(wide.out.find("02-10 春节"), std::string::npos);
}

// How often each festival and solar-term name falls in the given months, by the library's own
// festival and solar-term operations.
std::map<std::string, int> namesOfMonths(int year, int firstMonth, int count) {
  std::map<std::string, int> names;
  const platform::Calendar calendar = platform::Calendar::currentGregorian();
  for (int i = 0; i < count; ++i) {
    const int y = year + (firstMonth - 1 + i) / 12;
    const int m = (firstMonth - 1 + i) % 12 + 1;
    for (int d = 1; d <= 31; ++d) {
      platform::DateComponents noon;
      noon.year = y, noon.month = m, noon.day = d, noon.hour = 12;
      const std::optional<platform::Date> date = calendar.dateFromComponents(noon);
      if (!date || calendar.components(*date).month != m) break;
      const std::string festival =
          festivalOrLunarCalendar(*date, FestivalMode::chinese, 1, std::nullopt, nullptr);
      if (!festival.empty()) ++names[festival];
      const auto term = NVSolarTermsManager::sharedManager().solarTermOfDay(y, m, d);
      if (term && *term != festival) ++names[*term];
    }
  }
  return names;
}

int occurrences(const std::string& text, const std::string& name) {
  int n = 0;
  for (std::size_t at = text.find(name); at != std::string::npos; at = text.find(name, at + 1)) {
    ++n;
  }
  return n;
}

TEST_F(NorvikProgramTest, EveryFestivalAndSolarTermIsShownInEveryViewAtEveryWidth) {
  struct View {
    std::string arguments;
    int year, firstMonth, count;
  };
  std::vector<View> views;
  for (int year : {2024, 2025}) {
    char month[16];
    for (int m = 1; m <= 12; ++m) {
      std::snprintf(month, sizeof month, "%d-%02d", year, m);
      views.push_back({std::string("month ") + month, year, m, 1});
      // -3 around February, May, August and November shows each month of the year once.
      if (m % 3 == 2) views.push_back({std::string("month -3 ") + month, year, m - 1, 3});
    }
    views.push_back({"month -y " + std::to_string(year), year, 1, 12});
  }
  int checked = 0;
  for (const View& view : views) {
    const std::map<std::string, int> names = namesOfMonths(view.year, view.firstMonth, view.count);
    // Piped at every width; the year once more in colour, where a name is painted whole.
    std::vector<std::pair<std::string, int>> runs;
    for (int width : {30, 50, 80, 120, 160}) runs.emplace_back(view.arguments, width);
    if (view.count == 12) runs.emplace_back(view.arguments + " --color=always", 80);
    for (const auto& [arguments, width] : runs) {
      const ProgramRun run = norvik(arguments, "COLUMNS=" + std::to_string(width));
      ASSERT_EQ(run.status, 0) << arguments << run.err;
      if (run.out.find('\033') == std::string::npos) {
        EXPECT_LE(widestLine(run.out), width) << arguments << " at " << width;
      }
      for (const auto& [name, count] : names) {
        EXPECT_GE(occurrences(run.out, name), count)
            << name << " lost in " << arguments << " at " << width << "\n"
            << run.out;
        ++checked;
      }
    }
  }
  EXPECT_GT(checked, 1000);
}

TEST_F(NorvikProgramTest, WeekStartsAsTheLocaleSaysUnlessChosen) {
  auto firstWeekday = [this](const std::string& args, const std::string& env) {
    const std::vector<std::string> lines = linesOf(norvik(args, env).out);
    return lines.size() > 1 ? columns(lines[1], 0, 9) : std::string();
  };
  EXPECT_EQ(firstWeekday("month 2024-02 --color=never", ""), "Sun");
  EXPECT_EQ(firstWeekday("month 2024-02 --color=never", "LC_ALL=en_GB.UTF-8"), "Mon");
  EXPECT_EQ(firstWeekday("month 2024-02 --week-start monday --color=never", ""), "Mon");
  EXPECT_EQ(firstWeekday("month 2024-02 --week-start sunday --color=never", "LC_ALL=en_GB.UTF-8"),
            "Sun");
  const ProgramRun bad = norvik("month 2024-02 --week-start friday");
  EXPECT_EQ(bad.status, 2);
}

TEST_F(NorvikProgramTest, ColoursFollowTheOptionThenNoColorThenTheTerminal) {
  const std::string month = "month 2024-02 ";
  EXPECT_NE(norvik(month + "--color=always").out.find("\033[31m"), std::string::npos);
  EXPECT_NE(norvik(month + "--color=always", "NO_COLOR=1").out.find("\033["), std::string::npos);
  EXPECT_EQ(norvik(month + "--color=never").out.find('\033'), std::string::npos);
  EXPECT_EQ(norvik(month).out.find('\033'), std::string::npos);  // not a terminal
  EXPECT_EQ(norvik("--color never").out.find('\033'), std::string::npos);
  // Today is highlighted on a terminal only.
  EXPECT_EQ(norvik("month --color=always").out.find("\033[7m"), std::string::npos);
  EXPECT_EQ(norvik("month --color=sometimes").status, 2);
}

TEST_F(NorvikProgramTest, TodayIsHighlightedOnATerminalUnlessNoColor) {
  auto onTerminal = [this](const char* noColor) {
    int master = -1;
    const pid_t pid = forkpty(&master, nullptr, nullptr, nullptr);
    if (pid == 0) {
      setenv("NORVIK_APP_GROUP_DIR", dir_.file("group").c_str(), 1);
      setenv("COLUMNS", "100", 1);
      if (noColor) setenv("NO_COLOR", noColor, 1);
      execl(NORVIK_PROGRAM, "norvik", "month", static_cast<char*>(nullptr));
      _exit(127);
    }
    std::string out;
    char buffer[4096];
    for (ssize_t n; (n = read(master, buffer, sizeof buffer)) > 0;) out.append(buffer, n);
    close(master);
    int status = 0;
    waitpid(pid, &status, 0);
    return out;
  };
  EXPECT_NE(onTerminal(nullptr).find("\033[7m"), std::string::npos);
  EXPECT_EQ(onTerminal("1").find('\033'), std::string::npos);
}

TEST_F(NorvikProgramTest, IcsReadsBackThroughLibicalAsAllDayEventsWithStableUids) {
  const std::string file = dir_.file("cn.ics");
  const ProgramRun run = norvik("ics 2024 2025 -o " + file);
  ASSERT_EQ(run.status, 0) << run.err;
  std::ifstream in(file);
  const std::string text((std::istreambuf_iterator<char>(in)), {});
  EXPECT_NE(text.find("\r\n"), std::string::npos);  // lines end in CRLF
  icalcomponent* calendar = icalparser_parse_string(text.c_str());
  ASSERT_NE(calendar, nullptr);
  EXPECT_EQ(icalcomponent_isa(calendar), ICAL_VCALENDAR_COMPONENT);
  EXPECT_STREQ(icalcomponent_get_first_property(calendar, ICAL_VERSION_PROPERTY)
                   ? icalproperty_get_version(
                         icalcomponent_get_first_property(calendar, ICAL_VERSION_PROPERTY))
                   : "",
               "2.0");
  EXPECT_NE(icalcomponent_get_first_property(calendar, ICAL_PRODID_PROPERTY), nullptr);
  std::set<std::string> uids;
  std::map<std::string, std::string> festivals;  // YYYYMMDD -> summary
  int terms = 0;
  for (icalcomponent* event = icalcomponent_get_first_component(calendar, ICAL_VEVENT_COMPONENT);
       event; event = icalcomponent_get_next_component(calendar, ICAL_VEVENT_COMPONENT)) {
    EXPECT_EQ(icalcomponent_count_errors(event), 0);
    const icaltimetype start = icalcomponent_get_dtstart(event);
    const icaltimetype end = icalcomponent_get_dtend(event);
    ASSERT_TRUE(start.is_date);
    ASSERT_TRUE(end.is_date);
    icaltimetype next = start;
    icaltime_adjust(&next, 1, 0, 0, 0);
    EXPECT_EQ(icaltime_compare_date_only(next, end), 0);
    EXPECT_TRUE(icaltime_is_utc(icalcomponent_get_dtstamp(event)));
    EXPECT_TRUE(uids.insert(icalcomponent_get_uid(event)).second) << icalcomponent_get_uid(event);
    icalproperty* summary = icalcomponent_get_first_property(event, ICAL_SUMMARY_PROPERTY);
    ASSERT_NE(summary, nullptr);
    icalparameter* language = icalproperty_get_first_parameter(summary, ICAL_LANGUAGE_PARAMETER);
    ASSERT_NE(language, nullptr);
    EXPECT_STREQ(icalparameter_get_language(language), "zh-Hans");
    char ymd[16];
    std::snprintf(ymd, sizeof ymd, "%04d%02d%02d", start.year, start.month, start.day);
    const std::string uid = icalcomponent_get_uid(event);
    if (uid.find("-solarterm-") != std::string::npos) {
      ++terms;
    } else {
      festivals[ymd] = icalcomponent_get_summary(event);
    }
  }
  icalcomponent_free(calendar);
  EXPECT_EQ(terms, 48);
  EXPECT_EQ(festivals["20240210"], "春节");
  EXPECT_EQ(festivals["20250129"], "春节");
  EXPECT_EQ(festivals["20240917"], "中秋节");
  EXPECT_EQ(festivals["20241001"], "国庆节");
  EXPECT_EQ(festivals.count("20240404"), 0u);  // Qingming comes once, as the solar term

  // Another run, in another language, names the same events with the same UIDs.
  const ProgramRun again = norvik("--lang ja ics 2024 2025");
  ASSERT_EQ(again.status, 0) << again.err;
  icalcomponent* second = icalparser_parse_string(again.out.c_str());
  ASSERT_NE(second, nullptr);
  std::set<std::string> secondUids;
  for (icalcomponent* event = icalcomponent_get_first_component(second, ICAL_VEVENT_COMPONENT);
       event; event = icalcomponent_get_next_component(second, ICAL_VEVENT_COMPONENT)) {
    secondUids.insert(icalcomponent_get_uid(event));
    icalproperty* description = icalcomponent_get_first_property(event, ICAL_DESCRIPTION_PROPERTY);
    ASSERT_NE(description, nullptr);
    EXPECT_STREQ(icalparameter_get_language(
                     icalproperty_get_first_parameter(description, ICAL_LANGUAGE_PARAMETER)),
                 "ja");
  }
  icalcomponent_free(second);
  EXPECT_EQ(secondUids, uids);

  for (const char* bad : {"ics 2025 2024", "ics 1 300", "ics x", "ics 2024 --only birthdays"}) {
    const ProgramRun refused = norvik(bad);
    EXPECT_EQ(refused.status, 2) << bad;
    EXPECT_EQ(std::count(refused.err.begin(), refused.err.end(), '\n'), 1) << refused.err;
  }
}

TEST_F(NorvikProgramTest, OfficialHolidaysAndWorkingDaysWhereUsersLook) {
  // 休 and 班 beside the numbers: asked for, by a Chinese interface, never with "none".
  const ProgramRun october = norvik("month 2024-10 --official cn --color=never", "COLUMNS=100");
  ASSERT_EQ(october.status, 0) << october.err;
  EXPECT_NE(october.out.find(" 1休"), std::string::npos) << october.out;
  EXPECT_NE(october.out.find(" 7休"), std::string::npos) << october.out;
  EXPECT_NE(october.out.find("12班"), std::string::npos) << october.out;
  EXPECT_EQ(october.out.find(" 8休"), std::string::npos) << october.out;
  const ProgramRun three = norvik("--lang zh-Hans month 2024-02 -3 --color=never", "COLUMNS=120");
  EXPECT_NE(three.out.find(" 4班"), std::string::npos) << three.out;
  EXPECT_NE(three.out.find("17休"), std::string::npos) << three.out;
  EXPECT_EQ(norvik("month 2024-10 --color=never").out.find("休"), std::string::npos);
  EXPECT_EQ(norvik("--lang zh-Hans month 2024-10 --official none").out.find("休"),
            std::string::npos);
  const ProgramRun projected = norvik("month 2027-10 --official cn --color=never");
  EXPECT_NE(projected.out.find("2027: 休 projected"), std::string::npos) << projected.out;

  const ProgramRun day = norvik("--json day 2024-09-29");
  ASSERT_EQ(day.status, 0) << day.err;
  EXPECT_NE(day.out.find("\"officialDay\":\"adjustedWorkingDay\""), std::string::npos) << day.out;
  EXPECT_NE(day.out.find("\"officialFestival\":\"国庆节\""), std::string::npos) << day.out;
  EXPECT_NE(day.out.find("\"officialYear\":\"published\""), std::string::npos) << day.out;

  // The subscribable calendar: one event a break, one a worked weekend day.
  const ProgramRun ics = norvik("ics 2024 --only official");
  ASSERT_EQ(ics.status, 0) << ics.err;
  icalcomponent* calendar = icalparser_parse_string(ics.out.c_str());
  ASSERT_NE(calendar, nullptr);
  std::map<std::string, std::pair<std::string, int>> events;  // start -> summary, days
  for (icalcomponent* event = icalcomponent_get_first_component(calendar, ICAL_VEVENT_COMPONENT);
       event; event = icalcomponent_get_next_component(calendar, ICAL_VEVENT_COMPONENT)) {
    const icaltimetype start = icalcomponent_get_dtstart(event);
    char ymd[16];
    std::snprintf(ymd, sizeof ymd, "%04d%02d%02d", start.year, start.month, start.day);
    const int days = static_cast<int>(
        (icaltime_as_timet(icalcomponent_get_dtend(event)) - icaltime_as_timet(start)) / 86400);
    events[ymd] = {icalcomponent_get_summary(event), days};
  }
  icalcomponent_free(calendar);
  EXPECT_EQ(events["20241001"], (std::pair<std::string, int>{"国庆节 休", 7}));
  EXPECT_EQ(events["20240929"], (std::pair<std::string, int>{"国庆节 补班", 1}));
  EXPECT_EQ(events["20240210"], (std::pair<std::string, int>{"春节 休", 8}));
  EXPECT_EQ(events.size(), 7u + 8u);  // 7 breaks (端午 with its weekend) and 8 worked days
}

TEST_F(NorvikProgramTest, LangIsForOneRunAndLanguageSetStores) {
  auto chosen = [this](const std::string& args) {
    const ProgramRun run = norvik("--json " + args);
    const std::size_t at = run.out.find("\"userLanguageID\":");
    return at == std::string::npos ? std::string("?")
                                   : run.out.substr(at + 17, run.out.find(',', at) - at - 17);
  };
  EXPECT_EQ(chosen("--lang ja language"), "\"ja\"");
  EXPECT_EQ(chosen("language"), "null");
  EXPECT_NE(norvik("--lang ja month 2024-02 --color=never").out.find("2024年2月"),
            std::string::npos);
  EXPECT_EQ(chosen("language"), "null");
  ASSERT_EQ(norvik("language set de").status, 0);
  EXPECT_EQ(chosen("language"), "\"de\"");
  EXPECT_EQ(chosen("--lang ja language"), "\"ja\"");
  EXPECT_EQ(chosen("--lang system language"), "null");
  EXPECT_EQ(chosen("language"), "\"de\"");
  const ProgramRun unknown = norvik("--lang xx month");
  EXPECT_EQ(unknown.status, 2);
  // An unknown time zone is refused the same way; errors of a command name its help.
  const ProgramRun zone = norvik("--time-zone Mars/Base occurrences FREQ=DAILY --start 2024-01-01");
  EXPECT_EQ(zone.status, 2);
  EXPECT_NE(zone.err.find("Mars/Base"), std::string::npos) << zone.err;
  EXPECT_EQ(norvik("--time-zone Europe/Berlin month 2024-02").status, 0);
  EXPECT_NE(norvik("month 2024-13").err.find("(see norvik month --help)"), std::string::npos);
  EXPECT_NE(norvik("settings get").err.find("(see norvik settings get --help)"), std::string::npos);
  EXPECT_EQ(chosen("language"), "\"de\"");
}

TEST_F(NorvikProgramTest, SettingsGetFailsRatherThanPassADefaultOffAsStored) {
  ASSERT_EQ(norvik("settings set timetableScale 3").status, 0);
  EXPECT_EQ(norvik("settings get timetableScale").out, "3\n");
  // Something that is no database stands where the suite's file should be.
  const std::string suite =
      dir_.file("group") + "/Preferences/group.app.norvik.taskcalendar.sqlite";
  std::filesystem::remove(suite);
  std::filesystem::create_directories(suite);
  const ProgramRun run = norvik("settings get timetableScale");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_NE(run.err.find("norvik: settings get timetableScale: the stored value cannot be read"),
            std::string::npos)
      << run.err;
}

TEST_F(NorvikProgramTest, CompletionsAndManualPageCoverEveryCommand) {
  const ProgramRun version = norvik("--version");
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out, "norvik " NORVIK_VERSION "\n");
  // The commands norvik --help lists, under its group headings in this order.
  std::vector<std::string> commands;
  std::vector<std::string> groups;
  bool inList = false;
  for (const std::string& line : linesOf(norvik("--help").out)) {
    if (!line.empty() && line[0] != ' ' && line.back() == ':') {
      inList = line != "Options:";
      if (inList) groups.push_back(line);
    } else if (inList && line.size() > 2 && line[0] == ' ') {
      commands.push_back(line.substr(2, line.find(' ', 2) - 2));
    }
  }
  EXPECT_EQ(groups, (std::vector<std::string>{
                        "Calendars:", "Rules:", "Settings:", "Environment:", "Output:"}));
  ASSERT_GE(commands.size(), 25u);
  EXPECT_EQ(commands.front(), "month");
  const std::string bashFile = dir_.file("norvik.bash");
  ASSERT_EQ(norvik("completion bash -o " + bashFile).status, 0);
  EXPECT_EQ(std::system(("bash -n " + bashFile).c_str()), 0);
  const ProgramRun zsh = norvik("completion zsh");
  const ProgramRun fish = norvik("completion fish");
  const ProgramRun man = norvik("manpage");
  std::ifstream bashIn(bashFile);
  const std::string bash((std::istreambuf_iterator<char>(bashIn)), {});
  for (const std::string& command : commands) {
    std::string roffName;  // roff writes a hyphen as \-
    for (char c : command) roffName += c == '-' ? std::string("\\-") : std::string(1, c);
    EXPECT_TRUE(bash.find(" " + command + " ") != std::string::npos ||
                bash.find("'" + command + " ") != std::string::npos ||
                bash.find(" " + command + "'") != std::string::npos)
        << command;
    EXPECT_NE(zsh.out.find("'" + command + ":"), std::string::npos) << command;
    EXPECT_NE(fish.out.find("-a '" + command + "'"), std::string::npos) << command;
    EXPECT_NE(man.out.find(".SS \"norvik " + roffName), std::string::npos) << command;
  }
  EXPECT_NE(fish.out.find("-l 'color' -x -a 'auto always never'"), std::string::npos);
  EXPECT_EQ(man.out.rfind(".\\\" Made by: norvik manpage", 0), 0u);
  EXPECT_NE(man.out.find(".TH NORVIK 1"), std::string::npos);
  for (const char* heading :
       {".SH FILES", ".SH EXAMPLES", ".SH SEE ALSO", "OfficialCalendar.txt"}) {
    EXPECT_NE(man.out.find(heading), std::string::npos) << heading;
  }
  // Completing "norvik language s" and the values of --color in bash itself.
  const std::string probe =
      "source " + bashFile +
      "; COMP_WORDS=(norvik --json --color never language s); COMP_CWORD=5; _norvik; "
      "echo \"${COMPREPLY[*]}\"; COMP_WORDS=(norvik month --color a); COMP_CWORD=3; _norvik; "
      "echo \"${COMPREPLY[*]}\"; COMP_WORDS=(norvik month --lang zh); COMP_CWORD=3; _norvik; "
      "echo \"${COMPREPLY[*]}\"; COMP_WORDS=(norvik language set pt); COMP_CWORD=3; _norvik; "
      "echo \"${COMPREPLY[*]}\"; COMP_WORDS=(norvik convert 2024-01-01 --calendar hi); "
      "COMP_CWORD=4; _norvik; echo \"${COMPREPLY[*]}\"";
  FILE* pipe = popen(("bash -c '" + probe + "'").c_str(), "r");
  ASSERT_NE(pipe, nullptr);
  std::string out;
  char buffer[512];
  for (std::size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) out.append(buffer, n);
  pclose(pipe);
  EXPECT_EQ(out, "set\nauto always\nzh-Hans zh-Hant\npt-BR\nhijri hijri-kuwaiti hijri-saudi\n");
}

}  // namespace
}  // namespace norvik
