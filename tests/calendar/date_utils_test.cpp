#include "norvik/calendar/date_utils.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "norvik/platform/calendar.h"
#include "support/test_support.h"

namespace norvik {
namespace {

using platform::Date;

// 2024-03-10T12:00:00Z, the base environment's clock.
constexpr double kBaseNow = 1710072000.0;

Date utc(int year, int month, int day, int hour = 0) {
  platform::Calendar gregorian(platform::CalendarIdentifier::gregorian, platform::TimeZone::utc(),
                               platform::Locale("en_US"));
  platform::DateComponents c;
  c.year = year;
  c.month = month;
  c.day = day;
  c.hour = hour;
  return *gregorian.dateFromComponents(c);
}

platform::Environment environmentWith(auto change) {
  platform::Environment environment = testing::baseEnvironment();
  change(environment);
  return environment;
}

TEST(NVDateUtils, StampsReadTheGregorianDayInTheCurrentZone) {
  EXPECT_EQ(NVDateUtils::stampOfDate(utc(2024, 3, 5, 23)), 20240305);
  EXPECT_EQ(NVDateUtils::stampStringOfDate(utc(2024, 3, 5)), "20240305");
  EXPECT_EQ(NVDateUtils::yyyy_MM_ddFormatBy(utc(987, 6, 7)), "0987-06-07");

  platform::ScopedEnvironment shanghai(
      environmentWith([](auto& e) { e.timeZoneIdentifier = "Asia/Shanghai"; }));
  Date evening = utc(2024, 3, 10, 20);  // 04:00 on the 11th in Shanghai
  EXPECT_EQ(NVDateUtils::stampOfDate(evening), 20240311);
  EXPECT_EQ(NVDateUtils::yyyy_MM_ddFormatBy(evening), "2024-03-11");
  // Back to the same day, at midnight there.
  auto day = NVDateUtils::dateOfStamp(NVDateUtils::stampOfDate(evening));
  ASSERT_TRUE(day);
  EXPECT_EQ(day->timeIntervalSince1970(), utc(2024, 3, 10, 16).timeIntervalSince1970());
}

TEST(NVDateUtils, DateOfStampAcceptsOnlyItsRangeAndRollsOverLongMonths) {
  EXPECT_EQ(NVDateUtils::dateOfStamp(20240229), utc(2024, 2, 29));
  EXPECT_FALSE(NVDateUtils::dateOfStamp(9999999));
  EXPECT_FALSE(NVDateUtils::dateOfStamp(100010000));
  EXPECT_FALSE(NVDateUtils::dateOfStamp(-20240229));
  EXPECT_TRUE(NVDateUtils::dateOfStamp(10000000));
  EXPECT_TRUE(NVDateUtils::dateOfStamp(100009999));
  EXPECT_EQ(NVDateUtils::dateOfStamp(20240230), utc(2024, 3, 1));
  EXPECT_EQ(NVDateUtils::dateOfStamp(20231301), utc(2024, 1, 1));
  EXPECT_EQ(NVDateUtils::dateOfStamp(20240300), utc(2024, 2, 29));

  EXPECT_EQ(NVDateUtils::dateOfStampString(" 20240305"), utc(2024, 3, 5));
  EXPECT_EQ(NVDateUtils::dateOfStampString("+20240305 and more"), utc(2024, 3, 5));
  EXPECT_FALSE(NVDateUtils::dateOfStampString("stamp"));
  EXPECT_FALSE(NVDateUtils::dateOfStampString("99999999999999999999999"));
}

TEST(NVDateUtils, DateOfStampUsesTheCurrentCalendarForYearsFarFromNow) {
  // The user's calendar is Hebrew: a stamp within a century of the current year is still read as
  // a Gregorian day, one further away in the user's calendar.
  platform::ScopedEnvironment hebrew(
      environmentWith([](auto& e) { e.localeIdentifier = "en_US@calendar=hebrew"; }));
  ASSERT_EQ(platform::Calendar::autoupdatingCurrent().identifier(),
            platform::CalendarIdentifier::hebrew);
  EXPECT_EQ(NVDateUtils::dateOfStamp(19240305), utc(1924, 3, 5));
  auto far = NVDateUtils::dateOfStamp(19230305);
  ASSERT_TRUE(far);
  auto hebrewDay = platform::Calendar::autoupdatingCurrent().components(*far);
  EXPECT_EQ(hebrewDay.year, 1923);
  EXPECT_EQ(hebrewDay.month, 3);
  EXPECT_EQ(hebrewDay.day, 5);

  // The distance is measured from the environment's clock: 100 years is still near.
  platform::ScopedEnvironment later(environmentWith([](auto& e) {
    e.localeIdentifier = "en_US@calendar=hebrew";
    e.clock = [] { return kBaseNow + 100.0 * 365.25 * 86400; };  // in 2124
  }));
  EXPECT_EQ(NVDateUtils::dateOfStamp(20240305), utc(2024, 3, 5));
  EXPECT_NE(NVDateUtils::dateOfStamp(20230305), utc(2023, 3, 5));
}

TEST(NVDateUtils, OrdinalDayKeysAreLookedUpInTheMainBundle) {
  EXPECT_EQ(NVDateUtils::ordinalDayKey(1), "the 1st");
  EXPECT_EQ(NVDateUtils::ordinalDayKey(21), "the 21st");
  EXPECT_EQ(NVDateUtils::ordinalDayKey(23), "the 23rd");
  EXPECT_EQ(NVDateUtils::ordinalDayKey(31), "the 31st");
  EXPECT_EQ(NVDateUtils::ordinalDayKey(0), "the 31st");

  testing::TempDir bundle;
  std::filesystem::create_directories(bundle.file("de.lproj"));
  std::ofstream(bundle.file("de.lproj/Localizable.strings")) << "\"the 1st\" = \"am 1.\";\n";
  platform::ScopedEnvironment german(environmentWith([&](auto& e) {
    e.mainBundlePath = bundle.path();
    e.preferredLanguages = {"de-DE"};
  }));
  EXPECT_EQ(NVDateUtils::localizedStringFormatD(utc(2024, 3, 1, 12)), "am 1.");
  EXPECT_EQ(NVDateUtils::localizedStringFormatD(utc(2024, 3, 31, 12)), "the 31st");
}

TEST(NVDateUtils, ShortMonthsStayCachedUntilInvalidated) {
  NVDateUtils::invalidShortMonths();
  std::vector<std::string> english = NVDateUtils::shortMonths();
  ASSERT_EQ(english.size(), 12u);
  EXPECT_EQ(english.front(), "Jan");
  EXPECT_EQ(english.back(), "Dec");

  platform::ScopedEnvironment german(
      environmentWith([](auto& e) { e.localeIdentifier = "de_DE"; }));
  EXPECT_EQ(NVDateUtils::shortMonths(), english);
  NVDateUtils::invalidShortMonths();
  std::vector<std::string> germanMonths = NVDateUtils::shortMonths();
  ASSERT_EQ(germanMonths.size(), 12u);
  EXPECT_EQ(germanMonths[2], "März");
  NVDateUtils::invalidShortMonths();
}

TEST(NVDateUtils, TimelineLabelsInBothClocks) {
  EXPECT_EQ(NVDateUtils::formatTimeline(0, false), "12AM");
  EXPECT_EQ(NVDateUtils::formatTimeline(11, false), "11AM");
  EXPECT_EQ(NVDateUtils::formatTimeline(12, false), "12PM");
  EXPECT_EQ(NVDateUtils::formatTimeline(13, false), "1PM");
  EXPECT_EQ(NVDateUtils::formatTimeline(24, false), "12AM");
  EXPECT_EQ(NVDateUtils::formatTimeline(7, true), "07");
  EXPECT_EQ(NVDateUtils::formatTimeline(24, true), "00");

  EXPECT_EQ(NVDateUtils::formatTimeline(0, 5, false), "12:05AM");
  EXPECT_EQ(NVDateUtils::formatTimeline(12, 30, false), "12:30PM");
  EXPECT_EQ(NVDateUtils::formatTimeline(24, 0, false), "12:00AM");
  EXPECT_EQ(NVDateUtils::formatTimeline(24, 0, true), "00:00");
  EXPECT_EQ(NVDateUtils::formatTimeline(24, 30, false), "12:30PM");
  EXPECT_EQ(NVDateUtils::formatTimeline(24, 30, true), "24:30");
  EXPECT_EQ(NVDateUtils::formatTimeline(9, 5, true), "09:05");

  // The clock follows the locale unless the environment says otherwise.
  EXPECT_EQ(NVDateUtils::formatTimeline(13), "1PM");
  {
    platform::ScopedEnvironment british(
        environmentWith([](auto& e) { e.localeIdentifier = "en_GB"; }));
    EXPECT_EQ(NVDateUtils::formatTimeline(13), "13");
  }
  platform::ScopedEnvironment forced(environmentWith([](auto& e) {
    e.localeIdentifier = "en_GB";
    e.uses24HourClock = false;
  }));
  EXPECT_EQ(NVDateUtils::formatTimeline(13, 15), "1:15PM");
}

TEST(NVDateUtils, SameDayToleratesAbsentDates) {
  EXPECT_TRUE(NVDateUtils::isInSameDay(std::nullopt, std::nullopt));
  EXPECT_FALSE(NVDateUtils::isInSameDay(utc(2024, 3, 5), std::nullopt));
  EXPECT_FALSE(NVDateUtils::isInSameDay(std::nullopt, utc(2024, 3, 5)));
  EXPECT_TRUE(NVDateUtils::isInSameDay(utc(2024, 3, 5, 1), utc(2024, 3, 5, 23)));
  EXPECT_FALSE(NVDateUtils::isInSameDay(utc(2024, 3, 5, 23), utc(2024, 3, 6, 1)));
  platform::ScopedEnvironment tokyo(
      environmentWith([](auto& e) { e.timeZoneIdentifier = "Asia/Tokyo"; }));
  EXPECT_TRUE(NVDateUtils::isInSameDay(utc(2024, 3, 5, 23), utc(2024, 3, 6, 1)));
}

}  // namespace
}  // namespace norvik
