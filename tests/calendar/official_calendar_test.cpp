#include "norvik/calendar/official_calendar.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <set>
#include <thread>

#include "norvik/platform/logger.h"

namespace norvik {
namespace {

using Kind = NVOfficialDayKind;

NVOfficialDay dayOf(int y, int m, int d) {
  return NVOfficialCalendar::dayOf(y, m, d).value();
}

// "kind festival" of a day, for compact expectations.
std::string describe(int y, int m, int d) {
  const NVOfficialDay day = dayOf(y, m, d);
  return std::string(officialDayKindName(day.kind)) +
         (day.festival.empty() ? "" : " " + std::string(day.festival));
}

void writeFile(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << text;
}

// Writes the override file for one test and removes it afterwards.
class OverrideFile : public ::testing::Test {
 protected:
  void SetUp() override {
    path_ = NVOfficialCalendar::overrideFilePath();
    ASSERT_FALSE(path_.empty());
  }
  void TearDown() override {
    std::filesystem::remove(path_);
    NVOfficialCalendar::reload();
  }
  std::string path_;
};

TEST(OfficialCalendar, EveryPublishedDayIsConsistent) {
  const std::set<std::string_view> festivals = {"元旦",   "春节",   "清明节", "劳动节",
                                                "端午节", "中秋节", "国庆节", "抗战胜利纪念日"};
  for (int year = 2004; year <= 2026; ++year) {
    ASSERT_EQ(NVOfficialCalendar::yearStatus(year), NVOfficialYearStatus::published) << year;
    int working = 0;
    for (CivilDay d = civilDayFromGregorian(year, 1, 1); d < civilDayFromGregorian(year + 1, 1, 1);
         ++d) {
      const NVOfficialDay day = NVOfficialCalendar::dayOfCivilDay(d);
      const int weekday = static_cast<int>(((d + 4) % 7 + 7) % 7);
      const bool weekend = weekday == 0 || weekday == 6;
      const std::string where = isoDayText(gregorianFromCivilDay(d));
      switch (day.kind) {
        case Kind::adjustedWorkingDay:
          EXPECT_TRUE(weekend) << where;
          [[fallthrough]];
        case Kind::statutoryHoliday:
          EXPECT_TRUE(festivals.count(day.festival)) << where << " " << day.festival;
          break;
        case Kind::ordinaryWeekend:
        case Kind::ordinaryWorkingDay:
          EXPECT_EQ(day.kind == Kind::ordinaryWeekend, weekend) << where;
          EXPECT_TRUE(day.festival.empty()) << where;
      }
      working += day.isWorkingDay();
    }
    // A year has 365 or 366 days, 104-106 weekend days and 7-13 statutory days off.
    EXPECT_GE(working, 244) << year;
    EXPECT_LE(working, 254) << year;
  }
}

TEST(OfficialCalendar, SpotChecksAgainstTheNotices) {
  // 2006: 2005-12-31 worked for New Year; Spring Festival with a Saturday and a Sunday worked;
  // 2006-12-30/31 worked for the 2007 New Year.
  EXPECT_EQ(describe(2005, 12, 31), "adjustedWorkingDay 元旦");
  EXPECT_EQ(describe(2006, 1, 28), "adjustedWorkingDay 春节");
  EXPECT_EQ(describe(2006, 2, 4), "statutoryHoliday 春节");
  EXPECT_EQ(describe(2006, 2, 5), "adjustedWorkingDay 春节");
  EXPECT_EQ(describe(2006, 12, 30), "adjustedWorkingDay 元旦");
  // 2008: the first year of the 2007 regulation, New Year from 2007-12-30.
  EXPECT_EQ(describe(2007, 12, 29), "adjustedWorkingDay 元旦");
  EXPECT_EQ(describe(2007, 12, 31), "statutoryHoliday 元旦");
  EXPECT_EQ(describe(2008, 6, 7), "statutoryHoliday 端午节");
  // 2013: a weekend worked before or after nearly every break.
  EXPECT_EQ(describe(2013, 1, 5), "adjustedWorkingDay 元旦");
  EXPECT_EQ(describe(2013, 4, 27), "adjustedWorkingDay 劳动节");
  EXPECT_EQ(describe(2013, 9, 22), "adjustedWorkingDay 中秋节");
  EXPECT_EQ(describe(2013, 9, 29), "adjustedWorkingDay 国庆节");
  EXPECT_EQ(describe(2013, 10, 12), "adjustedWorkingDay 国庆节");
  // 2015: the one-off victory day break, and Mid-Autumn on a Sunday without compensation.
  EXPECT_EQ(describe(2015, 1, 4), "adjustedWorkingDay 元旦");
  EXPECT_EQ(describe(2015, 9, 3), "statutoryHoliday 抗战胜利纪念日");
  EXPECT_EQ(describe(2015, 9, 5), "statutoryHoliday 抗战胜利纪念日");
  EXPECT_EQ(describe(2015, 9, 6), "adjustedWorkingDay 抗战胜利纪念日");
  EXPECT_EQ(describe(2015, 9, 27), "statutoryHoliday 中秋节");
  EXPECT_EQ(describe(2015, 9, 28), "ordinaryWorkingDay");
  // 2020: Spring Festival extended to 2 February, so 1 February was no longer worked.
  EXPECT_EQ(describe(2020, 2, 1), "statutoryHoliday 春节");
  EXPECT_EQ(describe(2020, 2, 2), "statutoryHoliday 春节");
  EXPECT_EQ(describe(2020, 2, 3), "ordinaryWorkingDay");
  // 2024 and 2025.
  EXPECT_EQ(describe(2024, 2, 9), "ordinaryWorkingDay");  // the eve was not yet a holiday
  EXPECT_EQ(describe(2024, 6, 8), "statutoryHoliday 端午节");
  EXPECT_EQ(describe(2024, 9, 29), "adjustedWorkingDay 国庆节");
  EXPECT_EQ(describe(2024, 10, 7), "statutoryHoliday 国庆节");
  EXPECT_EQ(describe(2024, 10, 13), "ordinaryWeekend");
  EXPECT_EQ(describe(2025, 1, 28), "statutoryHoliday 春节");  // the eve, from 2025
  EXPECT_EQ(describe(2025, 10, 6), "statutoryHoliday 中秋节");
  EXPECT_EQ(NVOfficialCalendar::dayOf(2025, 2, 29), std::nullopt);
  EXPECT_EQ(NVOfficialCalendar::dayOfDate(platform::Date(NAN)), std::nullopt);
  // 2024-10-01 00:30 in Shanghai is still 30 September in UTC.
  const platform::Calendar shanghai(platform::CalendarIdentifier::gregorian,
                                    *platform::TimeZone::withIdentifier("Asia/Shanghai"),
                                    platform::Locale("zh_CN"));
  const platform::Date lateNight(static_cast<double>(civilDayFromGregorian(2024, 9, 30)) * 86400 +
                                 16.5 * 3600);
  EXPECT_TRUE(NVOfficialCalendar::dayOfDate(lateNight, shanghai)->isHoliday());
  EXPECT_FALSE(NVOfficialCalendar::dayOfDate(lateNight)->isHoliday());
}

TEST(OfficialCalendar, ProjectedYearsFollowTheCalendar) {
  EXPECT_EQ(NVOfficialCalendar::yearStatus(2003), NVOfficialYearStatus::none);
  EXPECT_EQ(NVOfficialCalendar::yearStatus(2027), NVOfficialYearStatus::projected);
  EXPECT_EQ(NVOfficialCalendar::yearStatus(2100), NVOfficialYearStatus::projected);
  EXPECT_EQ(NVOfficialCalendar::yearStatus(2101), NVOfficialYearStatus::none);
  EXPECT_EQ(describe(2003, 10, 1), "ordinaryWorkingDay");
  // 2027: new year on 6 February, Qingming 5 April, Dragon Boat 9 June, Mid-Autumn 15 September.
  EXPECT_EQ(describe(2027, 1, 1), "statutoryHoliday 元旦");
  EXPECT_EQ(describe(2027, 1, 2), "ordinaryWeekend");
  EXPECT_EQ(describe(2027, 2, 4), "ordinaryWorkingDay");
  for (int d = 5; d <= 8; ++d) EXPECT_EQ(describe(2027, 2, d), "statutoryHoliday 春节") << d;
  EXPECT_EQ(describe(2027, 2, 9), "ordinaryWorkingDay");
  EXPECT_EQ(describe(2027, 4, 5), "statutoryHoliday 清明节");
  EXPECT_EQ(describe(2027, 5, 2), "statutoryHoliday 劳动节");
  EXPECT_EQ(describe(2027, 5, 3), "ordinaryWorkingDay");
  EXPECT_EQ(describe(2027, 6, 9), "statutoryHoliday 端午节");
  EXPECT_EQ(describe(2027, 9, 15), "statutoryHoliday 中秋节");
  EXPECT_EQ(describe(2027, 10, 3), "statutoryHoliday 国庆节");
  EXPECT_EQ(describe(2027, 10, 4), "ordinaryWorkingDay");
  // 2031: Mid-Autumn falls on 1 October and National Day keeps the day.
  EXPECT_EQ(describe(2031, 10, 1), "statutoryHoliday 国庆节");
  // Thirteen statutory days a year (twelve when Mid-Autumn falls on National Day), none worked.
  for (int year = 2027; year <= 2100; ++year) {
    int holidays = 0;
    for (CivilDay d = civilDayFromGregorian(year, 1, 1); d < civilDayFromGregorian(year + 1, 1, 1);
         ++d) {
      const NVOfficialDay day = NVOfficialCalendar::dayOfCivilDay(d);
      ASSERT_NE(day.kind, Kind::adjustedWorkingDay) << d;
      holidays += day.isHoliday();
    }
    bool midAutumnOnNationalDay = false;
    for (int d = 1; d <= 3; ++d) {
      const auto lunar = chineseLunarDateOfCivilDay(civilDayFromGregorian(year, 10, d));
      midAutumnOnNationalDay |= lunar->month == 8 && lunar->day == 15 && !lunar->isLeapMonth;
    }
    EXPECT_EQ(holidays, midAutumnOnNationalDay ? 12 : 13) << year;
  }
}

TEST_F(OverrideFile, AddsAYearReplacesOneAndIsPickedUpWithoutReload) {
  writeFile(path_,
            "# next year's notice\n"
            "[2027]\n"
            "2027-02-05..2027-02-12 holiday 春节\n"
            "2027-02-20 workday 春节\n"
            "[2026]\n"
            "2026-10-01..2026-10-08 holiday 国庆节\r\n");
  NVOfficialCalendar::reload();
  EXPECT_EQ(NVOfficialCalendar::yearStatus(2027), NVOfficialYearStatus::published);
  EXPECT_EQ(NVOfficialCalendar::current().lastPublishedYear(), 2027);
  EXPECT_EQ(describe(2027, 2, 12), "statutoryHoliday 春节");
  EXPECT_EQ(describe(2027, 2, 20), "adjustedWorkingDay 春节");
  EXPECT_EQ(describe(2027, 1, 1), "ordinaryWorkingDay");  // published: nothing projected
  // 2026 is the file's alone: its Spring Festival and worked Saturday are gone.
  EXPECT_EQ(describe(2026, 2, 16), "ordinaryWorkingDay");
  EXPECT_EQ(describe(2026, 2, 14), "ordinaryWeekend");
  EXPECT_EQ(describe(2026, 10, 8), "statutoryHoliday 国庆节");
  EXPECT_EQ(describe(2025, 10, 6), "statutoryHoliday 中秋节");  // other years are untouched

  // A changed file is seen by ordinary lookups within about a second.
  writeFile(path_, "[2027]\n2027-03-01 holiday 春节\n");
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (!dayOf(2027, 3, 1).isHoliday() && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  EXPECT_EQ(describe(2027, 3, 1), "statutoryHoliday 春节");
  EXPECT_EQ(describe(2026, 2, 16), "statutoryHoliday 春节");
  // The host's own path takes the container's place.
  const std::string hostPath = path_ + ".host";
  writeFile(hostPath, "[2028]\n2028-01-03 holiday 元旦\n");
  NVOfficialCalendar::setOverrideFilePath(hostPath);
  EXPECT_EQ(NVOfficialCalendar::yearStatus(2027), NVOfficialYearStatus::projected);
  EXPECT_EQ(describe(2028, 1, 3), "statutoryHoliday 元旦");
  NVOfficialCalendar::setOverrideFilePath(std::nullopt);
  std::filesystem::remove(hostPath);
  EXPECT_EQ(describe(2028, 1, 3), "ordinaryWorkingDay");
}

TEST_F(OverrideFile, AMalformedFileIsLoggedOnceAndIgnored) {
  std::vector<std::string> lines;
  auto previous = SVLoggerObjcWrapper::setSink(
      [&lines](const SVLogRecord& record) { lines.push_back(record.message); });
  writeFile(path_, "[2026]\n2026-10-01..2026-10-08 holiday 国庆节\n2026-10-12 workday 国庆节\n");
  NVOfficialCalendar::reload();
  NVOfficialCalendar::reload();  // the same file is not read again
  SVLoggerObjcWrapper::setSink(previous);
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_NE(lines[0].find("line 3: 2026-10-12 is a weekday"), std::string::npos) << lines[0];
  EXPECT_NE(lines[0].find(path_), std::string::npos) << lines[0];
  EXPECT_EQ(describe(2026, 10, 8), "ordinaryWorkingDay");  // the built-in data holds
  EXPECT_EQ(describe(2026, 2, 14), "adjustedWorkingDay 春节");
}

class OfficialCalendarConcurrency : public OverrideFile {};

// Readers see either the old or the new table while another thread replaces the file.
TEST_F(OfficialCalendarConcurrency, ReadersSeeOneTableOrTheOtherDuringReloads) {
  std::atomic<bool> stop{false};
  std::atomic<int> wrong{0};
  std::vector<std::thread> readers;
  for (int t = 0; t < 3; ++t) {
    readers.emplace_back([&] {
      while (!stop.load()) {
        const NVOfficialDay day =
            NVOfficialCalendar::dayOfCivilDay(civilDayFromGregorian(2027, 3, 1));
        const bool known = day.kind == Kind::ordinaryWorkingDay ||
                           (day.isHoliday() && (day.festival == "甲" || day.festival == "乙"));
        wrong += !known;
      }
    });
  }
  for (int i = 0; i < 40; ++i) {
    writeFile(path_, std::string("[2027]\n2027-03-01 holiday ") + (i % 2 ? "甲" : "乙") + "\n");
    NVOfficialCalendar::reload();
  }
  stop = true;
  for (std::thread& t : readers) t.join();
  EXPECT_EQ(wrong.load(), 0);
}

TEST(OfficialCalendarFile, RejectsEveryKindOfError) {
  const std::pair<const char*, const char*> cases[] = {
      {"2024-01-01 holiday 元旦\n", "line 1: an entry before the first section"},
      {"[24]\n", "line 1: '[24]' is not a section"},
      {"[1900]\n", "line 1: year 1900 is outside"},
      {"[2024]\n[2024]\n", "line 2: section 2024 is given twice"},
      {"[2024]\n2024-02-30 holiday 春节\n", "line 2: '2024-02-30' is not a day"},
      {"[2024]\n2024-10-07..2024-10-01 holiday 国庆节\n", "ends before it starts"},
      {"[2024]\n2024-01-01..2024-03-31 holiday 春节\n", "is too long"},
      {"[2024]\n2024-10-01 rest 国庆节\n", "'rest' is not holiday or workday"},
      {"[2024]\n2024-10-01 holiday\n", "the festival is missing"},
      {"[2024]\n2024-10-01\n", "needs a kind and a festival"},
      {"[2024]\n2023-11-30 holiday 元旦\n", "2023-11-30 is outside the year 2024"},
      {"[2024]\n2024-10-01..03 holiday 国庆节\n", "is not a day or a range"},
      {"[2024]\n2024-10-01..2024-10-03 holiday 国庆节\n2024-10-03 holiday 国庆节\n",
       "line 3: 2024-10-03 is given twice"},
  };
  for (const auto& [text, expected] : cases) {
    std::string error;
    EXPECT_FALSE(parseOfficialCalendar(text, &error)) << text;
    EXPECT_NE(error.find(expected), std::string::npos) << text << " -> " << error;
  }
  const auto years = parseOfficialCalendar("\n# c\n[2024]\n  2023-12-31 workday 元旦  \n");
  ASSERT_TRUE(years);
  ASSERT_EQ(years->at(2024).size(), 1u);
  EXPECT_FALSE(years->at(2024)[0].holiday);
  EXPECT_EQ(years->at(2024)[0].festival, "元旦");
}

}  // namespace
}  // namespace norvik
