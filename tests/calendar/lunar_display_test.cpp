#include "norvik/calendar/lunar_display.h"

#include <gtest/gtest.h>

#include <cmath>
#include <thread>

#include "norvik/calendar/solar_terms.h"
#include "norvik/platform/date_formatter.h"
#include "norvik/platform/environment.h"

namespace norvik {
namespace {

using platform::Calendar;
using platform::CalendarIdentifier;
using platform::Date;
using platform::Locale;
using platform::TimeZone;

// Noon UTC of a day; the tests run in UTC.
Date noon(int y, int m, int d) {
  return Date(static_cast<double>(civilDayFromGregorian(y, m, d)) * 86400.0 + 43200.0);
}

std::string festival(int y, int m, int d, FestivalMode mode = FestivalMode::chinese) {
  return festivalOrLunarCalendar(noon(y, m, d), mode, 1, std::nullopt, nullptr);
}

TEST(LunarDisplay, NamesOfMonthsAndDays) {
  EXPECT_EQ(convertToChineseDay(0), "");
  EXPECT_EQ(convertToChineseDay(31), "");
  EXPECT_EQ(convertToChineseDay(21), "廿一");
  EXPECT_EQ(convertToChineseDay(20), "二十");
  EXPECT_EQ(convertToChineseDay(30), "三十");
  EXPECT_EQ(convertToChineseMonth(11), "冬月");
  EXPECT_EQ(convertToChineseMonth(13), "");
  EXPECT_EQ(displayMonthDayInLunarCalendar(noon(2024, 2, 10)), "正月初一");
  EXPECT_EQ(displayDayInLunarCalendar(noon(2024, 3, 2)), "廿二");
  EXPECT_EQ(displayDayInLunarCalendar(ReferenceDate()), "");
  EXPECT_EQ(displayMonthDayInLunarCalendar(std::make_shared<const Date>(noon(2024, 2, 10))),
            "正月初一");
  // A leap month is named like its ordinary month; the "LLLL" text marks it.
  EXPECT_EQ(displayMonthDayInLunarCalendar(noon(2023, 3, 22)), "二月初一");
  EXPECT_EQ(monthDay_lunar(noon(2023, 3, 22)), "闰二月初一");
  EXPECT_EQ(monthDay_lunar(noon(2024, 12, 1)), "十一月初一");
  EXPECT_EQ(displayMonthDayInLunarCalendar(Date(std::nan(""))), "");
}

TEST(LunarDisplay, DayCellText) {
  // 2024-02-04 is 立春 and lunar 12-25; 2024-03-10 is lunar 2-1.
  EXPECT_EQ(dayStringInLunarCalendar(noon(2024, 2, 4), std::nullopt, true, true), "立春");
  EXPECT_EQ(dayStringInLunarCalendar(noon(2024, 2, 4), std::nullopt, false, true), "廿五");
  EXPECT_EQ(dayStringInLunarCalendar(noon(2024, 3, 10), std::nullopt, true, true), "二月");
  EXPECT_EQ(dayStringInLunarCalendar(noon(2024, 3, 10), std::nullopt, true, false), "初一");
  // 2024-12-21 is 冬至 and lunar 11-21.
  EXPECT_EQ(dayStringInLunarCalendar(noon(2024, 12, 21), std::nullopt, true, true), "冬至");
}

TEST(LunarDisplay, LunarFestivals) {
  // New Year's Eve on a 30-day and on a 29-day twelfth month, then the New Year.
  EXPECT_EQ(festivalInLunarCalendar(noon(2024, 2, 9)), "除夕");
  EXPECT_EQ(festivalInLunarCalendar(noon(2024, 2, 10)), "春节");
  EXPECT_EQ(festivalInLunarCalendar(noon(2025, 1, 28)), "除夕");
  EXPECT_EQ(displayDayInLunarCalendar(noon(2025, 1, 28)), "廿九");
  EXPECT_EQ(festivalInLunarCalendar(noon(2025, 1, 29)), "春节");
  EXPECT_EQ(festivalInLunarCalendar(noon(2024, 2, 24)), "元宵");
  EXPECT_EQ(festivalInLunarCalendar(noon(2024, 6, 10)), "端午节");
  EXPECT_EQ(festivalInLunarCalendar(noon(2024, 8, 10)), "七夕");
  EXPECT_EQ(festivalInLunarCalendar(noon(2024, 9, 17)), "中秋节");
  EXPECT_EQ(festivalInLunarCalendar(noon(2025, 1, 22)), "北方小年");
  EXPECT_EQ(festivalInLunarCalendar(noon(2025, 1, 23)), "南方小年");
  EXPECT_EQ(festivalInLunarCalendar(noon(2024, 3, 1)), std::nullopt);
  // Day 15 of the leap seventh month of 2006 is also 中元节.
  EXPECT_EQ(monthDay_lunar(noon(2006, 9, 7)), "闰七月十五");
  EXPECT_EQ(festivalInLunarCalendar(noon(2006, 9, 7)), "中元节");
}

TEST(LunarDisplay, GregorianFestivalPriorities) {
  EXPECT_EQ(festival(2020, 10, 1), "国庆节");  // also the Mid-Autumn festival
  EXPECT_EQ(festivalInLunarCalendar(noon(2020, 10, 1)), "中秋节");
  EXPECT_EQ(festival(2014, 2, 14), "元宵");  // lunar 1-15
  EXPECT_EQ(festival(2024, 2, 14), "情人节");
  EXPECT_EQ(festival(2024, 9, 10), "教师节");
  EXPECT_EQ(festival(2024, 1, 1), "元旦");
  EXPECT_EQ(festival(2024, 12, 25), "圣诞节");
  EXPECT_EQ(festival(2024, 4, 4), "清明");  // the solar term between 3 and 6 April
  EXPECT_EQ(festival(2024, 4, 7), "");
  EXPECT_EQ(festival(2024, 2, 9), "除夕");
  EXPECT_EQ(festival(2024, 3, 11), "");
  EXPECT_EQ(festival(2024, 2, 9, FestivalMode::none), "");
}

TEST(LunarDisplay, WeekRule) {
  // May 2021 starts on a Saturday: the rule picks the 16th, not the 9th.
  EXPECT_EQ(festival(2021, 5, 16), "母亲节");
  EXPECT_EQ(festival(2021, 5, 9), "");
  // May 2024 starts on a Wednesday: the second Sunday, the 12th.
  EXPECT_EQ(festival(2024, 5, 12), "母亲节");
  // June 2024 starts on a Saturday: the 23rd.
  EXPECT_EQ(festival(2024, 6, 23), "父亲节");
  EXPECT_EQ(festival(2024, 6, 16), "");
  // June 2025 starts on a Sunday: the third Sunday, the 15th.
  EXPECT_EQ(festival(2025, 6, 15), "父亲节");
  // November 2024 starts on a Friday: the fourth Thursday, the 28th.
  EXPECT_EQ(festival(2024, 11, 28), "感恩节");
}

TEST(LunarDisplay, JapaneseModeUsesOnlyTheCallback) {
  std::string zoneSeen;
  const HolidayNameBlock block = [&](Date date,
                                     const TimeZone& zone) -> std::optional<std::string> {
    zoneSeen = zone.identifier();
    if (date == noon(2024, 5, 3)) return "憲法記念日";
    return std::nullopt;
  };
  EXPECT_EQ(
      festivalOrLunarCalendar(noon(2024, 5, 3), FestivalMode::japanese, 1, std::nullopt, block),
      "憲法記念日");
  EXPECT_EQ(zoneSeen, "UTC");
  EXPECT_EQ(
      festivalOrLunarCalendar(noon(2024, 2, 10), FestivalMode::japanese, 1, std::nullopt, block),
      "");
  EXPECT_EQ(
      festivalOrLunarCalendar(noon(2024, 2, 10), FestivalMode::japanese, 1, std::nullopt, nullptr),
      "");
}

TEST(LunarDisplay, ReanchorsToTheCalendarsDay) {
  const Calendar shanghai(CalendarIdentifier::gregorian, *TimeZone::withIdentifier("Asia/Shanghai"),
                          Locale("zh_CN"));
  const Calendar london(CalendarIdentifier::gregorian, *TimeZone::withIdentifier("Europe/London"),
                        Locale("en_GB"));
  // 2024-02-09 20:00 UTC is already 10 February in Shanghai.
  const Date evening(static_cast<double>(civilDayFromGregorian(2024, 2, 9)) * 86400.0 + 72000.0);
  EXPECT_EQ(displayMonthDayInLunarCalendar(evening), "腊月三十");
  EXPECT_EQ(displayMonthDayInLunarCalendar(evening, shanghai), "正月初一");
  EXPECT_EQ(festivalInLunarCalendar(evening, shanghai), "春节");
  // London has the current zone's offset now (the fixed clock is in March, before summer time):
  // no re-anchoring.
  EXPECT_EQ(displayMonthDayInLunarCalendar(evening, london), "腊月三十");
  // In Shanghai as the current zone, the same instant is the New Year without any calendar.
  platform::ScopedEnvironment inShanghai([] {
    auto env = *platform::currentEnvironment();
    env.timeZoneIdentifier = "Asia/Shanghai";
    return env;
  }());
  EXPECT_EQ(displayMonthDayInLunarCalendar(evening), "正月初一");
  EXPECT_EQ(displayMonthDayInLunarCalendar(evening, london), "腊月三十");
}

// Festivals and solar terms go by the Gregorian day of the instant whatever calendar the locale
// makes current: a Persian 1403-07-10 or a Buddhist 2567-10-01 is never looked up as a Gregorian
// day.
TEST(LunarDisplay, NonGregorianCurrentCalendars) {
  const Date evening(static_cast<double>(civilDayFromGregorian(2024, 2, 9)) * 86400.0 + 72000.0);
  const TimeZone shanghaiZone = *TimeZone::withIdentifier("Asia/Shanghai");
  for (const char* locale :
       {"fa_IR@calendar=persian", "th_TH@calendar=buddhist", "ja_JP@calendar=japanese",
        "he_IL@calendar=hebrew", "ar_SA@calendar=islamic-umalqura"}) {
    SCOPED_TRACE(locale);
    const Locale own(locale);
    {
      platform::ScopedEnvironment scoped([&] {
        auto env = *platform::currentEnvironment();
        env.localeIdentifier = locale;
        return env;
      }());
      const Calendar current = Calendar::autoupdatingCurrent();
      ASSERT_NE(current.identifier(), CalendarIdentifier::gregorian);
      EXPECT_NE(current.components(noon(2024, 10, 1)).year, 2024);
      EXPECT_EQ(festival(2024, 10, 1), "国庆节");
      EXPECT_EQ(festival(2024, 4, 4), "清明");
      EXPECT_EQ(festival(2024, 5, 12), "母亲节");
      EXPECT_EQ(festival(2024, 5, 5), "");
      EXPECT_EQ(festival(2024, 2, 10), "春节");
      EXPECT_EQ(festival(2024, 2, 14), "情人节");
      EXPECT_EQ(NVSolarTermsManager::sharedManager().solarTermByDate(noon(2024, 2, 4)), "立春");
      EXPECT_EQ(NVSolarTermsManager::sharedManager().solarTermByDate(noon(2024, 2, 5)),
                std::nullopt);
      EXPECT_EQ(
          festivalOrLunarCalendar(noon(2024, 4, 4), FestivalMode::chinese, 1, current, nullptr),
          "清明");
    }
    // The same calendar type given for another zone re-anchors to its own day.
    const Calendar typed(*platform::calendarIdentifierFromName(own.keywordValue("calendar")),
                         shanghaiZone, own);
    EXPECT_EQ(displayMonthDayInLunarCalendar(evening, typed), "正月初一");
    EXPECT_EQ(festivalOrLunarCalendar(evening, FestivalMode::chinese, 1, typed, nullptr), "春节");
    EXPECT_EQ(dayStringInLunarCalendar(evening, typed, true, false), "初一");
  }
}

// The whole-month grid gives the per-day functions' texts, cell by cell, over the table's years,
// every week start, with and without solar terms and month names.
TEST(LunarMonthGrid, SameTextsAsTheDayFunctions) {
  int checked = 0;
  std::vector<int> indices;
  for (int index = 0; index < 201 * 12; index += 7) indices.push_back(index);
  // The table's two ends (grids reaching 1899 and 2101) and 1906's published fourth month.
  indices.insert(indices.end(), {0, 201 * 12 - 1, 6 * 12 + 3, 6 * 12 + 4});
  for (int index : indices) {
    const int year = 1900 + index / 12;
    const int month = index % 12 + 1;
    const int firstWeekday = index % 7 + 1;
    const bool solarTerm = index % 3 != 0;
    const bool monthName = index % 5 != 0;
    const LunarMonthGrid grid = lunarMonthGrid(year, month, firstWeekday, solarTerm, monthName);
    const CivilDay first = civilDayFromGregorian(year, month, 1);
    ASSERT_LE(grid[0].day, first);
    ASSERT_GT(grid[0].day + 7, first);
    ASSERT_EQ(((grid[0].day + 4) % 7 + 7) % 7 + 1, firstWeekday);
    for (std::size_t k = 0; k < grid.size(); ++k) {
      const LunarGridCell& cell = grid[k];
      ASSERT_EQ(cell.day, grid[0].day + static_cast<CivilDay>(k));
      const Date date(static_cast<double>(cell.day) * 86400.0 + 43200.0);
      EXPECT_EQ(cell.dayText, dayStringInLunarCalendar(date, std::nullopt, solarTerm, monthName))
          << isoDayText(gregorianFromCivilDay(cell.day));
      EXPECT_EQ(cell.festival,
                festivalOrLunarCalendar(date, FestivalMode::chinese, 1, std::nullopt, nullptr))
          << isoDayText(gregorianFromCivilDay(cell.day));
      ++checked;
    }
  }
  EXPECT_EQ(checked, 349 * 42);
  // Known cells: February 2024 from Sunday 28 January holds 除夕 (02-09), 春节 and 立春.
  const LunarMonthGrid february = lunarMonthGrid(2024, 2, 1, true, true);
  EXPECT_EQ(february[0].day, civilDayFromGregorian(2024, 1, 28));
  EXPECT_EQ(february[12].festival, "除夕");
  EXPECT_EQ(february[13].festival, "春节");
  EXPECT_EQ(february[13].dayText, "正月");
  EXPECT_EQ(february[7].dayText, "立春");
  // A week start outside 1..7 counts as Sunday; the month outside the table still has texts.
  EXPECT_EQ(lunarMonthGrid(2024, 2, 0, true, true)[0].day, february[0].day);
  EXPECT_EQ(lunarMonthGrid(2024, 2, 99, true, true)[0].day, february[0].day);
  const LunarMonthGrid early = lunarMonthGrid(1850, 6, 2, true, true);
  EXPECT_FALSE(early[20].dayText.empty());
  EXPECT_EQ(early[20].dayText,
            dayStringInLunarCalendar(Date(static_cast<double>(early[20].day) * 86400.0 + 43200.0),
                                     std::nullopt, true, true));
}

TEST(LunarDisplay, YearTexts) {
  EXPECT_EQ(years_lunar(noon(2024, 2, 10), true, true),
            (std::vector<std::string>{"甲辰年", "二零二四", "龙年"}));
  EXPECT_EQ(years_lunar(noon(2024, 2, 9), false, true),
            (std::vector<std::string>{"癸卯年", "兔年"}));
  EXPECT_EQ(years_lunar(noon(2010, 3, 1), true, false),
            (std::vector<std::string>{"庚寅年", "二零一零"}));
  EXPECT_EQ(yearMonthDay_lunar(noon(2024, 2, 10), true, true), "甲辰年(2024)正月初一");
  EXPECT_EQ(yearMonthDay_lunar(noon(2024, 2, 10), false, true), "甲辰年 正月初一");
  EXPECT_EQ(yearMonthDay_lunar(noon(2024, 2, 10), false, false), "甲辰年正月初一");
}

// Where the platform's Chinese calendar is right (2020-2026), the texts are its texts.
TEST(LunarDisplay, AgreesWithThePlatformFormatterWhereItIsRight) {
  const platform::DateFormatter formatter(
      "U年LLLL", Locale("zh_CN"),
      Calendar(CalendarIdentifier::chinese, TimeZone::utc(), Locale("zh_CN")));
  const Calendar chinese(CalendarIdentifier::chinese, TimeZone::utc(), Locale("zh_CN"));
  for (CivilDay d = civilDayFromGregorian(2020, 1, 1); d <= civilDayFromGregorian(2026, 12, 31);
       d += 2) {
    const Date date(static_cast<double>(d) * 86400.0 + 43200.0);
    const int day = *chinese.component(platform::CalendarUnit::day, date);
    EXPECT_EQ(yearMonthDay_lunar(date, false, false),
              formatter.format(date) + convertToChineseDay(day))
        << isoDayText(gregorianFromCivilDay(d));
  }
}

}  // namespace
}  // namespace norvik

namespace norvik {
namespace {

// The shared manager's first use, the month table's index and the per-thread offset caches from
// several threads at once give the same texts as one thread.
TEST(LunarDisplayConcurrency, TextsFromManyThreads) {
  std::vector<std::string> expected;
  const CivilDay first = civilDayFromGregorian(2023, 12, 1);
  auto texts = [first](int k) {
    const Date date(static_cast<double>(first + k) * 86400.0 + 43200.0);
    return dayStringInLunarCalendar(date, std::nullopt, true, true) + "|" +
           festivalOrLunarCalendar(date, FestivalMode::chinese, 1, std::nullopt, nullptr);
  };
  std::vector<std::vector<std::string>> results(4);
  std::vector<std::thread> threads;
  for (std::size_t t = 0; t < results.size(); ++t) {
    threads.emplace_back([&, t] {
      for (int k = 0; k < 120; ++k) results[t].push_back(texts(k));
    });
  }
  for (auto& thread : threads) thread.join();
  for (int k = 0; k < 120; ++k) expected.push_back(texts(k));
  for (const auto& result : results) EXPECT_EQ(result, expected);
  EXPECT_EQ(expected[65], "立春|");      // 2024-02-04
  EXPECT_EQ(expected[70], "三十|除夕");  // 2024-02-09
}

}  // namespace
}  // namespace norvik
