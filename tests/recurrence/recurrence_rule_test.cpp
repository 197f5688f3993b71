#include "norvik/recurrence/recurrence_rule.h"

#include <gtest/gtest.h>
#include <libical/ical.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace norvik {
namespace {

std::shared_ptr<SVRecurrenceRule> parse(std::string_view text) {
  SVRecurrenceError error;
  auto rule = SVRecurrenceRule::ruleWithIcalString(text, &error);
  EXPECT_TRUE(rule) << text << ": " << error.description;
  return rule;
}

std::string parseError(std::string_view text) {
  SVRecurrenceError error;
  auto rule = SVRecurrenceRule::ruleWithIcalString(text, &error);
  EXPECT_FALSE(rule) << text << " was accepted as " << (rule ? rule->toIcal() : "");
  EXPECT_FALSE(error.description.empty()) << text;
  return error.description;
}

SVRecurrenceWeekdayNumber day(int num, int weekday) {
  return SVRecurrenceWeekdayNumber(num, SVRecurrenceWeekday(weekday));
}

TEST(RecurrenceRuleParse, ReadsEveryStandardPart) {
  auto rule = parse(
      "RRULE:freq=Monthly;INTERVAL=2;COUNT=10;BYDAY=MO,2TU,-1FR,+3SA;BYMONTHDAY=1,-1,15;"
      "BYMONTH=3,12;BYSETPOS=-1;BYYEARDAY=100,-366;BYWEEKNO=-53,20;BYHOUR=0,23;BYMINUTE=59;"
      "BYSECOND=60;WKST=su");
  ASSERT_TRUE(rule);
  EXPECT_EQ(rule->frequencyOrdinal, 5);
  EXPECT_TRUE(rule->isMonthly());
  EXPECT_EQ(rule->interval, 2);
  EXPECT_EQ(rule->count, 10);
  EXPECT_EQ(rule->byDay, (std::vector{day(0, 2), day(2, 3), day(-1, 6), day(3, 7)}));
  EXPECT_EQ(rule->byMonthDay, (std::vector{1, -1, 15}));
  EXPECT_EQ(rule->byMonth, (std::vector{3, 12}));
  EXPECT_EQ(rule->bySetPos, (std::vector{-1}));
  EXPECT_EQ(rule->byYearDay, (std::vector{100, -366}));
  EXPECT_EQ(rule->byWeekNo, (std::vector{-53, 20}));
  EXPECT_EQ(rule->byHour, (std::vector{0, 23}));
  EXPECT_EQ(rule->byMinute, (std::vector{59}));
  EXPECT_EQ(rule->bySecond, (std::vector{60}));
  EXPECT_EQ(rule->weekStart, SVRecurrenceWeekday(1));
  EXPECT_EQ(rule->monthDaysOfTheSorted(), (std::vector{1, 15, -1}));

  auto until = parse("FREQ=DAILY;UNTIL=20240229T235960Z");
  ASSERT_TRUE(until && until->until);
  EXPECT_EQ(until->until->toIcal(), "20240229T235960Z");
  EXPECT_EQ(parse("FREQ=DAILY;UNTIL=19700102")->until->date().timeIntervalSince1970(), 86400.0);
}

// Canonical texts read and written back unchanged, and each is accepted by libical.
TEST(RecurrenceRuleParse, RoundTripsEveryPartAndLibicalAgrees) {
  const std::vector<std::string> texts = {
      "FREQ=SECONDLY;BYSECOND=0,30",
      "FREQ=MINUTELY;INTERVAL=15;BYMINUTE=0,15,30,45",
      "FREQ=HOURLY;COUNT=3;BYHOUR=9,17",
      "FREQ=DAILY",
      "FREQ=DAILY;INTERVAL=3;UNTIL=20251231",
      "FREQ=DAILY;UNTIL=20251231T120000",
      "FREQ=WEEKLY;INTERVAL=2;BYDAY=MO,WE,FR;WKST=MO",
      "FREQ=MONTHLY;BYDAY=-1FR",
      "FREQ=MONTHLY;BYDAY=MO,TU,WE,TH,FR;BYSETPOS=-1",
      "FREQ=MONTHLY;BYMONTHDAY=1,15,-1",
      "FREQ=YEARLY;BYDAY=1MO;BYMONTH=1",
      "FREQ=YEARLY;BYMONTHDAY=5;BYMONTH=3",
      "FREQ=YEARLY;BYYEARDAY=1,-1",
      "FREQ=YEARLY;BYDAY=MO;BYWEEKNO=20",
      "RSCALE=CHINESE;FREQ=YEARLY;BYMONTHDAY=1;BYMONTH=1",
      "RSCALE=CHINESE;FREQ=MONTHLY;BYMONTHDAY=-1;SKIP=BACKWARD",
      "RSCALE=HEBREW;FREQ=YEARLY;BYMONTHDAY=14;BYMONTH=5L;SKIP=FORWARD",
      "RSCALE=DANGI;FREQ=YEARLY;BYMONTHDAY=15;BYMONTH=8",
      "RSCALE=ISLAMIC-CIVIL;FREQ=MONTHLY;BYMONTHDAY=1",
      "RSCALE=ISLAMIC-UMALQURA;FREQ=YEARLY;BYMONTHDAY=1;BYMONTH=10;SKIP=OMIT",
      "RSCALE=ISLAMIC-TBLA;FREQ=YEARLY;BYMONTHDAY=1;BYMONTH=9",
      "RSCALE=PERSIAN;FREQ=YEARLY;BYMONTHDAY=1;BYMONTH=1",
      "RSCALE=INDIAN;FREQ=MONTHLY;BYMONTHDAY=1",
  };
  for (const auto& text : texts) {
    auto rule = parse(text);
    ASSERT_TRUE(rule) << text;
    EXPECT_EQ(rule->toIcal(), text);
    EXPECT_EQ(*parse(rule->toIcal()), *rule) << text;
    icalerror_set_errno(ICAL_NO_ERROR);
    struct icalrecurrencetype recur = icalrecurrencetype_from_string(text.c_str());
    EXPECT_NE(recur.freq, ICAL_NO_RECURRENCE) << "libical rejects " << text;
    char* written = icalrecurrencetype_as_string(&recur);
    EXPECT_TRUE(written != nullptr) << text;
    std::free(recur.rscale);  // libical copies RSCALE for the caller
  }
}

TEST(RecurrenceRuleParse, ExtensionsRoundTripExactly) {
  const std::vector<std::string> texts = {
      "RSCALE=CHINESE;FREQ=MONTHLY;BYMONTHDAY=15;X-NV-CALENDAR=VIETNAM",
      "FREQ=MONTHLY;BYDAY=MO,TU,WE,TH,FR;BYMONTHDAY=1,2,3;BYSETPOS=1;X-NV-WORKDAY=FIRST",
      "FREQ=MONTHLY;BYDAY=MO,TU,WE,TH,FR;BYMONTHDAY=-1,-2,-3;BYSETPOS=-1;X-NV-WORKDAY=LAST",
      "FREQ=DAILY;X-NV-OFFICIAL=WORKDAY",
      "FREQ=DAILY;X-NV-OFFICIAL=HOLIDAY",
      "FREQ=DAILY;X-NV-EBBINGHAUS=0",
      "FREQ=DAILY;X-NV-EBBINGHAUS=111",
      "FREQ=DAILY;X-NV-DATES=20240105,20240312T090000Z",
      "FREQ=DAILY;X-NV-DATES=",
      "FREQ=WEEKLY;X-OTHER-APP=kept;X-MORE=1,2",
  };
  for (const auto& text : texts) {
    auto rule = parse(text);
    ASSERT_TRUE(rule) << text;
    EXPECT_EQ(rule->toIcal(), text);
    EXPECT_EQ(*parse(rule->toIcal()), *rule) << text;
  }
  EXPECT_TRUE(parse(texts[0])->isVietnam());
  EXPECT_FALSE(parse(texts[0])->isLunar());
  EXPECT_TRUE(parse(texts[0])->isOtherCalendars());
  EXPECT_TRUE(parse(texts[1])->isFirstWorkday());
  EXPECT_TRUE(parse(texts[2])->isLastWorkday());
  EXPECT_TRUE(parse(texts[3])->isEveryOfficalWorkingDay());
  EXPECT_TRUE(parse(texts[4])->isEveryOfficalHoliday());
  EXPECT_EQ(parse(texts[6])->extendable.ebbinghaus().cycle, 111);
  EXPECT_EQ(parse(texts[7])->specific().byDate.size(), 2u);
  EXPECT_TRUE(parse(texts[8])->isSpecificDate());
  EXPECT_TRUE(parse(texts[8])->specific().byDate.empty());
  EXPECT_FALSE(parse("FREQ=WEEKLY;X-NV-WORKDAY=FIRST")->isFirstWorkday());  // monthly only
}

TEST(RecurrenceRuleParse, CalendarPredicatesFollowRscale) {
  EXPECT_TRUE(parse("RSCALE=chinese;FREQ=YEARLY")->isLunar());
  EXPECT_FALSE(parse("RSCALE=CHINESE;FREQ=YEARLY")->isOtherCalendars());
  EXPECT_TRUE(parse("RSCALE=DANGI;FREQ=YEARLY")->isKorean());
  EXPECT_TRUE(parse("RSCALE=HEBREW;FREQ=YEARLY")->isHebcal());
  EXPECT_TRUE(parse("RSCALE=ISLAMIC-CIVIL;FREQ=YEARLY")->isHijri());
  EXPECT_TRUE(parse("RSCALE=ISLAMIC-TBLA;FREQ=YEARLY")->isKuwaiti());
  EXPECT_TRUE(parse("RSCALE=ISLAMIC-UMALQURA;FREQ=YEARLY")->isSaudi());
  EXPECT_TRUE(parse("RSCALE=PERSIAN;FREQ=YEARLY")->isPersian());
  EXPECT_TRUE(parse("RSCALE=INDIAN;FREQ=YEARLY")->isShaka());
  auto gregorian = parse("RSCALE=GREGORIAN;FREQ=YEARLY");
  EXPECT_FALSE(gregorian->isLunar() || gregorian->isOtherCalendars());
}

TEST(RecurrenceRuleParse, MalformedTextGivesNoRuleAndSaysWhy) {
  EXPECT_NE(parseError("FREQ=FORTNIGHTLY").find("unknown frequency"), std::string::npos);
  EXPECT_NE(parseError("INTERVAL=2").find("FREQ is missing"), std::string::npos);
  EXPECT_NE(parseError("FREQ=DAILY;INTERVAL=two").find("INTERVAL"), std::string::npos);
  EXPECT_NE(parseError("FREQ=DAILY;INTERVAL=-1").find("INTERVAL"), std::string::npos);
  EXPECT_NE(parseError("FREQ=DAILY;INTERVAL=0").find("at least 1"), std::string::npos);
  EXPECT_NE(parseError("FREQ=DAILY;COUNT=99999999999").find("COUNT"), std::string::npos);
  EXPECT_NE(parseError("FREQ=MONTHLY;BYMONTHDAY=32").find("out of range"), std::string::npos);
  EXPECT_NE(parseError("FREQ=MONTHLY;BYMONTHDAY=0").find("out of range"), std::string::npos);
  EXPECT_NE(parseError("FREQ=YEARLY;BYMONTH=-1").find("BYMONTH"), std::string::npos);
  EXPECT_NE(parseError("FREQ=YEARLY;BYMONTH=14").find("out of range"), std::string::npos);
  EXPECT_NE(parseError("FREQ=DAILY;BYHOUR=24").find("BYHOUR"), std::string::npos);
  EXPECT_NE(parseError("FREQ=DAILY;BYMINUTE=-1").find("BYMINUTE"), std::string::npos);
  EXPECT_NE(parseError("FREQ=WEEKLY;BYDAY=XX").find("weekday"), std::string::npos);
  EXPECT_NE(parseError("FREQ=MONTHLY;BYDAY=0MO").find("ordinal"), std::string::npos);
  EXPECT_NE(parseError("FREQ=MONTHLY;BYDAY=54MO").find("ordinal"), std::string::npos);
  EXPECT_NE(parseError("FREQ=DAILY;FREQ=WEEKLY").find("more than once"), std::string::npos);
  EXPECT_NE(parseError("FREQ=DAILY;interval=2;INTERVAL=3").find("more than once"),
            std::string::npos);
  EXPECT_NE(parseError("FREQ=DAILY;COUNT=2;UNTIL=20250101").find("COUNT and UNTIL"),
            std::string::npos);
  EXPECT_NE(parseError("FREQ=DAILY;UNTIL=20250230").find("calendar date"), std::string::npos);
  EXPECT_NE(parseError("FREQ=DAILY;UNTIL=20250101T2500").find("time"), std::string::npos);
  EXPECT_NE(parseError("FREQ=DAILY;SKIP=OMIT").find("SKIP needs RSCALE"), std::string::npos);
  EXPECT_NE(parseError("RSCALE=MAYAN;FREQ=DAILY").find("unsupported calendar"), std::string::npos);
  EXPECT_NE(parseError("FREQ=YEARLY;BYMONTH=5L").find("RSCALE"), std::string::npos);
  EXPECT_NE(parseError("FREQ=DAILY;X-NV-CALENDAR=VIETNAM").find("RSCALE=CHINESE"),
            std::string::npos);
  EXPECT_NE(parseError("FREQ=DAILY;X-NV-EBBINGHAUS=-1").find("cycle"), std::string::npos);
  EXPECT_NE(parseError("FREQ=DAILY;X-NV-DATES=2024").find("X-NV-DATES"), std::string::npos);
  EXPECT_NE(parseError("FREQ=DAILY;BYFOO=1").find("unknown part"), std::string::npos);
  EXPECT_NE(parseError("FREQ=DAILY;;COUNT=1").find("empty part"), std::string::npos);
  EXPECT_NE(parseError("FREQ=DAILY;COUNT").find("no '='"), std::string::npos);
  EXPECT_NE(parseError("FREQ=DAILY;COUNT=").find("empty value"), std::string::npos);
  EXPECT_NE(parseError("FREQ=DAILY;BYDAY=MO,,TU").find("BYDAY"), std::string::npos);
  EXPECT_NE(parseError(std::string("FREQ=DA\0LY", 10)).find("0x00"), std::string::npos);
  EXPECT_NE(parseError("FREQ=DAILY;BYDAY=\xC3\xA9").find("0xC3"), std::string::npos);
  EXPECT_NE(parseError("FREQ=DAILY BYDAY=MO").find("0x20"), std::string::npos);
  EXPECT_NE(parseError("").find("empty"), std::string::npos);
  EXPECT_NE(parseError("RRULE:").find("empty"), std::string::npos);
  std::string longText = "FREQ=DAILY;BYHOUR=1";
  while (longText.size() <= SVRecurrenceRule::kMaxTextLength) longText += ",1";
  EXPECT_NE(parseError(longText).find("too long"), std::string::npos);
  // No error object requested: still no rule, and no crash.
  EXPECT_FALSE(SVRecurrenceRule::ruleWithIcalString("FREQ=NEVER"));
}

// The byte check reads eight bytes at a time: every byte value in every lane of a word and in the
// tail must be judged alone, printable ASCII without space accepted and everything else refused.
TEST(RecurrenceRuleParse, EveryByteValueInEveryPositionIsJudgedAlone) {
  // The value of the X- part fills the third word (bytes 16 to 23) and the tail (24 to 28).
  const std::string valid = "FREQ=DAILY;X-NA=aaaaaaaaaaaaa";
  ASSERT_TRUE(SVRecurrenceRule::ruleWithIcalString(valid));
  for (std::size_t position = 16; position < valid.size(); ++position) {
    for (int byte = 0; byte < 256; ++byte) {
      std::string text = valid;
      text[position] = static_cast<char>(byte);
      if (byte == ';' || byte == '=') continue;  // these change the structure instead
      const bool printable = byte >= 0x21 && byte <= 0x7e;
      SVRecurrenceError error;
      const bool accepted = SVRecurrenceRule::ruleWithIcalString(text, &error) != nullptr;
      EXPECT_EQ(accepted, printable) << "byte " << byte << " at " << position;
      if (!printable) {
        char expected[8];
        std::snprintf(expected, sizeof expected, "0x%02X", byte);
        EXPECT_NE(error.description.find(expected), std::string::npos) << error.description;
      }
    }
  }
}

TEST(RecurrenceRuleModel, WeekdayEntriesCompareByValue) {
  EXPECT_EQ(day(2, 3), day(2, 3));
  EXPECT_NE(day(2, 3), day(0, 3));
  EXPECT_NE(day(2, 3), day(2, 4));
  const auto& all = SVRecurrenceWeekdayNumber::allDays();
  ASSERT_EQ(all.size(), 7u);
  EXPECT_EQ(all.front(), day(0, 2));
  EXPECT_EQ(all.back(), day(0, 1));
  EXPECT_TRUE(SVRecurrenceWeekdayNumber::isWeekdays(
      {day(0, 6), day(0, 2), day(0, 3), day(0, 4), day(0, 5)}));
  EXPECT_FALSE(SVRecurrenceWeekdayNumber::isWeekdays({day(0, 2), day(0, 3), day(0, 4), day(0, 5)}));
  EXPECT_FALSE(SVRecurrenceWeekdayNumber::isWeekdays(
      {day(0, 2), day(0, 3), day(0, 4), day(0, 5), day(1, 6)}));
  EXPECT_FALSE(SVRecurrenceWeekdayNumber::isWeekdays(
      {day(0, 2), day(0, 2), day(0, 3), day(0, 4), day(0, 5)}));
  EXPECT_TRUE(SVRecurrenceWeekdayNumber::isWeekends({day(0, 1), day(0, 7)}));
  EXPECT_FALSE(SVRecurrenceWeekdayNumber::isWeekends({day(0, 1), day(0, 1)}));
  EXPECT_FALSE(SVRecurrenceWeekdayNumber::isWeekends({day(0, 1), day(0, 7), day(0, 2)}));

  SVRecurrenceRule rule = *parse("RSCALE=HEBREW;FREQ=YEARLY;BYMONTH=5L,6");
  rule.setByMonth({7});
  EXPECT_EQ(rule.toIcal(), "RSCALE=HEBREW;FREQ=YEARLY;BYMONTH=7");
  rule.setByMonthDay({-1});
  rule.setByDay({day(-1, 6)});
  EXPECT_EQ(rule.toIcal(), "RSCALE=HEBREW;FREQ=YEARLY;BYDAY=-1FR;BYMONTHDAY=-1;BYMONTH=7");
  EXPECT_FALSE(SVRecurrenceRule().monthDaysOfTheSorted().has_value());
}

}  // namespace
}  // namespace norvik
