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
