#include "norvik/calendar/solar_terms.h"

#include <gtest/gtest.h>

#include "norvik/calendar/lunisolar.h"
#include "norvik/platform/environment.h"

namespace norvik {
namespace {

using platform::Calendar;
using platform::CalendarIdentifier;
using platform::Date;
using platform::Locale;
using platform::TimeZone;

Date at(int y, int m, int d, int hour, int offsetSeconds) {
  return Date(static_cast<double>(civilDayFromGregorian(y, m, d)) * 86400.0 + hour * 3600.0 -
              offsetSeconds);
}

platform::Dictionary smallTable() {
  platform::Dictionary year;
  year.emplace("2024-04-04", platform::Value(std::string("清明")));
  year.emplace("2024-06-21", platform::Value());  // a null placeholder counts as absent
  platform::Dictionary table;
  table.emplace("2024-01-01", platform::Value(std::move(year)));
  return table;
}

TEST(SolarTermsManager, SharedManagerReadsTheLibraryBundle) {
  NVSolarTermsManager& manager = NVSolarTermsManager::sharedManager();
  EXPECT_EQ(&manager, &NVSolarTermsManager::sharedManager());
  ASSERT_TRUE(NVSolarTermsManager::libraryBundlePath());
  ASSERT_TRUE(manager.yearToSolarTerms());
  EXPECT_EQ(manager.yearToSolarTerms()->size(), 200u);
  const Calendar utc(CalendarIdentifier::gregorian, TimeZone::utc(), Locale("en_US"));
  EXPECT_EQ(manager.solarTermByDate(at(2024, 2, 4, 12, 0), utc), "立春");
  EXPECT_EQ(manager.solarTermByDate(at(2024, 2, 5, 12, 0), utc), std::nullopt);
  EXPECT_EQ(manager.solarTermOfDay(2100, 12, 22), "冬至");
  EXPECT_EQ(manager.solarTermOfDay(1900, 12, 22), std::nullopt);
}

TEST(SolarTermsManager, TermsBetweenTwoDays) {
  const NVSolarTermsManager& manager = NVSolarTermsManager::sharedManager();
  const auto year = manager.solarTermsBetween(civilDayFromGregorian(2024, 1, 1),
                                              civilDayFromGregorian(2024, 12, 31));
  ASSERT_EQ(year.size(), 24u);
  EXPECT_EQ(year.front().first, civilDayFromGregorian(2024, 1, 6));
  EXPECT_EQ(year.front().second, "小寒");
  EXPECT_EQ(year.back().second, "冬至");
  for (std::size_t i = 1; i < year.size(); ++i) EXPECT_LT(year[i - 1].first, year[i].first);
  // One day, a day without a term, the table's ends and beyond, a reversed range.
  EXPECT_EQ(manager.solarTermsBetween(year[3].first, year[3].first).size(), 1u);
  EXPECT_TRUE(manager.solarTermsBetween(year[3].first + 1, year[3].first + 1).empty());
  EXPECT_EQ(
      manager
          .solarTermsBetween(civilDayFromGregorian(1800, 1, 1), civilDayFromGregorian(1901, 1, 31))
          .size(),
      2u);
  EXPECT_EQ(
      manager
          .solarTermsBetween(civilDayFromGregorian(2100, 12, 1), civilDayFromGregorian(2300, 1, 1))
          .size(),
      2u);
  EXPECT_TRUE(
      manager
          .solarTermsBetween(civilDayFromGregorian(2301, 1, 1), civilDayFromGregorian(2302, 1, 1))
          .empty());
  EXPECT_TRUE(manager.solarTermsBetween(year.back().first, year.front().first).empty());
  EXPECT_TRUE(NVSolarTermsManager(std::nullopt).solarTermsBetween(0, 100000).empty());
}

TEST(SolarTermsManager, AbsentTableAnswersNothing) {
  const NVSolarTermsManager manager(std::nullopt);
  EXPECT_EQ(manager.solarTermByDate(at(2024, 4, 4, 12, 0)), std::nullopt);
  EXPECT_EQ(manager.solarTermOfDay(2024, 4, 4), std::nullopt);
}

TEST(SolarTermsManager, LooksUpTheCalendarsOwnDay) {
  NVSolarTermsManager manager(smallTable());
  const Calendar shanghai(CalendarIdentifier::gregorian, *TimeZone::withIdentifier("Asia/Shanghai"),
                          Locale("zh_CN"));
  const Calendar newYork(CalendarIdentifier::gregorian,
                         *TimeZone::withIdentifier("America/New_York"), Locale("en_US"));
  // 2024-04-04 01:00 in Shanghai is still 3 April in New York.
  const Date early = at(2024, 4, 4, 1, 28800);
  EXPECT_EQ(manager.solarTermByDate(early, shanghai), "清明");
  EXPECT_EQ(manager.solarTermByDate(early, newYork), std::nullopt);
  EXPECT_EQ(manager.solarTermByDate(at(2024, 4, 4, 23, -14400), newYork), "清明");
  // Without a calendar, the current calendar's zone (UTC in the tests) decides.
  EXPECT_EQ(manager.solarTermByDate(at(2024, 4, 4, 23, 0)), "清明");
  {
    platform::ScopedEnvironment tokyo([] {
      auto env = *platform::currentEnvironment();
      env.timeZoneIdentifier = "Asia/Tokyo";
      return env;
    }());
    EXPECT_EQ(manager.solarTermByDate(at(2024, 4, 4, 23, 0)), std::nullopt);
  }
  // Null placeholders, other years and the same day of another year answer nothing.
  EXPECT_EQ(manager.solarTermOfDay(2024, 6, 21), std::nullopt);
  EXPECT_EQ(manager.solarTermOfDay(2023, 4, 4), std::nullopt);
  manager.setYearToSolarTerms(std::nullopt);
  EXPECT_EQ(manager.solarTermOfDay(2024, 4, 4), std::nullopt);
}

}  // namespace
}  // namespace norvik
