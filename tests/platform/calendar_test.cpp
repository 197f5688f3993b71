#include "norvik/platform/calendar.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <thread>
#include <vector>

#include "norvik/platform/date_formatter.h"
#include "norvik/platform/environment.h"
#include "support/test_support.h"

namespace norvik::platform {
namespace {

constexpr double kDay = 86400.0;

TimeZone zone(const char* identifier) {
  return TimeZone::withIdentifier(identifier).value();
}

Calendar calendarIn(CalendarIdentifier identifier, const char* zoneName,
                    const char* locale = "en_US") {
  return Calendar(identifier, zone(zoneName), Locale(locale));
}

// Midnight UTC of a Gregorian date, from days since 1970 (Howard Hinnant's algorithm).
Date utcDate(int y, int m, int d, int hour = 0, int minute = 0) {
  y -= m <= 2;
  int era = (y >= 0 ? y : y - 399) / 400;
  int yoe = y - era * 400;
  int doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
  int doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  double days = era * 146097.0 + doe - 719468.0;
  return Date(days * kDay + hour * 3600.0 + minute * 60.0);
}

struct Ymd {
  int year, month, day;
  bool leap = false;
};

void expectDay(const Calendar& calendar, Date date, Ymd expected) {
  DateComponents c = calendar.components(date);
  EXPECT_EQ(c.year, expected.year);
  EXPECT_EQ(c.month, expected.month);
  EXPECT_EQ(c.day, expected.day);
  EXPECT_EQ(c.isLeapMonth, expected.leap);
}

TEST(CalendarIdentifiers, NamesRoundTripAndUnknownNamesAreRejected) {
  for (int i = 0; i <= static_cast<int>(CalendarIdentifier::iso8601); ++i) {
    auto identifier = static_cast<CalendarIdentifier>(i);
    EXPECT_EQ(calendarIdentifierFromName(calendarIdentifierName(identifier)), identifier);
  }
  EXPECT_EQ(calendarIdentifierName(CalendarIdentifier::islamicTabular), "islamic-tbla");
  EXPECT_FALSE(calendarIdentifierFromName("Gregorian").has_value());
  EXPECT_FALSE(calendarIdentifierFromName("").has_value());
  EXPECT_FALSE(Calendar::withIdentifier("julian").has_value());
  EXPECT_EQ(calendarIdentifierName(CalendarIdentifier::ethiopicAmeteAlem), "ethiopic-amete-alem");
  // Every calendar ICU offers is its own calendar: the Buddhist era, the Japanese era year.
  const Date day = utcDate(2024, 10, 1, 12, 0);
  EXPECT_EQ(
      Calendar(CalendarIdentifier::buddhist, TimeZone::utc(), Locale("th_TH")).components(day).year,
      2567);
  EXPECT_EQ(
      Calendar(CalendarIdentifier::japanese, TimeZone::utc(), Locale("ja_JP")).components(day).year,
      6);
  ASSERT_TRUE(Calendar::withIdentifier("persian").has_value());
  EXPECT_EQ(Calendar::withIdentifier("persian")->identifier(), CalendarIdentifier::persian);
}

TEST(CalendarComponents, SameInstantFallsOnDifferentDaysInDifferentZones) {
  Date instant = utcDate(2024, 3, 10, 20, 0);
  DateComponents shanghai =
      calendarIn(CalendarIdentifier::gregorian, "Asia/Shanghai").components(instant);
  DateComponents losAngeles =
      calendarIn(CalendarIdentifier::gregorian, "America/Los_Angeles").components(instant);
  EXPECT_EQ(shanghai.day, 11);
  EXPECT_EQ(shanghai.hour, 4);
  EXPECT_EQ(shanghai.weekday, 2);  // Monday
  EXPECT_EQ(losAngeles.day, 10);
  EXPECT_EQ(losAngeles.hour, 13);  // daylight-saving time began that morning
  EXPECT_EQ(losAngeles.weekday, 1);
  auto la = calendarIn(CalendarIdentifier::gregorian, "America/Los_Angeles");
  auto sh = calendarIn(CalendarIdentifier::gregorian, "Asia/Shanghai");
  EXPECT_FALSE(sh.isDate(instant, utcDate(2024, 3, 10, 12)));
  EXPECT_TRUE(la.isDate(instant, utcDate(2024, 3, 10, 12)));
}

TEST(CalendarComponents, KeepsFractionsAndRejectsNonFiniteInstants) {
  auto calendar = calendarIn(CalendarIdentifier::gregorian, "UTC");
  DateComponents c = calendar.components(Date(-0.25));
  EXPECT_EQ(c.year, 1969);
  EXPECT_EQ(c.second, 59);
  EXPECT_EQ(c.nanosecond, 750000000);
  EXPECT_EQ(calendar.components(Date(NAN)), DateComponents{});
  EXPECT_EQ(calendar.components(Date(INFINITY)), DateComponents{});
  EXPECT_TRUE(std::isnan(calendar.startOfDay(Date(NAN)).timeIntervalSince1970()));
  EXPECT_FALSE(calendar.dateByAdding(CalendarUnit::day, 1, Date(NAN)).has_value());
  EXPECT_FALSE(calendar.rangeOfDaysInMonth(Date(1e300)).has_value());
}

TEST(CalendarDaylightSaving, DaysOf23And25HoursAndAddingKeepsLocalTime) {
  auto berlin = calendarIn(CalendarIdentifier::gregorian, "Europe/Berlin", "de_DE");
  auto dayLength = [&](Date noon) {
    Date start = berlin.startOfDay(noon);
    return berlin.dateByAdding(CalendarUnit::day, 1, start)->timeIntervalSinceDate(start);
  };
  EXPECT_EQ(dayLength(utcDate(2024, 3, 31, 10)), 23 * 3600.0);
  EXPECT_EQ(dayLength(utcDate(2024, 10, 27, 10)), 25 * 3600.0);
  EXPECT_EQ(dayLength(utcDate(2024, 6, 1, 10)), 24 * 3600.0);
  EXPECT_EQ(berlin.startOfDay(utcDate(2024, 3, 31, 10)), utcDate(2024, 3, 30, 23));

  Date before = utcDate(2024, 3, 30, 9);  // 10:00 CET
  Date next = berlin.dateByAdding(CalendarUnit::day, 1, before).value();
  EXPECT_EQ(berlin.components(next).hour, 10);
  EXPECT_EQ(next.timeIntervalSinceDate(before), 23 * 3600.0);
  Date plus24h = berlin.dateByAdding(CalendarUnit::hour, 24, before).value();
  EXPECT_EQ(berlin.components(plus24h).hour, 11);

  // 02:30 does not exist on 31 March: it moves forward by the hour skipped.
  DateComponents skipped;
  skipped.year = 2024;
  skipped.month = 3;
  skipped.day = 31;
  skipped.hour = 2;
  skipped.minute = 30;
  EXPECT_EQ(berlin.dateFromComponents(skipped), utcDate(2024, 3, 31, 1, 30));
  // 02:30 happens twice on 27 October: the first one is taken.
  skipped.month = 10;
  skipped.day = 27;
  EXPECT_EQ(berlin.dateFromComponents(skipped), utcDate(2024, 10, 27, 0, 30));
}

TEST(CalendarArithmetic, MonthEndsClampAndImpossibleComponentsGiveNothing) {
  auto utc = calendarIn(CalendarIdentifier::gregorian, "UTC");
  EXPECT_EQ(utc.dateByAdding(CalendarUnit::month, 1, utcDate(2024, 1, 31, 8)),
            utcDate(2024, 2, 29, 8));
  DateComponents mixed;
  mixed.month = 1;
  mixed.day = 1;
  EXPECT_EQ(utc.dateByAdding(mixed, utcDate(2023, 1, 31)), utcDate(2023, 3, 1));
  EXPECT_EQ(utc.dateByAdding(CalendarUnit::year, -1, utcDate(2024, 2, 29)), utcDate(2023, 2, 28));

  DateComponents c;
  c.year = 2023;
  c.month = 2;
  c.day = 29;
  EXPECT_FALSE(utc.dateFromComponents(c).has_value());
  c.day = 28;
  c.nanosecond = 500000000;
  EXPECT_EQ(utc.dateFromComponents(c), Date(utcDate(2023, 2, 28).timeIntervalSince1970() + 0.5));
  c.nanosecond.reset();
  for (auto bad : {&DateComponents::hour, &DateComponents::minute}) {
    DateComponents wrong = c;
    wrong.*bad = 60;
    EXPECT_FALSE(utc.dateFromComponents(wrong).has_value());
  }
  DateComponents noYear;
  noYear.month = 3;
  EXPECT_FALSE(utc.dateFromComponents(noYear).has_value());

  DateComponents week;  // ISO-style week 10 of 2024 in Germany, Monday
  week.yearForWeekOfYear = 2024;
  week.weekOfYear = 10;
  week.weekday = 2;
  auto germany = calendarIn(CalendarIdentifier::gregorian, "UTC", "de_DE");
  EXPECT_EQ(germany.dateFromComponents(week), utcDate(2024, 3, 4));
}

TEST(CalendarRanges, StartsRangesAndOrdinality) {
  auto utc = calendarIn(CalendarIdentifier::gregorian, "UTC");
  Date date = utcDate(2024, 2, 14, 15, 30);
  EXPECT_EQ(utc.startOfMonth(date), utcDate(2024, 2, 1));
  EXPECT_EQ(utc.startOfYear(date), utcDate(2024, 1, 1));
  EXPECT_EQ(utc.rangeOfDaysInMonth(date), (CalendarRange{1, 29}));
  EXPECT_EQ(utc.ordinality(CalendarUnit::day, CalendarUnit::year, date), 45);
  EXPECT_EQ(utc.ordinality(CalendarUnit::month, CalendarUnit::year, date), 2);
  EXPECT_EQ(utc.ordinality(CalendarUnit::hour, CalendarUnit::day, date), 16);
  // 14 February 2024 is a Wednesday: 4th day of a Sunday week, 3rd of a Monday week.
  EXPECT_EQ(utc.ordinality(CalendarUnit::weekday, CalendarUnit::weekOfMonth, date), 4);
  EXPECT_EQ(utc.ordinality(CalendarUnit::weekOfMonth, CalendarUnit::month, date), 3);
  Calendar monday = utc;
  monday.setFirstWeekday(2);
  EXPECT_EQ(monday.firstWeekday(), 2);
  EXPECT_EQ(utc.firstWeekday(), 1);
  EXPECT_EQ(monday.ordinality(CalendarUnit::weekday, CalendarUnit::weekOfYear, date), 3);
  EXPECT_FALSE(utc.ordinality(CalendarUnit::year, CalendarUnit::day, date).has_value());
  monday.setFirstWeekday(9);  // ignored
  EXPECT_EQ(monday.firstWeekday(), 2);
}

TEST(CalendarChinese, LeapMonthsOf2020And2023) {
  auto chinese = calendarIn(CalendarIdentifier::chinese, "Asia/Shanghai", "zh_CN");
  expectDay(chinese, utcDate(2020, 5, 22, 4), {37, 4, 30});
  expectDay(chinese, utcDate(2020, 5, 23, 4), {37, 4, 1, true});
  expectDay(chinese, utcDate(2020, 6, 21, 4), {37, 5, 1});
  expectDay(chinese, utcDate(2023, 3, 21, 4), {40, 2, 30});
  expectDay(chinese, utcDate(2023, 3, 22, 4), {40, 2, 1, true});
  expectDay(chinese, utcDate(2024, 2, 10, 4), {41, 1, 1});
  EXPECT_EQ(chinese.components(utcDate(2024, 2, 10, 4)).era, 78);

  // Day fields are remembered per local day; the change still comes at Beijing midnight.
  expectDay(chinese, Date(1590163199.0), {37, 4, 30});
  expectDay(chinese, Date(1590163200.0), {37, 4, 1, true});
  EXPECT_EQ(chinese.components(Date(1590163199.0)).hour, 23);
  EXPECT_TRUE(chinese.isDate(Date(1590163200.0), utcDate(2020, 5, 23, 15)));
  EXPECT_FALSE(chinese.isDate(Date(1590163199.0), Date(1590163200.0)));

  Date leapDay = utcDate(2020, 6, 1, 4);
  EXPECT_EQ(chinese.startOfMonth(leapDay), utcDate(2020, 5, 22, 16));  // 23 May, Beijing midnight
  EXPECT_EQ(chinese.rangeOfDaysInMonth(leapDay), (CalendarRange{1, 29}));
  EXPECT_EQ(chinese.ordinality(CalendarUnit::month, CalendarUnit::year, leapDay), 5);
  EXPECT_EQ(chinese.startOfYear(leapDay), utcDate(2020, 1, 24, 16));
  // Adding a month steps from the fourth month into its leap month.
  expectDay(chinese, chinese.dateByAdding(CalendarUnit::month, 1, utcDate(2020, 5, 1, 4)).value(),
            {37, 4, 9, true});

  DateComponents noLeap{.era = 78, .year = 38, .month = 4, .day = 1};
  noLeap.isLeapMonth = true;  // 2021 has no leap month
  EXPECT_FALSE(chinese.dateFromComponents(noLeap).has_value());
  DateComponents withoutEra{.year = 40, .month = 2, .day = 1};
  withoutEra.isLeapMonth = true;
  EXPECT_EQ(chinese.dateFromComponents(withoutEra), utcDate(2023, 3, 21, 16));
}

TEST(CalendarChinese, EveryDayRoundTripsThroughComponents) {
  auto chinese = calendarIn(CalendarIdentifier::chinese, "Asia/Shanghai", "zh_CN");
  for (int i = 0; i < 800; ++i) {
    Date day =
        chinese.startOfDay(Date(utcDate(2019, 12, 1, 12).timeIntervalSince1970() + i * kDay));
    DateComponents c = chinese.components(day);
    DateComponents date{.era = c.era, .year = c.year, .month = c.month, .day = c.day};
    date.isLeapMonth = c.isLeapMonth;
    ASSERT_EQ(chinese.dateFromComponents(date), day) << "day " << i;
  }
}

TEST(CalendarOtherCalendars, KnownDates) {
  auto hebrew = calendarIn(CalendarIdentifier::hebrew, "Asia/Jerusalem");
  expectDay(hebrew, utcDate(2024, 4, 23, 12), {5784, 8, 15});  // 15 Nisan
  expectDay(hebrew, utcDate(2024, 3, 10, 12), {5784, 6, 30});  // 30 Adar I (leap year)
  expectDay(hebrew, utcDate(2023, 3, 10, 12), {5783, 7, 17});  // 17 Adar (common year)
  expectDay(hebrew, utcDate(2024, 10, 3, 12), {5785, 1, 1});   // Rosh Hashanah
  expectDay(hebrew, utcDate(2023, 4, 6, 12), {5783, 8, 15});   // 15 Nisan (common year)
  DateComponents adarI{.year = 5783, .month = 6, .day = 1};    // a common year has no Adar I
  EXPECT_FALSE(hebrew.dateFromComponents(adarI).has_value());
  EXPECT_EQ(hebrew.ordinality(CalendarUnit::month, CalendarUnit::year, utcDate(2024, 4, 23, 12)),
            8);
  EXPECT_EQ(hebrew.ordinality(CalendarUnit::month, CalendarUnit::year, utcDate(2023, 4, 6, 12)), 7);

  Date ramadan = utcDate(2024, 3, 21, 12);
  expectDay(calendarIn(CalendarIdentifier::islamicUmmAlQura, "Asia/Riyadh"),
            utcDate(2024, 3, 11, 12), {1445, 9, 1});
  expectDay(calendarIn(CalendarIdentifier::islamicCivil, "UTC"), ramadan, {1445, 9, 11});
  expectDay(calendarIn(CalendarIdentifier::islamicTabular, "UTC"), ramadan, {1445, 9, 12});
  auto persian = calendarIn(CalendarIdentifier::persian, "Asia/Tehran");
  expectDay(persian, utcDate(2024, 3, 20, 12), {1403, 1, 1});
  expectDay(persian, utcDate(2024, 3, 19, 12), {1402, 12, 29});
  expectDay(calendarIn(CalendarIdentifier::indian, "Asia/Kolkata"), ramadan, {1946, 1, 1});
  expectDay(calendarIn(CalendarIdentifier::dangi, "Asia/Seoul"), utcDate(2024, 2, 10, 12),
            {41, 1, 1});
}

// Restores the shared calendars' and formatters' locale after a test that adapts them.
struct SharedLocaleReset {
  ~SharedLocaleReset() {
    Calendar::adaptWithLocale(Locale::autoupdatingCurrent());
    DateFormatter::adaptWithLocale(Locale::autoupdatingCurrent());
  }
};

TEST(CalendarShared, FollowTheEnvironmentAndTheAdaptedLocale) {
  SharedLocaleReset reset;
  Environment env = testing::baseEnvironment();
  env.timeZoneIdentifier = "Asia/Shanghai";
  ScopedEnvironment scoped(env);
  Calendar current = Calendar::autoupdatingCurrent();
  Calendar chinese = Calendar::sharedChinese();
  EXPECT_EQ(current.timeZone().identifier(), "Asia/Shanghai");
  EXPECT_EQ(current.identifier(), CalendarIdentifier::gregorian);
  EXPECT_EQ(chinese.identifier(), CalendarIdentifier::chinese);
  EXPECT_EQ(current.firstWeekday(), 1);

  modifyEnvironment([](Environment& e) {
    e.timeZoneIdentifier = "America/Los_Angeles";
    e.localeIdentifier = "de_DE";
  });
  EXPECT_EQ(current.timeZone().identifier(), "America/Los_Angeles");
  EXPECT_EQ(Calendar::currentGregorian().locale().identifier(), "de_DE");
  EXPECT_EQ(current.firstWeekday(), 2);

  Calendar::adaptWithLocale(Locale("en_US"));
  EXPECT_EQ(current.locale().identifier(), "en_US");
  EXPECT_EQ(chinese.locale().identifier(), "en_US");
  EXPECT_EQ(current.firstWeekday(), 1);
  Calendar::adaptWithLocale(Locale::autoupdatingCurrent());
  EXPECT_EQ(current.locale().identifier(), "de_DE");

  // A changed copy stops following.
  Calendar detached = current;
  detached.setTimeZone(zone("Asia/Tokyo"));
  EXPECT_FALSE(detached.isShared());
  modifyEnvironment([](Environment& e) { e.localeIdentifier = "fr_FR"; });
  EXPECT_EQ(detached.locale().identifier(), "de_DE");
  EXPECT_EQ(current.locale().identifier(), "fr_FR");

  modifyEnvironment([](Environment& e) { e.localeIdentifier = "th_TH@calendar=persian"; });
  EXPECT_EQ(current.identifier(), CalendarIdentifier::persian);
  EXPECT_EQ(Calendar::currentGregorian().identifier(), CalendarIdentifier::gregorian);
}

TEST(CalendarConcurrency, SharedCalendarAndFormatterFromManyThreads) {
  SharedLocaleReset reset;
  Environment env = testing::baseEnvironment();
  env.timeZoneIdentifier = "Asia/Shanghai";
  ScopedEnvironment scoped(env);
  Calendar chinese = Calendar::sharedChinese();
  DateFormatter lunar("U年LLLL", Locale("zh_CN"), chinese);
  DateFormatter iso = DateFormatter::shared();
  iso.setDateFormat("yyyy-MM-dd");

  struct Expected {
    Date date;
    DateComponents lunar;
    std::string lunarText;
    std::string isoText;
  };
  std::vector<Expected> expected;
  for (int i = 0; i < 60; ++i) {
    Date date(utcDate(2020, 1, 1, 6).timeIntervalSince1970() + i * 13.0 * kDay);
    expected.push_back({date, chinese.components(date), lunar.format(date), iso.format(date)});
  }

  std::atomic<bool> stop{false};
  std::atomic<int> failures{0};
  std::thread adapter([&] {
    // Locale changes must not disturb day fields or locale-independent patterns.
    for (int i = 0; !stop.load(); ++i) {
      Calendar::adaptWithLocale(Locale(i % 2 ? "en_US" : "en_GB"));
      DateFormatter::adaptWithLocale(Locale(i % 2 ? "en_GB" : "en_US"));
      std::this_thread::yield();
    }
  });
  std::vector<std::thread> workers;
  for (int t = 0; t < 4; ++t) {
    workers.emplace_back([&, t] {
      for (int round = 0; round < 40; ++round) {
        for (std::size_t i = t; i < expected.size(); i += 2) {
          const Expected& e = expected[i];
          DateComponents c = chinese.components(e.date);
          bool ok = c.year == e.lunar.year && c.month == e.lunar.month && c.day == e.lunar.day &&
                    c.isLeapMonth == e.lunar.isLeapMonth && lunar.format(e.date) == e.lunarText &&
                    iso.format(e.date) == e.isoText &&
                    chinese.startOfDay(e.date) == chinese.startOfDay(e.date);
          if (!ok) failures.fetch_add(1);
        }
        // Days no thread has asked for yet go through ICU's calendar on every thread at once.
        Date fresh(-1.5e9 + (t * 100 + round) * 86400.0);
        DateComponents c = chinese.components(fresh);
        TimeZone berlin = TimeZone::withIdentifier("Europe/Berlin").value();
        if (!c.month || *c.month < 1 || *c.month > 12 || berlin.secondsFromGMT(fresh) < 3600) {
          failures.fetch_add(1);
        }
      }
    });
  }
  for (auto& worker : workers) worker.join();
  stop = true;
  adapter.join();
  EXPECT_EQ(failures.load(), 0);
}

}  // namespace
}  // namespace norvik::platform
