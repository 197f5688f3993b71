#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "norvik/calendar/lunisolar.h"
#include "norvik/platform/logger.h"
#include "norvik/recurrence/recurrence_assistant.h"

namespace norvik {
namespace {

using platform::Date;

// Noon UTC of a day (the tests run in UTC).
Date noon(int y, int m, int d) {
  return Date(static_cast<double>(civilDayFromGregorian(y, m, d)) * 86400.0 + 43200.0);
}

std::string repaired(std::string_view rule, Date date,
                     std::string_view from = SVRecurrenceFromDefault) {
  return SVRecurrenceAssistant::byDay_fixedRecurrenceRuleString(rule, from, date);
}

// Collects what the library logs while it lives.
class LogCapture {
 public:
  LogCapture() {
    previous_ =
        SVLoggerObjcWrapper::setSink([this](const SVLogRecord& r) { records.push_back(r); });
  }
  ~LogCapture() { SVLoggerObjcWrapper::setSink(previous_); }
  std::vector<SVLogRecord> records;

 private:
  SVLoggerObjcWrapper::Sink previous_;
};

TEST(RuleRepair, WeeklyRulesFollowTheWeekdayOfOneDayOnly) {
  const Date thursday = noon(2024, 3, 14);
  EXPECT_EQ(repaired("FREQ=WEEKLY;BYDAY=MO", thursday), "FREQ=WEEKLY;BYDAY=TH");
  EXPECT_EQ(repaired("FREQ=WEEKLY;INTERVAL=2", thursday), "FREQ=WEEKLY;INTERVAL=2;BYDAY=TH");
  EXPECT_EQ(repaired("FREQ=WEEKLY;BYDAY=MO,WE,FR", thursday), "FREQ=WEEKLY;BYDAY=MO,WE,FR");
  // An ordinal on a weekly entry is dropped.
  EXPECT_EQ(repaired("FREQ=WEEKLY;BYDAY=2MO", thursday), "FREQ=WEEKLY;BYDAY=TH");
}

TEST(RuleRepair, MonthlyRulesTakeTheNthWeekdayOrTheDay) {
  // 2024-03-22 is the 4th Friday of March, also its last.
  EXPECT_EQ(repaired("FREQ=MONTHLY;BYDAY=-1FR", noon(2024, 3, 22)), "FREQ=MONTHLY;BYDAY=4FR");
  EXPECT_EQ(repaired("FREQ=MONTHLY;BYDAY=1MO", noon(2024, 3, 31)), "FREQ=MONTHLY;BYDAY=5SU");
  EXPECT_EQ(repaired("FREQ=MONTHLY;BYMONTHDAY=15", noon(2024, 3, 20)),
            "FREQ=MONTHLY;BYMONTHDAY=20");
  EXPECT_EQ(repaired("FREQ=MONTHLY", noon(2024, 3, 20)), "FREQ=MONTHLY;BYMONTHDAY=20");
  EXPECT_EQ(repaired("FREQ=MONTHLY;BYMONTHDAY=1,15", noon(2024, 3, 20)),
            "FREQ=MONTHLY;BYMONTHDAY=1,15");
  EXPECT_EQ(repaired("FREQ=MONTHLY;BYDAY=MO,TU", noon(2024, 3, 20)), "FREQ=MONTHLY;BYDAY=MO,TU");
  // One weekday wins over the month days.
  EXPECT_EQ(repaired("FREQ=MONTHLY;BYDAY=MO;BYMONTHDAY=1,2", noon(2024, 3, 20)),
            "FREQ=MONTHLY;BYDAY=3WE;BYMONTHDAY=1,2");
}

TEST(RuleRepair, YearlyAndOtherFrequencies) {
  EXPECT_EQ(repaired("FREQ=YEARLY;BYMONTH=1;BYMONTHDAY=5", noon(2024, 7, 9)),
            "FREQ=YEARLY;BYMONTHDAY=9;BYMONTH=7");
  EXPECT_EQ(repaired("FREQ=YEARLY;BYDAY=-1SU;BYMONTH=3", noon(2024, 10, 27)),
            "FREQ=YEARLY;BYDAY=-1SU;BYMONTHDAY=27;BYMONTH=10");
  EXPECT_EQ(repaired("FREQ=DAILY;INTERVAL=3", noon(2024, 7, 9)), "FREQ=DAILY;INTERVAL=3");
  EXPECT_EQ(repaired("FREQ=HOURLY", noon(2024, 7, 9)), "FREQ=HOURLY");
  // A rule that already agrees comes back equal.
  EXPECT_EQ(repaired("FREQ=YEARLY;BYMONTHDAY=9;BYMONTH=7", noon(2024, 7, 9)),
            "FREQ=YEARLY;BYMONTHDAY=9;BYMONTH=7");
}

TEST(RuleRepair, LunarAndOtherCalendarRules) {
  // 2024-02-10 is lunar 1/1; 2025-07-25 is the first day of the leap sixth month, which the
  // repaired rule names as plain month 6.
  EXPECT_EQ(repaired("RSCALE=CHINESE;FREQ=YEARLY;BYMONTH=8;BYMONTHDAY=15", noon(2024, 2, 10)),
            "RSCALE=CHINESE;FREQ=YEARLY;BYMONTHDAY=1;BYMONTH=1");
  EXPECT_EQ(repaired("RSCALE=CHINESE;FREQ=YEARLY;BYMONTH=8;BYMONTHDAY=15", noon(2025, 7, 25)),
            "RSCALE=CHINESE;FREQ=YEARLY;BYMONTHDAY=1;BYMONTH=6");
  EXPECT_EQ(repaired("RSCALE=CHINESE;FREQ=MONTHLY;BYMONTHDAY=3", noon(2024, 2, 24)),
            "RSCALE=CHINESE;FREQ=MONTHLY;BYMONTHDAY=15");
  EXPECT_EQ(repaired("RSCALE=CHINESE;FREQ=WEEKLY;BYDAY=MO", noon(2024, 2, 24)),
            "RSCALE=CHINESE;FREQ=WEEKLY;BYDAY=MO");
  // Purim 5785 (2025-03-14) is 14 Adar, month 6; 2025-02-12 is 14 Shevat.
  EXPECT_EQ(repaired("RSCALE=HEBREW;FREQ=YEARLY;BYMONTH=1;BYMONTHDAY=1", noon(2025, 3, 14)),
            "RSCALE=HEBREW;FREQ=YEARLY;BYMONTHDAY=14;BYMONTH=6");
  EXPECT_EQ(repaired("RSCALE=HEBREW;FREQ=MONTHLY;BYMONTHDAY=1", noon(2025, 2, 12)),
            "RSCALE=HEBREW;FREQ=MONTHLY;BYMONTHDAY=14");
  // Nowruz: 1 Farvardin.
  EXPECT_EQ(repaired("RSCALE=PERSIAN;FREQ=YEARLY;BYMONTH=5;BYMONTHDAY=5", noon(2024, 3, 20)),
            "RSCALE=PERSIAN;FREQ=YEARLY;BYMONTHDAY=1;BYMONTH=1");
  // The Vietnamese marker survives the repair.
  EXPECT_EQ(
      repaired("RSCALE=CHINESE;FREQ=MONTHLY;BYMONTHDAY=2;X-NV-CALENDAR=VIETNAM", noon(2024, 2, 10)),
      "RSCALE=CHINESE;FREQ=MONTHLY;BYMONTHDAY=1;X-NV-CALENDAR=VIETNAM");
}

TEST(RuleRepair, ModesAndTheRuleObject) {
  EXPECT_EQ(repaired("FREQ=WEEKLY;BYDAY=MO", noon(2024, 3, 14), SVRecurrenceFromDueDate),
            "FREQ=WEEKLY;BYDAY=MO");
  EXPECT_EQ(repaired("freq=weekly;byday=mo", noon(2024, 3, 14), ""), "freq=weekly;byday=mo");

  auto rule = SVRecurrenceRule::ruleWithIcalString("FREQ=MONTHLY;BYMONTHDAY=15");
  const SVRecurrenceRule* address = rule.get();
  auto same = SVRecurrenceAssistant::byDay_fixedRecurrenceRule(rule, SVRecurrenceFromDefault,
                                                               noon(2024, 3, 20));
  EXPECT_EQ(same.get(), address);
  EXPECT_EQ(rule->byMonthDay, std::vector<int>{20});
  SVRecurrenceAssistant::byDay_fixedRecurrenceRule(rule, SVRecurrenceFromDueDate, noon(2024, 3, 9));
  EXPECT_EQ(rule->byMonthDay, std::vector<int>{20});
  EXPECT_FALSE(SVRecurrenceAssistant::byDay_fixedRecurrenceRule(nullptr, SVRecurrenceFromDefault,
                                                                noon(2024, 3, 9)));
}

TEST(RuleRepair, UnparsableTextPassesThroughAndIsLogged) {
  LogCapture log;
  const std::string text = "FREQ=WEEKLY;BYDAY=XX;\tstray \xff bytes";
  EXPECT_EQ(repaired(text, noon(2024, 3, 14)), text);
  ASSERT_EQ(log.records.size(), 1u);
  const SVLogRecord& record = log.records[0];
  EXPECT_EQ(record.level, SVLogLevel::error);
  EXPECT_EQ(record.message.rfind("abnormal recurrence rule: " + text + " ", 0), 0u)
      << record.message;
  EXPECT_GT(record.message.size(), ("abnormal recurrence rule: " + text + " ").size());
  EXPECT_EQ(record.function, "byDay_fixedRecurrenceRuleString");
  EXPECT_NE(record.filePath.find("recurrence_assistant_repair.cpp"), std::string::npos);
  EXPECT_GT(record.line, 0);
  // In another mode the text is not even read.
  EXPECT_EQ(repaired(text, noon(2024, 3, 14), SVRecurrenceFromDueDate), text);
  EXPECT_EQ(log.records.size(), 1u);
}

SVSimpleRecurringObject dueObject(std::string_view rule, Date start,
                                  std::string_view from = SVRecurrenceFromDueDate) {
  SVSimpleRecurringObject object;
  object.setRuleString(rule);
  object.setFrom(from);
  object.setStartDate(start);
  return object;
}

TEST(FirstOccurrence, TheStartItselfOrTheNextMatch) {
  const Date monday = noon(2024, 3, 11);
  EXPECT_EQ(SVRecurrenceAssistant::firstOccurenceDateForRecurringObjectIfExists(
                dueObject("FREQ=WEEKLY;BYDAY=MO", monday)),
            monday);
  EXPECT_EQ(SVRecurrenceAssistant::firstOccurenceDateForRecurringObjectIfExists(
                dueObject("FREQ=WEEKLY;BYDAY=MO", noon(2024, 3, 12))),
            noon(2024, 3, 18));
  EXPECT_EQ(SVRecurrenceAssistant::firstOccurenceDateForRecurringObjectIfExists(
                dueObject("FREQ=MONTHLY;BYMONTHDAY=-1", noon(2024, 2, 3))),
            noon(2024, 2, 29));
  EXPECT_EQ(SVRecurrenceAssistant::firstOccurenceDateForRecurringObjectIfExists(
                dueObject("RSCALE=CHINESE;FREQ=YEARLY;BYMONTH=1;BYMONTHDAY=1", noon(2024, 2, 10))),
            noon(2024, 2, 10));
  // In a zone with daylight-saving time the day back keeps the wall-clock time.
  SVSimpleRecurringObject berlin = dueObject("FREQ=WEEKLY;BYDAY=SU", Date(1711875600.0));
  berlin.setTimeZoneIdentifier("Europe/Berlin");  // 2024-03-31 11:00 CEST, a Sunday
  EXPECT_EQ(SVRecurrenceAssistant::firstOccurenceDateForRecurringObjectIfExists(berlin),
            Date(1711875600.0));
}

TEST(FirstOccurrence, NothingForOtherModesFrequenciesAndBadText) {
  const Date start = noon(2024, 3, 11);
  auto first = [](const SVSimpleRecurringObject& o) {
    return SVRecurrenceAssistant::firstOccurenceDateForRecurringObjectIfExists(o);
  };
  EXPECT_FALSE(first(dueObject("FREQ=WEEKLY;BYDAY=MO", start, SVRecurrenceFromDefault)));
  EXPECT_FALSE(first(dueObject("FREQ=WEEKLY;BYDAY=MO", start, "")));
  EXPECT_FALSE(first(dueObject("FREQ=DAILY", start)));
  EXPECT_FALSE(first(dueObject("", start)));
  EXPECT_FALSE(first(dueObject("FREQ=YEARLY;BYMONTH=2;BYMONTHDAY=30", start)));
  SVSimpleRecurringObject noStart = dueObject("FREQ=WEEKLY", start);
  noStart.setStartDate(std::nullopt);
  EXPECT_FALSE(first(noStart));

  LogCapture log;
  EXPECT_FALSE(first(dueObject("FREQ=WEEKLY;BYDAY=MO;BOGUS=1", start)));
  ASSERT_EQ(log.records.size(), 1u);
  EXPECT_EQ(
      log.records[0].message.rfind("abnormal recurrence rule: FREQ=WEEKLY;BYDAY=MO;BOGUS=1 ", 0),
      0u);
  EXPECT_EQ(log.records[0].function, "firstOccurenceDateForRecurringObjectIfExists");
}

}  // namespace
}  // namespace norvik
