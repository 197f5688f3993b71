#include "norvik/calendar/lunar_converter.h"

#include <gtest/gtest.h>

#include <random>

namespace {

void expectDate(SimpleDate d, int year, int month, int day, int leap) {
  EXPECT_EQ(d.year, year);
  EXPECT_EQ(d.month, month);
  EXPECT_EQ(d.day, day);
  EXPECT_EQ(d.isLeapMonth, leap) << year << "-" << month << "-" << day;
}

TEST(LunarConverter, GregorianToLunarExamples) {
  expectDate(solar_to_lunar(2010, 2, 14), 2010, 1, 1, 0);
  expectDate(solar_to_lunar(2017, 1, 27), 2016, 12, 30, 0);
  expectDate(solar_to_lunar(2017, 1, 28), 2017, 1, 1, 0);
  expectDate(solar_to_lunar(2024, 2, 9), 2023, 12, 30, 0);
  expectDate(solar_to_lunar(2024, 2, 10), 2024, 1, 1, 0);
  expectDate(solar_to_lunar(1901, 2, 19), 1901, 1, 1, 0);
  expectDate(solar_to_lunar(2099, 12, 31), 2099, 11, 20, 0);
  // Both months of the leap number carry the flag.
  expectDate(solar_to_lunar(2017, 7, 23), 2017, 6, 1, 1);
  expectDate(solar_to_lunar(2017, 6, 24), 2017, 6, 1, 1);
  expectDate(solar_to_lunar(2017, 8, 22), 2017, 7, 1, 0);
  expectDate(solar_to_lunar(2023, 2, 20), 2023, 2, 1, 1);
  expectDate(solar_to_lunar(2023, 3, 22), 2023, 2, 1, 1);
}

TEST(LunarConverter, LunarToGregorianExamplesAndQuirks) {
  expectDate(lunar_to_solar(2017, 6, 1, 0), 2017, 6, 24, 0);
  expectDate(lunar_to_solar(2017, 6, 1, 1), 2017, 7, 23, 0);
  expectDate(lunar_to_solar(2017, 7, 1, 0), 2017, 8, 22, 0);
  expectDate(lunar_to_solar(2013, 10, 12, 0), 2013, 11, 14, 0);
  expectDate(lunar_to_solar(2015, 1, 1, 0), 2015, 2, 19, 0);
  // The 2016 rule: one day early up to 28 February, right after the 29th.
  expectDate(lunar_to_solar(2016, 1, 1, 0), 2016, 2, 7, 0);
  expectDate(lunar_to_solar(2016, 3, 1, 0), 2016, 4, 7, 0);
  // No leap-day correction: one day late after 28 February of a leap year.
  expectDate(lunar_to_solar(2020, 1, 1, 0), 2020, 1, 25, 0);
  expectDate(lunar_to_solar(2020, 3, 1, 0), 2020, 3, 25, 0);
  // The year wrap: past the end of the year into the next one...
  expectDate(lunar_to_solar(2017, 12, 1, 0), 2018, 1, 17, 0);
  // ...and 31 December of a common year becomes day 0, or -1 before a leap year.
  expectDate(lunar_to_solar(2018, 11, 25, 0), 2019, 1, 0, 0);
  expectDate(lunar_to_solar(2019, 12, 6, 0), 2020, 1, -1, 0);
}

TEST(LunarConverter, RoundTripsInCommonYearsBeforeMarch) {
  // Without the leap-day and 2016 quirks (common years, and dates before March), toSolar inverts
  // toLunar for every day that is not in a leap-number month.
  for (int year : {1901, 1950, 1987, 2019, 2021, 2022, 2025, 2099}) {
    for (int month = 1; month <= 12; ++month) {
      for (int day = 1; day <= 28; ++day) {
        if (year == 1901 && (month == 1 || (month == 2 && day < 19))) continue;
        const SimpleDate lunar = solar_to_lunar(year, month, day);
        if (lunar.isLeapMonth || lunar.year % 4 == 0 || lunar.year != year) continue;
        const SimpleDate back = toSolar(lunar);
        EXPECT_EQ(back.year, year);
        EXPECT_EQ(back.month, month) << year << "-" << month << "-" << day;
        EXPECT_EQ(back.day, day) << year << "-" << month << "-" << day;
      }
    }
  }
}

TEST(LunarConverter, DemonstrationPrintsFourLines) {
  testing::internal::CaptureStdout();
  EXPECT_EQ(solar_to_lunar_(), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Solar: 2010-2-14\n=>Lunar: 2010-1-1\nLunar: 2013-10-12\n=>Solar: 2013-11-14\n");
}

TEST(LunarConverter, OutOfRangeGivesZeroRecord) {
  for (SimpleDate d :
       {solar_to_lunar(1900, 6, 1), solar_to_lunar(1901, 2, 18), solar_to_lunar(2100, 1, 1),
        solar_to_lunar(2024, 13, 1), solar_to_lunar(2024, 0, 1), lunar_to_solar(1900, 1, 1, 0),
        lunar_to_solar(2100, 1, 1, 0), lunar_to_solar(2024, 0, 1, 0),
        lunar_to_solar(2024, 1, 31, 0)}) {
    expectDate(d, 0, 0, 0, 0);
  }
}

// Random inputs over the whole int32 range and around the table's edges; under the address and
// undefined-behaviour sanitizers any read outside the tables or overflow stops the test.
TEST(LunarConverter, RandomInputsStayInsideTheTables) {
  std::mt19937 random(20240210);
  std::uniform_int_distribution<int32_t> any(INT32_MIN, INT32_MAX);
  std::uniform_int_distribution<int32_t> nearYear(1895, 2105);
  std::uniform_int_distribution<int32_t> nearField(-3, 35);
  long inRange = 0;
  for (int i = 0; i < 2'000'000; ++i) {
    const bool wild = i % 4 == 0;
    const int32_t y = wild ? any(random) : nearYear(random);
    const int32_t m = wild ? any(random) : nearField(random);
    const int32_t d = wild ? any(random) : nearField(random);
    const SimpleDate lunar = solar_to_lunar(y, m, d);
    const SimpleDate solar = lunar_to_solar(y, m, d, static_cast<int32_t>(i & 1));
    if (lunar.year != 0) {
      ++inRange;
      EXPECT_GE(lunar.day, 1);
      EXPECT_LE(lunar.day, 30);
      EXPECT_GE(lunar.month, 1);
      EXPECT_LE(lunar.month, 12);
    }
    if (solar.year != 0) {
      EXPECT_LE(solar.day, 366);
    }
  }
  EXPECT_GT(inRange, 100000);
}

}  // namespace
