#include "norvik/platform/time_zone.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "norvik/platform/environment.h"
#include "support/test_support.h"

namespace norvik::platform {
namespace {

TEST(TimeZone, UnknownIdentifiersGiveNothing) {
  for (const char* bad : {"", "Mars/Olympus_Mons", "Europe/Berln", "Etc/Unknown", "GMT+99"}) {
    EXPECT_FALSE(TimeZone::withIdentifier(bad).has_value()) << bad;
  }
  EXPECT_FALSE(TimeZone::withSecondsFromGMT(19 * 3600).has_value());
  EXPECT_EQ(TimeZone::withSecondsFromGMT(-(5 * 3600 + 30 * 60))->identifier(), "GMT-05:30");
  EXPECT_EQ(TimeZone().identifier(), "UTC");
}

TEST(TimeZone, OffsetsDaylightSavingAndNames) {
  TimeZone berlin = TimeZone::withIdentifier("Europe/Berlin").value();
  Date winter(1704110400.0);  // 2024-01-01T12:00Z
  Date summer(1719835200.0);  // 2024-07-01T12:00Z
  EXPECT_EQ(berlin.secondsFromGMT(winter), 3600);
  EXPECT_EQ(berlin.secondsFromGMT(summer), 7200);
  EXPECT_FALSE(berlin.isDaylightSavingTime(winter));
  EXPECT_TRUE(berlin.isDaylightSavingTime(summer));
  EXPECT_EQ(berlin.daylightSavingTimeOffset(summer), 3600.0);
  EXPECT_EQ(berlin.nextDaylightSavingTimeTransition(winter), Date(1711846800.0));  // 31 Mar 01:00Z
  EXPECT_EQ(berlin.secondsFromGMT(Date(NAN)), 0);
  TimeZone losAngeles = TimeZone::withIdentifier("America/Los_Angeles").value();
  EXPECT_EQ(losAngeles.abbreviation(winter), "PST");
  EXPECT_EQ(losAngeles.abbreviation(summer), "PDT");
  EXPECT_EQ(berlin.localizedName(TimeZone::NameStyle::standard, Locale("en_US")),
            "Central European Standard Time");
  EXPECT_FALSE(TimeZone::withIdentifier("Asia/Shanghai")->nextDaylightSavingTimeTransition(winter));
  auto known = TimeZone::knownTimeZoneIdentifiers();
  EXPECT_GT(known.size(), 300u);
  EXPECT_TRUE(std::binary_search(known.begin(), known.end(), "Asia/Shanghai"));
}

TEST(TimeZone, CurrentFollowsTheEnvironment) {
  Environment env = testing::baseEnvironment();
  env.timeZoneIdentifier = "Asia/Tokyo";
  ScopedEnvironment scoped(env);
  EXPECT_EQ(TimeZone::current().identifier(), "Asia/Tokyo");
  modifyEnvironment([](Environment& e) { e.timeZoneIdentifier = "No/Such_Zone"; });
  EXPECT_EQ(TimeZone::current().identifier(), "UTC");
}

}  // namespace
}  // namespace norvik::platform
