// The occurrence engine on rules whose reading is easy to get wrong: BYSETPOS in weekly rules,
// week numbers across years, sub-daily rules with coarse parts, parts RFC 5545 forbids in some
// frequencies, other calendars with every part, and the day hook extensions plug into.
#include "recurrence/occurrence_engine.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "norvik/calendar/lunisolar.h"
#include "norvik/recurrence/recurrence_assistant.h"

namespace norvik {
namespace {

using platform::Date;
using Texts = std::vector<std::string>;

Date utc(int y, int mo, int d, int h = 0, int mi = 0, int s = 0) {
  return Date(static_cast<double>(civilDayFromGregorian(y, mo, d)) * 86400.0 + h * 3600.0 +
              mi * 60.0 + s);
}

// "YYYY-MM-DD HH:MM:SS" in UTC.
std::string text(Date date) {
  const double t = date.timeIntervalSince1970();
  const auto day = static_cast<CivilDay>(std::floor(t / 86400.0));
  const GregorianDate g = gregorianFromCivilDay(day);
  const int secs = static_cast<int>(t - static_cast<double>(day) * 86400.0);
  char buffer[40];
  std::snprintf(buffer, sizeof buffer, "%04d-%02d-%02d %02d:%02d:%02d", g.year, g.month, g.day,
                secs / 3600, secs / 60 % 60, secs % 60);
  return buffer;
}

Texts expand(const std::string& rule, Date start, std::size_t limit = 10) {
  SVSimpleRecurringObject object;
  object.setStartDate(start);
  object.setRuleString(rule);
  object.setTimeZoneIdentifier("UTC");
  Texts out;
  for (Date d :
       SVRecurrenceAssistant::occurrenceDatesForRecurringObject(object, start, limit, true)) {
    out.push_back(text(d));
  }
  return out;
}

struct Case {
  const char* rule;
  Date start;
  Texts expected;
};

void expectAll(const std::vector<Case>& cases) {
  for (const Case& c : cases) {
    EXPECT_EQ(expand(c.rule, c.start, 6), c.expected) << c.rule;
  }
}

TEST(OccurrenceEngine, GregorianRulesReadAsPythonDateutilReadsThem) {
  expectAll({
      // BYSETPOS picks within each week.
      {"FREQ=WEEKLY;BYDAY=MO,TU,WE,TH,FR;BYSETPOS=1;COUNT=3",
       utc(2024, 1, 1, 9),
       {"2024-01-01 09:00:00", "2024-01-08 09:00:00", "2024-01-15 09:00:00"}},
      // Week 1 may begin in December; its Monday is a Monday.
      {"FREQ=YEARLY;COUNT=3;BYDAY=MO;BYWEEKNO=1",
       utc(1997, 9, 2, 9),
       {"1997-12-29 09:00:00", "1999-01-04 09:00:00", "2000-01-03 09:00:00"}},
      {"FREQ=YEARLY;COUNT=3;BYDAY=MO;BYWEEKNO=-1",
       utc(1997, 9, 2, 9),
       {"1997-12-22 09:00:00", "1998-12-28 09:00:00", "1999-12-27 09:00:00"}},
      {"FREQ=MINUTELY;COUNT=3;BYMINUTE=6,18",
       utc(1997, 9, 2, 9),
       {"1997-09-02 09:06:00", "1997-09-02 09:18:00", "1997-09-02 10:06:00"}},
      // Intervals beyond 16 bits keep their size.
      {"FREQ=SECONDLY;INTERVAL=32768;COUNT=2",
       utc(1997, 9, 2, 9),
       {"1997-09-02 09:00:00", "1997-09-02 18:06:08"}},
      {"FREQ=HOURLY;INTERVAL=4;BYHOUR=1,13;COUNT=3",
       utc(1997, 9, 2, 9),
       {"1997-09-02 13:00:00", "1997-09-03 01:00:00", "1997-09-03 13:00:00"}},
      // No hour of 7, 11, 15 or 19 lies on the 4-hour grid from 09:00.
      {"FREQ=HOURLY;INTERVAL=4;BYHOUR=7,11,15,19", utc(1997, 9, 2, 9), {}},
      {"FREQ=DAILY;BYMONTHDAY=-1,-2;COUNT=5",
       utc(2024, 10, 30, 9),
       {"2024-10-30 09:00:00", "2024-10-31 09:00:00", "2024-11-29 09:00:00", "2024-11-30 09:00:00",
        "2024-12-30 09:00:00"}},
      // Whole months, years and days that the coarse parts rule out are skipped at once.
      {"FREQ=SECONDLY;COUNT=3;BYMONTH=1,3",
       utc(1997, 9, 2, 9),
       {"1998-01-01 00:00:00", "1998-01-01 00:00:01", "1998-01-01 00:00:02"}},
      {"FREQ=MINUTELY;INTERVAL=7;BYYEARDAY=366;BYHOUR=23;BYMINUTE=58,59;COUNT=2",
       utc(2021, 1, 1),
       {"2028-12-31 23:59:00", "2036-12-31 23:58:00"}},
      {"FREQ=SECONDLY;INTERVAL=7200;BYMINUTE=30", utc(2024, 1, 1, 9), {}},
      // The start's week is whole: its first day of the set is a Monday before the start.
      {"FREQ=WEEKLY;BYDAY=MO,WE,FR;BYSETPOS=1,-1;COUNT=3",
       utc(2024, 1, 3, 9),
       {"2024-01-05 09:00:00", "2024-01-08 09:00:00", "2024-01-12 09:00:00"}},
      {"FREQ=MONTHLY;BYDAY=MO,TU,WE,TH,FR;BYSETPOS=-2;BYHOUR=9,17;COUNT=2",
       utc(2024, 1, 1),
       {"2024-01-31 09:00:00", "2024-02-29 09:00:00"}},
      {"FREQ=YEARLY;BYDAY=20MO,-1FR;COUNT=3",
       utc(2024, 1, 1, 9),
       {"2024-05-13 09:00:00", "2024-12-27 09:00:00", "2025-05-19 09:00:00"}},
  });
}

// Combinations RFC 5545 forbids read as python-dateutil reads them: the part limits the days, an
// ordinal outside MONTHLY and YEARLY is dropped. Every date keeps its weekday.
TEST(OccurrenceEngine, ForbiddenCombinationsLimitTheDays) {
  expectAll({
      {"FREQ=MONTHLY;BYWEEKNO=1;BYDAY=MO;COUNT=3",
       utc(2024, 1, 1, 9),
       {"2024-01-01 09:00:00", "2024-12-30 09:00:00", "2025-12-29 09:00:00"}},
      {"FREQ=DAILY;BYYEARDAY=1,-1;COUNT=3",
       utc(2024, 6, 1, 9),
       {"2024-12-31 09:00:00", "2025-01-01 09:00:00", "2025-12-31 09:00:00"}},
      {"FREQ=WEEKLY;BYMONTHDAY=13;BYDAY=FR;COUNT=3",
       utc(2024, 1, 1, 9),
       {"2024-09-13 09:00:00", "2024-12-13 09:00:00", "2025-06-13 09:00:00"}},
      {"FREQ=DAILY;BYDAY=1MO;COUNT=2",
       utc(2024, 1, 3, 9),
       {"2024-01-08 09:00:00", "2024-01-15 09:00:00"}},
      {"FREQ=WEEKLY;INTERVAL=2;BYDAY=-1FR;COUNT=2",
       utc(2024, 1, 3, 9),
       {"2024-01-05 09:00:00", "2024-01-19 09:00:00"}},
  });
}

TEST(OccurrenceEngine, OtherCalendarsTakeEveryPart) {
  expectAll({
      // The later of the 1st and the 15th of each lunar month.
      {"RSCALE=CHINESE;FREQ=MONTHLY;BYMONTHDAY=1,15;BYSETPOS=-1;COUNT=3",
       utc(2024, 9, 3, 8),
       {"2024-09-17 08:00:00", "2024-10-17 08:00:00", "2024-11-15 08:00:00"}},
      // 1 Tishri is the first day of the Hebrew year.
      {"RSCALE=HEBREW;FREQ=YEARLY;BYYEARDAY=1;COUNT=2",
       utc(2024, 1, 1, 8),
       {"2024-10-03 08:00:00", "2025-09-23 08:00:00"}},
      // SKIP also moves days counted back past a month's first day, and days a year lacks.
      {"RSCALE=GREGORIAN;FREQ=MONTHLY;BYMONTHDAY=-31;SKIP=BACKWARD;COUNT=3",
       utc(2015, 1, 1),
       {"2015-01-01 00:00:00", "2015-01-31 00:00:00", "2015-03-01 00:00:00"}},
      {"RSCALE=GREGORIAN;FREQ=YEARLY;BYYEARDAY=366;SKIP=FORWARD;COUNT=2",
       utc(2012, 12, 31, 12),
       {"2012-12-31 12:00:00", "2014-01-01 12:00:00"}},
      {"RSCALE=CHINESE;FREQ=HOURLY;INTERVAL=12;BYMONTH=1;BYMONTHDAY=1;COUNT=2",
       utc(2025, 1, 1, 8),
       {"2025-01-29 08:00:00", "2025-01-29 20:00:00"}},
  });
}

// A wall-clock hour that a spring-forward change skips lands on the next hour: one occurrence.
TEST(OccurrenceEngine, SubDailyRulesAcrossASpringForwardGap) {
  SVSimpleRecurringObject object;
  object.setStartDate(utc(2024, 3, 31, 0));  // 01:00 in Berlin
  object.setRuleString("FREQ=HOURLY;COUNT=4");
  object.setTimeZoneIdentifier("Europe/Berlin");
  Texts got;
  for (Date d : SVRecurrenceAssistant::occurrenceDatesForRecurringObject(
           object, utc(2024, 3, 31, 0), 10, true)) {
    got.push_back(text(d));
  }
  EXPECT_EQ(got, (Texts{"2024-03-31 00:00:00", "2024-03-31 01:00:00", "2024-03-31 02:00:00",
                        "2024-03-31 03:00:00"}));
}

// The seam extensions plug into: a DAILY rule limited by a day predicate with an end to its data.
TEST(OccurrenceEngine, DayHookLimitsAndEndsTheSearch) {
  const auto rule = SVRecurrenceRule::ruleWithIcalString("FREQ=DAILY");
  const auto zone = platform::TimeZone::withIdentifier("UTC");
  const CivilDay first = civilDayFromGregorian(2024, 1, 1);
  // Civil days 19730, 19740, 19750 are 2024-01-08, -18 and -28; the data ends on 2024-01-26.
  detail::DayHook hook{[](CivilDay d) { return d % 10 == 0; }, first + 25};
  const Date start = utc(2024, 1, 1, 9);
  detail::OccurrenceCollector out(*rule, *zone, start.timeIntervalSince1970(), start, 10, true);
  detail::expandRule(*rule, out, &hook);
  Texts got;
  for (Date d : out.take()) got.push_back(text(d));
  EXPECT_EQ(got, (Texts{"2024-01-08 09:00:00", "2024-01-18 09:00:00"}));
}

// Rules that find little or nothing end (the bound benchmark times them).
TEST(OccurrenceEngine, SparseAndEmptyRulesEnd) {
  expectAll({
      {"FREQ=SECONDLY;BYYEARDAY=366;BYWEEKNO=1;COUNT=2",
       utc(2024, 1, 1, 9),
       {"2024-12-31 00:00:00", "2024-12-31 00:00:01"}},
      {"FREQ=SECONDLY;BYMONTH=2;BYMONTHDAY=30", utc(2024, 1, 1, 9), {}},
      {"FREQ=DAILY;INTERVAL=7;BYDAY=TU", utc(2024, 1, 1, 9), {}},
      {"FREQ=YEARLY;BYSETPOS=-366;BYYEARDAY=1", utc(2024, 1, 1, 9), {}},
      {"FREQ=MONTHLY;INTERVAL=999999999", utc(2024, 1, 1, 9), {"2024-01-01 09:00:00"}},
  });
  for (const std::string& t :
       expand("FREQ=WEEKLY;INTERVAL=3;BYMONTH=2;BYMONTHDAY=29", utc(2024, 1, 1))) {
    EXPECT_EQ(t.substr(4, 6), "-02-29");
  }
}

}  // namespace
}  // namespace norvik
