#include "norvik/recurrence/recurrence_assistant.h"

#include <gtest/gtest.h>
#include <libical/ical.h>

#include <atomic>
#include <cstdio>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "norvik/calendar/lunisolar.h"
#include "norvik/calendar/other_calendar.h"
#include "norvik/platform/time_zone.h"

namespace norvik {
namespace {

using platform::Date;

// The instant of a wall-clock time in a zone ("2024-03-30 09:00").
Date at(const std::string& zoneId, int y, int mo, int d, int h = 0, int mi = 0) {
  const auto zone = platform::TimeZone::withIdentifier(zoneId);
  const double local =
      static_cast<double>(civilDayFromGregorian(y, mo, d)) * 86400.0 + h * 3600.0 + mi * 60.0;
  // Two rounds settle the offset away from transitions, which is all the tests need.
  double guess = local - zone->secondsFromGMT(Date(local));
  guess = local - zone->secondsFromGMT(Date(guess));
  return Date(guess);
}

// "YYYY-MM-DD HH:MM" of an instant in a zone.
std::string text(const std::string& zoneId, Date date) {
  const auto zone = platform::TimeZone::withIdentifier(zoneId);
  const double local = date.timeIntervalSince1970() + zone->secondsFromGMT(date);
  const CivilDay day = civilDayOfDate(Date(local), 0);
  const GregorianDate g = gregorianFromCivilDay(day);
  const int secs = static_cast<int>(local - static_cast<double>(day) * 86400.0);
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d %02d:%02d", g.year, g.month, g.day,
                secs / 3600, secs / 60 % 60);
  return buffer;
}

struct Expansion {
  Expansion(std::string r, Date s, std::string z = "UTC")
      : zone(std::move(z)), rule(std::move(r)), start(s) {}
  std::string zone;
  std::string rule;
  Date start;
  std::optional<Date> from;  // the start when absent
  std::size_t limit = 10;
  bool includingFirst = true;

  std::vector<Date> dates() const {
    SVSimpleRecurringObject object;
    object.setStartDate(start);
    object.setRuleString(rule);
    object.setFrom(SVRecurrenceFromDefault);
    object.setTimeZoneIdentifier(zone);
    return SVRecurrenceAssistant::occurrenceDatesForRecurringObject(object, from.value_or(start),
                                                                    limit, includingFirst);
  }
  std::vector<std::string> texts() const {
    std::vector<std::string> out;
    for (Date d : dates()) out.push_back(text(zone, d));
    return out;
  }
};

using Texts = std::vector<std::string>;

TEST(GregorianOccurrences, WeeklyMonthlyAndSetPositions) {
  Expansion weekly("FREQ=WEEKLY;BYDAY=TU,TH", at("Europe/Berlin", 2024, 1, 1, 9), "Europe/Berlin");
  weekly.limit = 4;
  EXPECT_EQ(weekly.texts(), (Texts{"2024-01-02 09:00", "2024-01-04 09:00", "2024-01-09 09:00",
                                   "2024-01-11 09:00"}));

  // The start matches the rule and counts; COUNT ends the list before the limit.
  Expansion lastDay("FREQ=MONTHLY;BYMONTHDAY=-1;COUNT=3", at("UTC", 2024, 1, 31));
  EXPECT_EQ(lastDay.texts(), (Texts{"2024-01-31 00:00", "2024-02-29 00:00", "2024-03-31 00:00"}));

  Expansion lastWeekday("FREQ=MONTHLY;BYDAY=MO,TU,WE,TH,FR;BYSETPOS=-1",
                        at("UTC", 2024, 3, 1, 7, 30));
  lastWeekday.limit = 4;
  EXPECT_EQ(lastWeekday.texts(), (Texts{"2024-03-29 07:30", "2024-04-30 07:30", "2024-05-31 07:30",
                                        "2024-06-28 07:30"}));

  // A start that does not match the rule is not an occurrence.
  Expansion mondays("FREQ=WEEKLY;BYDAY=MO", at("UTC", 2024, 1, 7));
  mondays.limit = 1;
  EXPECT_EQ(mondays.texts(), (Texts{"2024-01-08 00:00"}));
}

TEST(GregorianOccurrences, SkipWithAnExplicitGregorianScale) {
  Expansion backward("RSCALE=GREGORIAN;FREQ=MONTHLY;SKIP=BACKWARD", at("UTC", 2024, 1, 31));
  backward.limit = 4;
  EXPECT_EQ(backward.texts(), (Texts{"2024-01-31 00:00", "2024-02-29 00:00", "2024-03-31 00:00",
                                     "2024-04-30 00:00"}));
  Expansion forward("RSCALE=GREGORIAN;FREQ=YEARLY;SKIP=FORWARD", at("UTC", 2024, 2, 29));
  forward.limit = 2;
  EXPECT_EQ(forward.texts(), (Texts{"2024-02-29 00:00", "2025-03-01 00:00"}));
  Expansion omit("RSCALE=GREGORIAN;FREQ=MONTHLY", at("UTC", 2024, 1, 31));
  omit.limit = 2;
  EXPECT_EQ(omit.texts(), (Texts{"2024-01-31 00:00", "2024-03-31 00:00"}));
}

TEST(GregorianOccurrences, UntilAndTheFromCut) {
  Expansion days("FREQ=DAILY;UNTIL=20240105", at("Europe/Berlin", 2024, 1, 1, 10), "Europe/Berlin");
  EXPECT_EQ(days.dates().size(), 5u);
  // 10:00 in Berlin is 09:00Z: an UTC UNTIL at exactly that instant still includes the day.
  days.rule = "FREQ=DAILY;UNTIL=20240103T090000Z";
  EXPECT_EQ(days.texts().back(), "2024-01-03 10:00");
  days.rule = "FREQ=DAILY;UNTIL=20240103T095959";
  EXPECT_EQ(days.texts().back(), "2024-01-02 10:00");

  Expansion cut("FREQ=DAILY", at("UTC", 2024, 1, 1, 8));
  cut.from = at("UTC", 2024, 1, 3, 8);
  cut.limit = 1;
  EXPECT_EQ(cut.texts(), (Texts{"2024-01-03 08:00"}));
  cut.includingFirst = false;
  EXPECT_EQ(cut.texts(), (Texts{"2024-01-04 08:00"}));
}

TEST(GregorianOccurrences, FloatingTimesAcrossDaylightSavingChanges) {
  Expansion daily("FREQ=DAILY", at("Europe/Berlin", 2024, 3, 30, 9), "Europe/Berlin");
  daily.limit = 3;
  const auto dates = daily.dates();
  ASSERT_EQ(dates.size(), 3u);
  EXPECT_EQ(dates[1].timeIntervalSince1970() - dates[0].timeIntervalSince1970(), 23 * 3600.0);
  EXPECT_EQ(daily.texts(), (Texts{"2024-03-30 09:00", "2024-03-31 09:00", "2024-04-01 09:00"}));

  // 02:30 does not exist on 31 March: it moves forward by the gap to 03:30.
  daily.start = at("Europe/Berlin", 2024, 3, 30, 2, 30);
  EXPECT_EQ(daily.texts(), (Texts{"2024-03-30 02:30", "2024-03-31 03:30", "2024-04-01 02:30"}));

  // 02:30 happens twice on 27 October: the first one (still summer time, 00:30Z) is taken.
  daily.start = at("Europe/Berlin", 2024, 10, 26, 2, 30);
  const auto autumn = daily.dates();
  ASSERT_EQ(autumn.size(), 3u);
  EXPECT_EQ(autumn[1].timeIntervalSince1970(),
            Date(civilDayFromGregorian(2024, 10, 27) * 86400.0 + 1800.0).timeIntervalSince1970());
}

TEST(GregorianOccurrences, ASearchFromFarAheadKeepsTheIntervalsPhase) {
  const Date start = at("UTC", 2024, 1, 1, 6);  // a Monday
  Expansion fortnightly("FREQ=WEEKLY;INTERVAL=2;BYDAY=MO", start);
  fortnightly.from = at("UTC", 2031, 6, 1);
  fortnightly.limit = 3;
  const auto dates = fortnightly.dates();
  ASSERT_EQ(dates.size(), 3u);
  for (Date d : dates) {
    const double days = (d.timeIntervalSince1970() - start.timeIntervalSince1970()) / 86400.0;
    EXPECT_EQ(static_cast<long>(days) % 14, 0) << text("UTC", d);
    EXPECT_GT(d, *fortnightly.from);
  }
  EXPECT_LT(dates[0].timeIntervalSince1970() - fortnightly.from->timeIntervalSince1970(),
            15 * 86400.0);
}

// libical reading the rule's text itself, in UTC: an oracle for the parts libical expands right.
Texts libicalTexts(const char* rule, int y, int mo, int d, int h, std::size_t limit) {
  struct icaltimetype start = icaltime_null_time();
  start.year = y;
  start.month = mo;
  start.day = d;
  start.hour = h;
  icalrecur_iterator* it = icalrecur_iterator_new(icalrecurrencetype_from_string(rule), start);
  Texts out;
  while (it && out.size() < limit) {
    const struct icaltimetype t = icalrecur_iterator_next(it);
    if (icaltime_is_null_time(t)) break;
    char buffer[32];
    std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d %02d:%02d", t.year, t.month, t.day, t.hour,
                  t.minute);
    out.push_back(buffer);
  }
  if (it) icalrecur_iterator_free(it);
  return out;
}

TEST(GregorianOccurrences, AgreeWithLibicalReadingTheText) {
  for (const char* rule :
       {"FREQ=MONTHLY;BYDAY=-2MO", "FREQ=MONTHLY;BYDAY=+3TH,-1SU",
        "FREQ=YEARLY;BYWEEKNO=20;BYDAY=MO", "FREQ=WEEKLY;INTERVAL=2;WKST=SU;BYDAY=TU,SU",
        "FREQ=YEARLY;BYYEARDAY=-1,100", "FREQ=DAILY;BYHOUR=9,17",
        "FREQ=MONTHLY;BYMONTHDAY=1,15,-1;BYSETPOS=2", "FREQ=YEARLY;BYMONTH=2;BYMONTHDAY=29",
        "FREQ=HOURLY;INTERVAL=7;BYMINUTE=15", "FREQ=MONTHLY;INTERVAL=3;BYDAY=1MO,1FR;COUNT=5"}) {
    Expansion ours(rule, at("UTC", 2024, 1, 10, 6));
    ours.limit = 8;
    EXPECT_EQ(ours.texts(), libicalTexts(rule, 2024, 1, 10, 6, 8)) << rule;
  }
}

TEST(GregorianOccurrences, ApplicationRules) {
  Expansion first(
      "FREQ=MONTHLY;BYDAY=MO,TU,WE,TH,FR;BYMONTHDAY=1,2,3;BYSETPOS=1;"
      "X-NV-WORKDAY=FIRST",
      at("UTC", 2024, 6, 1, 9));
  first.limit = 4;
  EXPECT_EQ(first.texts(), (Texts{"2024-06-03 09:00", "2024-07-01 09:00", "2024-08-01 09:00",
                                  "2024-09-02 09:00"}));
  // The last working day is computed from the marker, not from the text's approximation.
  Expansion last("FREQ=MONTHLY;INTERVAL=2;X-NV-WORKDAY=LAST", at("UTC", 2024, 6, 1, 9));
  last.limit = 3;
  EXPECT_EQ(last.texts(), (Texts{"2024-06-28 09:00", "2024-08-30 09:00", "2024-10-31 09:00"}));

  Expansion picked("FREQ=DAILY;X-NV-DATES=20240312,20240105T073000,20231231",
                   at("UTC", 2024, 1, 1, 9));
  EXPECT_EQ(picked.texts(), (Texts{"2024-01-05 07:30", "2024-03-12 09:00"}));

  EXPECT_TRUE((Expansion("FREQ=DAILY;X-NV-EBBINGHAUS=2", at("UTC", 2024, 1, 1)).dates().empty()));
}

TEST(GregorianOccurrences, OfficialWorkingDaysAndHolidaysAcrossTheYearBoundary) {
  // 2026's notice: 1-3 January off, Sunday 4 January worked; the start's time of day is kept.
  Expansion work("FREQ=DAILY;X-NV-OFFICIAL=WORKDAY", at("Asia/Shanghai", 2025, 12, 30, 9, 30),
                 "Asia/Shanghai");
  work.limit = 5;
  EXPECT_EQ(work.texts(), (Texts{"2025-12-30 09:30", "2025-12-31 09:30", "2026-01-04 09:30",
                                 "2026-01-05 09:30", "2026-01-06 09:30"}));
  // COUNT counts from the start (Saturday: none; Sunday 29 September: worked), not from `from`.
  Expansion counted("FREQ=DAILY;COUNT=3;X-NV-OFFICIAL=WORKDAY", at("UTC", 2024, 9, 28, 8), "UTC");
  counted.from = at("UTC", 2024, 9, 30);
  EXPECT_EQ(counted.texts(), (Texts{"2024-09-30 08:00", "2024-10-08 08:00"}));

  // From the last published holiday into the projected year after it, up to UNTIL.
  Expansion holidays("FREQ=DAILY;UNTIL=20270101T235959Z;X-NV-OFFICIAL=HOLIDAY",
                     at("UTC", 2026, 10, 6, 7), "UTC");
  EXPECT_EQ(holidays.texts(), (Texts{"2026-10-06 07:00", "2026-10-07 07:00", "2027-01-01 07:00"}));
  // Far past the projected years a holiday search ends at once.
  Expansion none("FREQ=DAILY;X-NV-OFFICIAL=HOLIDAY", at("UTC", 2101, 1, 1), "UTC");
  EXPECT_TRUE(none.dates().empty());
}

TEST(OccurrenceBounds, RulesWithoutOccurrencesEndEmpty) {
  for (const char* rule :
       {"FREQ=YEARLY;BYMONTH=2;BYMONTHDAY=30", "FREQ=MONTHLY;BYMONTH=4,6;BYMONTHDAY=31",
        "RSCALE=ISLAMIC-CIVIL;FREQ=MONTHLY;BYMONTHDAY=31",
        "RSCALE=HEBREW;FREQ=YEARLY;BYMONTH=13;BYMONTHDAY=1",
        "RSCALE=CHINESE;FREQ=DAILY;BYMONTHDAY=31",
        "RSCALE=PERSIAN;FREQ=YEARLY;BYMONTH=12;BYMONTHDAY=31;BYSETPOS=1"}) {
    EXPECT_TRUE((Expansion(rule, at("UTC", 2024, 1, 1)).dates().empty())) << rule;
  }
  Expansion bad("FREQ=DAILY", at("UTC", 2024, 1, 1));
  bad.limit = 0;
  EXPECT_TRUE(bad.dates().empty());
  bad.limit = 1;
  bad.zone = "Mars/Olympus";
  EXPECT_TRUE(bad.dates().empty());
  bad.zone = "UTC";
  bad.rule = "FREQ=SOMETIMES";
  EXPECT_TRUE(bad.dates().empty());
  // The search bound: no rule is followed further than kMaxSearchYears.
  Expansion many("FREQ=YEARLY", at("UTC", 2024, 1, 1));
  many.limit = 100000;
  EXPECT_LE(many.dates().size(),
            static_cast<std::size_t>(SVRecurrenceAssistant::kMaxSearchYears) + 2);
}

// ---- Other calendars

std::string day(Date d) {
  return text("UTC", d).substr(0, 10);
}
std::vector<std::string> days(const Expansion& e) {
  std::vector<std::string> out;
  for (Date d : e.dates()) out.push_back(day(d));
  return out;
}

TEST(OtherCalendarOccurrences, ChineseNewYears) {
  Expansion newYear("RSCALE=CHINESE;FREQ=YEARLY;BYMONTH=1;BYMONTHDAY=1",
                    at("Asia/Shanghai", 2024, 1, 1, 8, 30), "Asia/Shanghai");
  newYear.limit = 3;
  EXPECT_EQ(newYear.texts(), (Texts{"2024-02-10 08:30", "2025-01-29 08:30", "2026-02-17 08:30"}));
  // Every result is month 1 day 1 of the table's Chinese calendar, up to 2100.
  newYear.limit = 77;
  const auto dates = newYear.dates();
  ASSERT_EQ(dates.size(), 77u);
  for (Date d : dates) {
    const auto lunar = chineseLunarDateOfCivilDay(civilDayOfDate(d, 8 * 3600));
    ASSERT_TRUE(lunar);
    EXPECT_EQ(lunar->month * 100 + lunar->day + (lunar->isLeapMonth ? 10000 : 0), 101)
        << text("Asia/Shanghai", d);
  }
  Expansion counted = newYear;
  counted.rule += ";COUNT=2";
  EXPECT_EQ(counted.dates().size(), 2u);
  // Implicit month and day come from the start (2024-02-10 is 1/1).
  Expansion implicit("RSCALE=CHINESE;FREQ=YEARLY;INTERVAL=2", at("UTC", 2024, 2, 10));
  implicit.limit = 2;
  EXPECT_EQ(days(implicit), (Texts{"2024-02-10", "2026-02-17"}));
}

TEST(OtherCalendarOccurrences, VietnameseRulesUseTheVietnameseCalendar) {
  // In 1985 the new moon of the first month fell on 21 January at UTC+7 but 20 February in China.
  Expansion tet("RSCALE=CHINESE;FREQ=YEARLY;BYMONTH=1;BYMONTHDAY=1;X-NV-CALENDAR=VIETNAM",
                at("UTC", 1985, 1, 1));
  tet.limit = 1;
  EXPECT_EQ(days(tet), (Texts{"1985-01-21"}));
  Expansion chinese("RSCALE=CHINESE;FREQ=YEARLY;BYMONTH=1;BYMONTHDAY=1", at("UTC", 1985, 1, 1));
  chinese.limit = 1;
  EXPECT_EQ(days(chinese), (Texts{"1985-02-20"}));
}

TEST(OtherCalendarOccurrences, MissingLeapMonthsFollowSkip) {
  // 2025 has a leap sixth month from 2025-07-25; 2024 and 2026 have none.
  const std::string rule = "RSCALE=CHINESE;FREQ=YEARLY;BYMONTH=6L;BYMONTHDAY=1";
  Expansion omit(rule, at("UTC", 2024, 1, 1));
  omit.limit = 1;
  EXPECT_EQ(days(omit), (Texts{"2025-07-25"}));
  Expansion backward(rule + ";SKIP=BACKWARD", at("UTC", 2024, 1, 1));
  backward.limit = 3;
  EXPECT_EQ(days(backward), (Texts{"2024-07-06", "2025-07-25", "2026-07-14"}));
  Expansion forward(rule + ";SKIP=FORWARD", at("UTC", 2024, 1, 1));
  forward.limit = 2;
  EXPECT_EQ(days(forward), (Texts{"2024-08-04", "2025-07-25"}));
}

TEST(OtherCalendarOccurrences, HebrewAdarI) {
  // 14 Adar I exists in 5784 (2024) only; Purim (14 Adar) is 2025-03-14 and 2026-03-03.
  const std::string rule = "RSCALE=HEBREW;FREQ=YEARLY;BYMONTH=5L;BYMONTHDAY=14";
  Expansion forward(rule + ";SKIP=FORWARD", at("UTC", 2024, 1, 1));
  forward.limit = 3;
  EXPECT_EQ(days(forward), (Texts{"2024-02-23", "2025-03-14", "2026-03-03"}));
  Expansion backward(rule + ";SKIP=BACKWARD", at("UTC", 2024, 1, 1));
  backward.limit = 2;
  EXPECT_EQ(days(backward), (Texts{"2024-02-23", "2025-02-12"}));
  Expansion omit(rule, at("UTC", 2024, 1, 1));
  omit.limit = 2;
  const auto dates = days(omit);
  ASSERT_EQ(dates.size(), 2u);
  EXPECT_EQ(dates[0], "2024-02-23");
  EXPECT_GT(dates[1], "2027-01-01");
}

TEST(OtherCalendarOccurrences, HijriDayThirtyOmittedOrMovedBack) {
  const AlternativeCalendar* hijri = alternativeCalendar("hijri");
  ASSERT_TRUE(hijri);
  const Date start = at("UTC", 2024, 7, 1);
  Expansion omit("RSCALE=ISLAMIC-CIVIL;FREQ=MONTHLY;BYMONTHDAY=30", start);
  Expansion backward = omit;
  backward.rule += ";SKIP=BACKWARD";
  omit.limit = backward.limit = 12;
  const auto omitted = omit.dates();
  const auto moved = backward.dates();
  ASSERT_EQ(omitted.size(), 12u);
  ASSERT_EQ(moved.size(), 12u);
  std::optional<CalendarDate> previous;
  for (Date d : omitted) {
    const auto h = hijri->dateOfCivilDay(civilDayOfDate(d, 0));
    ASSERT_TRUE(h);
    EXPECT_EQ(h->day, 30);
  }
  for (Date d : moved) {
    const auto h = hijri->dateOfCivilDay(civilDayOfDate(d, 0));
    ASSERT_TRUE(h);
    EXPECT_EQ(h->day, hijri->daysInMonth(h->year, h->month, false));
    if (previous) {
      EXPECT_EQ((h->year * 12 + h->month) - (previous->year * 12 + previous->month), 1);
    }
    previous = h;
  }
  // Backward fills the 29-day months the omitting rule leaves out.
  EXPECT_LT(omitted[5], moved.back());
}

TEST(OtherCalendarOccurrences, MonthlyLastDayWeeklyAndDaily) {
  const AlternativeCalendar* lunar = alternativeCalendar("lunar");
  ASSERT_TRUE(lunar);
  Expansion last("RSCALE=CHINESE;FREQ=MONTHLY;BYMONTHDAY=-1", at("UTC", 2024, 1, 1));
  last.limit = 14;
  for (Date d : last.dates()) {
    const auto date = lunar->dateOfCivilDay(civilDayOfDate(d, 0));
    ASSERT_TRUE(date);
    EXPECT_EQ(date->day, lunar->daysInMonth(date->year, date->month, date->leap)) << day(d);
  }
  // Weekly and daily rules walk civil days; BYMONTH filters by the calendar's month.
  Expansion weekly("RSCALE=PERSIAN;FREQ=WEEKLY;INTERVAL=2;BYDAY=FR", at("UTC", 2024, 1, 1));
  weekly.limit = 2;
  EXPECT_EQ(days(weekly), (Texts{"2024-01-05", "2024-01-19"}));
  // Farvardin 1403 began on 2024-03-20 (Nowruz).
  Expansion nowruz("RSCALE=PERSIAN;FREQ=DAILY;BYMONTH=1;BYMONTHDAY=1", at("UTC", 2024, 1, 1));
  nowruz.limit = 2;
  EXPECT_EQ(days(nowruz), (Texts{"2024-03-20", "2025-03-21"}));
}

}  // namespace
}  // namespace norvik

namespace norvik {
namespace {

// Expansions from several threads at once, each in its own zone, give what one thread alone gets:
// the per-thread offset caches must not leak between callers.
TEST(OccurrencesConcurrency, ThreadsInDifferentZonesAgreeWithOneThread) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"Europe/Berlin", "FREQ=DAILY"},
      {"America/New_York", "FREQ=WEEKLY;BYDAY=SU,WE"},
      {"Asia/Shanghai", "RSCALE=CHINESE;FREQ=MONTHLY;BYMONTHDAY=-1"},
      {"Australia/Sydney", "RSCALE=HEBREW;FREQ=YEARLY;BYMONTH=5L;BYMONTHDAY=30;SKIP=BACKWARD"},
  };
  std::vector<std::vector<Date>> expected;
  for (const auto& [zone, rule] : cases) {
    Expansion e(rule, at(zone, 2024, 3, 1, 2, 30), zone);
    e.limit = 40;
    expected.push_back(e.dates());
  }
  std::vector<std::thread> threads;
  std::atomic<int> mismatches{0};
  for (std::size_t t = 0; t < cases.size(); ++t) {
    threads.emplace_back([&, t] {
      for (int round = 0; round < 20; ++round) {
        const auto& [zone, rule] = cases[(t + static_cast<std::size_t>(round)) % cases.size()];
        Expansion e(rule, at(zone, 2024, 3, 1, 2, 30), zone);
        e.limit = 40;
        if (e.dates() != expected[(t + static_cast<std::size_t>(round)) % cases.size()]) {
          ++mismatches;
        }
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(mismatches.load(), 0);
}

}  // namespace
}  // namespace norvik
