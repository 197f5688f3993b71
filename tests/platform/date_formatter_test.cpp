#include "norvik/platform/date_formatter.h"

#include <gtest/gtest.h>

#include <cmath>

#include "norvik/platform/environment.h"
#include "support/test_support.h"

namespace norvik::platform {
namespace {

const Date kLunarNewYear2024(1707523200.0);  // 2024-02-10T00:00Z, a Saturday
const Date kLeapFourth2020(1590192000.0);    // 2020-05-23T00:00Z, first day of leap month 4

Calendar chineseInShanghai() {
  return Calendar(CalendarIdentifier::chinese, TimeZone::withIdentifier("Asia/Shanghai").value(),
                  Locale("zh_CN"));
}

Calendar gregorianIn(const char* zone) {
  return Calendar(CalendarIdentifier::gregorian, TimeZone::withIdentifier(zone).value(),
                  Locale("en_US"));
}

TEST(DateFormatterChinese, CyclicYearAndStandaloneMonthNames) {
  DateFormatter formatter("U年", Locale("zh_CN"), chineseInShanghai());
  EXPECT_EQ(formatter.format(kLunarNewYear2024), "甲辰年");
  EXPECT_EQ(formatter.format(kLunarNewYear2024.dateByAddingTimeInterval(-86400)), "癸卯年");
  formatter.setDateFormat("LLLL");
  EXPECT_EQ(formatter.format(kLunarNewYear2024), "正月");
  EXPECT_EQ(formatter.format(kLeapFourth2020), "闰四月");
  EXPECT_EQ(formatter.format(kLeapFourth2020.dateByAddingTimeInterval(-86400)), "四月");
  // Texts remembered per local day must still change exactly at local midnight.
  EXPECT_EQ(formatter.format(Date(1590163199.0)), "四月");    // 2020-05-22 23:59:59 Beijing
  EXPECT_EQ(formatter.format(Date(1590163200.0)), "闰四月");  // 2020-05-23 00:00:00 Beijing
  EXPECT_EQ(formatter.format(Date(1590163199.0)), "四月");
  DateFormatter pacific("yyyy-MM-dd", Locale("en_US"), gregorianIn("America/Los_Angeles"));
  EXPECT_EQ(pacific.format(Date(1710057599.0)), "2024-03-09");  // 23:59:59 PST
  EXPECT_EQ(pacific.format(Date(1710057600.0)), "2024-03-10");
  EXPECT_EQ(pacific.format(Date(1710140399.0)), "2024-03-10");  // 23:59:59 PDT
  EXPECT_EQ(pacific.format(Date(1710140400.0)), "2024-03-11");
  auto months = formatter.standaloneMonthSymbols();
  ASSERT_EQ(months.size(), 12u);
  EXPECT_EQ(months.front(), "正月");
  EXPECT_EQ(months.back(), "腊月");
}

TEST(DateFormatterNames, WeekdaysAndMonthsInSeveralLocales) {
  Calendar utc = gregorianIn("UTC");
  EXPECT_EQ(DateFormatter("EEE", Locale("en_US"), utc).format(kLunarNewYear2024), "Sat");
  EXPECT_EQ(DateFormatter("EEEE", Locale("de_DE"), utc).format(kLunarNewYear2024), "Samstag");
  EXPECT_EQ(DateFormatter("cccc", Locale("fr_FR"), utc).format(kLunarNewYear2024), "samedi");
  EXPECT_EQ(DateFormatter("ccc", Locale("ja_JP"), utc).format(kLunarNewYear2024), "土");
  EXPECT_EQ(DateFormatter("EEEE", Locale("zh_CN"), utc).format(kLunarNewYear2024), "星期六");
  // Polish distinguishes the month in a date from the month on its own.
  EXPECT_EQ(DateFormatter("d MMMM", Locale("pl_PL"), utc).format(kLunarNewYear2024), "10 lutego");
  EXPECT_EQ(DateFormatter("LLLL", Locale("pl_PL"), utc).format(kLunarNewYear2024), "luty");

  DateFormatter english("", Locale("en_US"), utc);
  EXPECT_EQ(english.shortMonthSymbols().at(0), "Jan");
  EXPECT_EQ(english.weekdaySymbols().size(), 7u);
  EXPECT_EQ(english.weekdaySymbols().front(), "Sunday");
  EXPECT_EQ(english.veryShortStandaloneWeekdaySymbols().back(), "S");
  EXPECT_EQ(DateFormatter("", Locale("zh_CN"), utc).shortMonthSymbols().at(4), "5月");
  auto hebrew =
      DateFormatter("", Locale("en_US"), Calendar(CalendarIdentifier::hebrew)).monthSymbols();
  ASSERT_GE(hebrew.size(), 13u);
  EXPECT_EQ(hebrew[0], "Tishri");
  EXPECT_EQ(hebrew[5], "Adar I");
  EXPECT_EQ(hebrew[7], "Nisan");
}

TEST(DateFormatterTemplates, SkeletonsFollowTheLocale) {
  EXPECT_EQ(DateFormatter::dateFormatFromTemplate("MMMd", Locale("en_US")), "MMM d");
  EXPECT_EQ(DateFormatter::dateFormatFromTemplate("MMMd", Locale("en_GB")), "d MMM");
  EXPECT_EQ(DateFormatter::dateFormatFromTemplate("MMMd", Locale("zh_CN")), "M月d日");
  EXPECT_EQ(DateFormatter::dateFormatFromTemplate("", Locale("en_US")), "");

  Environment env = testing::baseEnvironment();
  ScopedEnvironment scoped(env);
  DateFormatter formatter;  // follows the environment's locale
  formatter.setCalendar(gregorianIn("UTC"));
  formatter.setLocalizedDateFormatFromTemplate("MMMd");
  EXPECT_EQ(formatter.format(kLeapFourth2020), "May 23");
  modifyEnvironment([](Environment& e) { e.localeIdentifier = "de_DE"; });
  EXPECT_EQ(formatter.dateFormat(), "d. MMM");
  EXPECT_EQ(formatter.format(kLeapFourth2020), "23. Mai");
}

TEST(DateFormatterZones, FormatsInTheCalendarsOrItsOwnZone) {
  Date instant(1710100800.0);  // 2024-03-10T20:00Z
  DateFormatter formatter("yyyy-MM-dd HH:mm", Locale("en_US"), gregorianIn("Asia/Shanghai"));
  EXPECT_EQ(formatter.format(instant), "2024-03-11 04:00");
  formatter.setTimeZone(TimeZone::withIdentifier("America/Los_Angeles"));
  EXPECT_EQ(formatter.format(instant), "2024-03-10 13:00");
  EXPECT_EQ(formatter.timeZone().identifier(), "America/Los_Angeles");
  formatter.setTimeZone(std::nullopt);
  EXPECT_EQ(formatter.timeZone().identifier(), "Asia/Shanghai");
  EXPECT_EQ(formatter.format(Date(NAN)), "");
  EXPECT_EQ(DateFormatter("", Locale("en_US")).format(instant), "");
}

TEST(DateFormatterParsing, WholeTextMustMatch) {
  DateFormatter formatter("HH:mm", Locale("en_US"), gregorianIn("UTC"));
  EXPECT_EQ(formatter.date("09:41"), Date(9 * 3600 + 41 * 60));
  EXPECT_FALSE(formatter.date("25:41").has_value());
  EXPECT_FALSE(formatter.date("09:41 tomorrow").has_value());
  EXPECT_FALSE(formatter.date("").has_value());
  DateFormatter day("yyyy-MM-dd", Locale("en_US"), gregorianIn("Europe/Berlin"));
  EXPECT_EQ(day.date("2024-07-01"), Date(1719784800.0));  // local midnight, summer time
  EXPECT_EQ(day.format(*day.date("2024-07-01")), "2024-07-01");
}

TEST(DateFormatterClock, LocaleHourCycleAndEnvironmentOverride) {
  EXPECT_FALSE(DateFormatter::localeUses24HourClock(Locale("en_US")));
  EXPECT_TRUE(DateFormatter::localeUses24HourClock(Locale("de_DE")));
  EXPECT_TRUE(DateFormatter::localeUses24HourClock(Locale("en_GB")));
  Environment env = testing::baseEnvironment();
  ScopedEnvironment scoped(env);
  EXPECT_FALSE(DateFormatter::uses24HourClock());
  modifyEnvironment([](Environment& e) { e.uses24HourClock = true; });
  EXPECT_TRUE(DateFormatter::uses24HourClock());
  modifyEnvironment([](Environment& e) {
    e.uses24HourClock.reset();
    e.localeIdentifier = "fr_FR";
  });
  EXPECT_TRUE(DateFormatter::uses24HourClock());
}

TEST(DateFormatterShared, AdaptWithLocaleChangesTheSharedFormatter) {
  Environment env = testing::baseEnvironment();
  ScopedEnvironment scoped(env);
  DateFormatter formatter = DateFormatter::shared();
  formatter.setDateFormat("MMMM");
  EXPECT_EQ(formatter.format(kLeapFourth2020), "May");
  DateFormatter::adaptWithLocale(Locale("de_DE"));
  EXPECT_EQ(formatter.format(kLeapFourth2020), "Mai");
  EXPECT_EQ(DateFormatter::shared().locale().identifier(), "de_DE");
  DateFormatter::adaptWithLocale(Locale::autoupdatingCurrent());
  modifyEnvironment([](Environment& e) { e.localeIdentifier = "fr_FR"; });
  EXPECT_EQ(formatter.format(kLeapFourth2020), "mai");
  DateFormatter own = formatter;
  own.setLocale(Locale("es_ES"));
  EXPECT_EQ(own.format(kLeapFourth2020), "mayo");
}

}  // namespace
}  // namespace norvik::platform
