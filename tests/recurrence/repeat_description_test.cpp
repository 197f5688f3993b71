#include "norvik/recurrence/repeat_description.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "norvik/platform/environment.h"
#include "support/test_support.h"

namespace norvik {
namespace {

using platform::Date;

// 2024-03-05 12:00 UTC, a Tuesday in every zone within eleven hours of UTC.
constexpr Date kTuesday(1709640000.0);

std::shared_ptr<SVRecurrenceRule> rule(std::string_view text) {
  SVRecurrenceError error;
  auto parsed = SVRecurrenceRule::ruleWithIcalString(text, &error);
  EXPECT_TRUE(parsed) << error.description;
  return parsed;
}

std::string describe(std::string_view text, std::optional<std::string_view> from = std::nullopt,
                     bool showCount = false, std::optional<Date> date = kTuesday,
                     bool reminderInfo = true) {
  return Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(rule(text), from, showCount, date,
                                                              reminderInfo);
}

std::string describe(const SVRecurrenceRule& model, std::optional<std::string_view> from = {},
                     bool reminderInfo = true) {
  return Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(
      std::make_shared<const SVRecurrenceRule>(model), from, false, kTuesday, reminderInfo);
}

SVRecurrenceRule withInterval(std::string_view text, int interval) {
  SVRecurrenceRule model = *rule(text);
  model.interval = interval;
  return model;
}

// The shipped English tables, an en_US locale and UTC.
class RepeatDescriptionTest : public ::testing::Test {
 protected:
  void SetUp() override {
    platform::Environment env = testing::baseEnvironment();
    env.timeZoneIdentifier = "UTC";
    scoped_ = std::make_unique<platform::ScopedEnvironment>(env);
  }
  std::unique_ptr<platform::ScopedEnvironment> scoped_;
};

TEST_F(RepeatDescriptionTest, DailyAndIntervals) {
  EXPECT_EQ(describe("FREQ=DAILY"), "Every day");
  EXPECT_EQ(describe("FREQ=DAILY;INTERVAL=1"), "Every day");
  EXPECT_EQ(describe("FREQ=DAILY;INTERVAL=3"), "Every 3 days");
  EXPECT_EQ(describe(withInterval("FREQ=DAILY", 0)), "Every day");
  EXPECT_EQ(describe(withInterval("FREQ=DAILY", -4)), "Every day");  // negative is singular
  EXPECT_EQ(describe(withInterval("FREQ=WEEKLY;BYDAY=MO", -2)), "Every week on Mon");
  EXPECT_EQ(describe("FREQ=HOURLY"), "None");
  EXPECT_EQ(Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(nullptr, SVRecurrenceFromDefault,
                                                                 kTuesday),
            "None");
}

TEST_F(RepeatDescriptionTest, WeeklyBranches) {
  EXPECT_EQ(describe("FREQ=WEEKLY;BYDAY=MO,TU,WE,TH,FR"), "Every Weekday (Mon - Fri)");
  EXPECT_EQ(describe("FREQ=WEEKLY;INTERVAL=2;BYDAY=FR,TH,WE,TU,MO"),
            "Every 2 weeks on weekdays (Mon-Fri)");
  EXPECT_EQ(describe("FREQ=WEEKLY;BYDAY=SU,SA"), "Every Weekend");
  EXPECT_EQ(describe("FREQ=WEEKLY;INTERVAL=2;BYDAY=SU,SA"), "Every 2 weeks on Sat, Sun");
  EXPECT_EQ(describe("FREQ=WEEKLY;BYDAY=SU,MO,TU,WE,TH,FR,SA"), "Every day");
  EXPECT_EQ(describe("FREQ=WEEKLY;INTERVAL=3;BYDAY=SU,MO,TU,WE,TH,FR,SA"),
            "Every 3 weeks on all days");
  EXPECT_EQ(describe("FREQ=WEEKLY"), "Weekly (Tuesday)");
  EXPECT_EQ(describe("FREQ=WEEKLY;INTERVAL=2"), "Every 2 weeks");
  // Without a relative date, today's weekday.
  platform::modifyEnvironment(
      [](platform::Environment& env) { env.clock = [] { return 1709640000.0 + 86400.0; }; });
  EXPECT_EQ(describe("FREQ=WEEKLY", std::nullopt, false, std::nullopt), "Weekly (Wednesday)");
  // Days in the fixed Monday-first order whatever the rule's order; duplicates have no effect.
  EXPECT_EQ(describe("FREQ=WEEKLY;BYDAY=SU,FR,MO,FR"), "Every week on Mon, Fri, Sun");
  EXPECT_EQ(describe("FREQ=WEEKLY;INTERVAL=2;BYDAY=WE,MO"), "Every 2 weeks on Mon, Wed");
  // A weekday set with an ordinal entry is not "the weekdays".
  EXPECT_EQ(describe("FREQ=WEEKLY;BYDAY=MO,TU,WE,TH,1FR"), "Every week on Mon, Tue, Wed, Thu");
  EXPECT_EQ(describe("FREQ=WEEKLY;BYDAY=MO", {}, false, kTuesday, false), "Weekly");
  EXPECT_EQ(describe("FREQ=WEEKLY;INTERVAL=5;BYDAY=MO", {}, false, kTuesday, false),
            "Every 5 weeks");
}

TEST_F(RepeatDescriptionTest, MonthlyBranches) {
  EXPECT_EQ(describe("FREQ=MONTHLY;BYMONTHDAY=-1"), "Monthly (the last day)");
  EXPECT_EQ(describe("FREQ=MONTHLY;BYMONTHDAY=15"), "Monthly (the 15th day)");
  EXPECT_EQ(describe("FREQ=MONTHLY;BYMONTHDAY=1"), "Monthly (the 1st day)");
  EXPECT_EQ(describe("FREQ=MONTHLY;BYMONTHDAY=22"), "Monthly (the 22nd day)");
  EXPECT_EQ(describe("FREQ=MONTHLY;BYMONTHDAY=-5"), "Monthly (day -5)");
  EXPECT_EQ(describe("FREQ=MONTHLY;BYMONTHDAY=28,1,15"), "Monthly (day 1, 15 and 28)");
  EXPECT_EQ(describe("FREQ=MONTHLY;BYMONTHDAY=-1,15"), "Monthly (day 15 and the last day)");
  EXPECT_EQ(describe("FREQ=MONTHLY;INTERVAL=2;BYMONTHDAY=-1,15"),
            "Every 2 months on day 15 and the last day");
  EXPECT_EQ(describe("FREQ=MONTHLY;BYDAY=2TU,3WE"), "Monthly (the 2nd Tuesday)");
  EXPECT_EQ(describe("FREQ=MONTHLY;BYDAY=-1FR"), "Monthly (the last Friday)");
  EXPECT_EQ(describe("FREQ=MONTHLY;BYDAY=MO"), "Monthly (the 1st Monday)");
  EXPECT_EQ(describe("FREQ=MONTHLY"), "Every month");
  EXPECT_EQ(describe("FREQ=MONTHLY;INTERVAL=4"), "Every 4 months");
  EXPECT_EQ(describe("FREQ=MONTHLY;BYMONTHDAY=15", {}, false, kTuesday, false), "Every month");
  EXPECT_EQ(describe("FREQ=MONTHLY;INTERVAL=2;BYMONTHDAY=15", {}, false, kTuesday, false),
            "Every 2 months");
  EXPECT_EQ(describe("FREQ=MONTHLY;BYDAY=MO,TU,WE,TH,FR;BYMONTHDAY=1,2,3;BYSETPOS=1;"
                     "X-NV-WORKDAY=FIRST"),
            "Monthly (First workday)");
  EXPECT_EQ(describe("FREQ=MONTHLY;BYDAY=MO,TU,WE,TH,FR;BYMONTHDAY=-1,-2,-3;BYSETPOS=-1;"
                     "X-NV-WORKDAY=LAST"),
            "Monthly (Last workday)");
}

TEST_F(RepeatDescriptionTest, WeekOrdinalIndexQuirk) {
  SVRecurrenceRule model = *rule("FREQ=MONTHLY");
  auto nth = [&](int num) {
    model.setByDay({SVRecurrenceWeekdayNumber(num, SVRecurrenceWeekday(3))});
    return describe(model);
  };
  EXPECT_EQ(nth(0), "Monthly (the 1st Tuesday)");
  EXPECT_EQ(nth(5), "Monthly (the 5th Tuesday)");
  EXPECT_EQ(nth(-1), "Monthly (the last Tuesday)");
  EXPECT_EQ(nth(6), "Monthly (the last Tuesday)");
  EXPECT_EQ(nth(7), "Monthly (the 1st Tuesday)");
  EXPECT_EQ(nth(-2), "Monthly (the 1st Tuesday)");
}

TEST_F(RepeatDescriptionTest, YearlyBranches) {
  EXPECT_EQ(describe("FREQ=YEARLY;BYMONTHDAY=5;BYMONTH=3"), "Yearly on Mar 5");
  EXPECT_EQ(describe("FREQ=YEARLY;INTERVAL=2;BYMONTHDAY=5;BYMONTH=3"), "Every 2 years on Mar 5");
  EXPECT_EQ(describe("FREQ=YEARLY;BYMONTHDAY=-1;BYMONTH=2"), "Yearly on Feb Last day");
  EXPECT_EQ(describe("FREQ=YEARLY;BYDAY=1MO;BYMONTH=1"), "Yearly on the 1st Monday in Jan");
  // Parts A and B together.
  EXPECT_EQ(describe("FREQ=YEARLY;BYDAY=-1FR;BYMONTHDAY=5;BYMONTH=12"),
            "Yearly on the last Friday in DecDec 5");
  EXPECT_EQ(describe("FREQ=YEARLY;BYDAY=1MO;BYMONTH=13", {}, false, kTuesday), "Yearly on Mar 5");
  EXPECT_EQ(describe("FREQ=YEARLY"), "Yearly on Mar 5");
  EXPECT_EQ(describe("FREQ=YEARLY;INTERVAL=3"), "Every 3 years on Mar 5");
  EXPECT_EQ(describe("FREQ=YEARLY;BYMONTHDAY=5;BYMONTH=3", {}, false, kTuesday, false), "Yearly");
  EXPECT_EQ(describe("FREQ=YEARLY;INTERVAL=2;BYMONTH=3", {}, false, kTuesday, false),
            "Every 2 years");
}

TEST_F(RepeatDescriptionTest, OfficialDaysOnlyInDefaultMode) {
  EXPECT_EQ(describe("FREQ=DAILY;X-NV-OFFICIAL=WORKDAY", SVRecurrenceFromDefault),
            "Official Working Days");
  EXPECT_EQ(describe("FREQ=DAILY;X-NV-OFFICIAL=HOLIDAY", SVRecurrenceFromDefault),
            "Official Holidays");
  EXPECT_EQ(describe("FREQ=DAILY;X-NV-OFFICIAL=WORKDAY", SVRecurrenceFromDueDate), "Every day");
  EXPECT_EQ(describe("FREQ=DAILY;X-NV-OFFICIAL=HOLIDAY"), "Every day");
}

TEST_F(RepeatDescriptionTest, EbbinghausSuffixesAndModes) {
  auto ebbinghaus = [](int cycle) {
    return describe("FREQ=DAILY;X-NV-EBBINGHAUS=" + std::to_string(cycle), SVRecurrenceFromDueDate,
                    true);
  };
  EXPECT_EQ(ebbinghaus(0), "Ebbinghaus Curve, 1st");
  EXPECT_EQ(ebbinghaus(1), "Ebbinghaus Curve, 2nd");
  EXPECT_EQ(ebbinghaus(2), "Ebbinghaus Curve, 3rd");
  EXPECT_EQ(ebbinghaus(3), "Ebbinghaus Curve, 4th");
  EXPECT_EQ(ebbinghaus(10), "Ebbinghaus Curve, 11th");
  EXPECT_EQ(ebbinghaus(11), "Ebbinghaus Curve, 12th");
  EXPECT_EQ(ebbinghaus(12), "Ebbinghaus Curve, 13th");
  EXPECT_EQ(ebbinghaus(20), "Ebbinghaus Curve, 21st");
  EXPECT_EQ(ebbinghaus(110), "Ebbinghaus Curve, 111st");
  EXPECT_EQ(ebbinghaus(111), "Ebbinghaus Curve, 112nd");
  EXPECT_EQ(ebbinghaus(112), "Ebbinghaus Curve, 113rd");
  EXPECT_EQ(describe("FREQ=DAILY;X-NV-EBBINGHAUS=4", SVRecurrenceFromDueDate, false),
            "Ebbinghaus Curve");
  // The four-argument form ignores its show-count flag.
  EXPECT_EQ(Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(
                rule("FREQ=DAILY;X-NV-EBBINGHAUS=4"), SVRecurrenceFromDueDate, true, kTuesday),
            "Ebbinghaus Curve");
  // Not recognised in the default mode: described by its frequency.
  EXPECT_EQ(describe("FREQ=DAILY;INTERVAL=2;X-NV-EBBINGHAUS=4", SVRecurrenceFromDefault, true),
            "Every 2 days");
}

TEST_F(RepeatDescriptionTest, PickedDatesAndShortForms) {
  EXPECT_EQ(describe("FREQ=DAILY;X-NV-DATES=", SVRecurrenceFromDueDate), "");
  EXPECT_EQ(describe("FREQ=DAILY;X-NV-DATES=20240101,20240202", SVRecurrenceFromDueDate),
            "2 selected");
  EXPECT_EQ(describe("FREQ=DAILY;X-NV-DATES=20240101", SVRecurrenceFromDefault), "Every day");
  const auto monthly = rule("FREQ=MONTHLY;BYMONTHDAY=15");
  EXPECT_EQ(Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(monthly, {}, kTuesday, false),
            "Every month");
  EXPECT_EQ(Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(monthly, {}, kTuesday),
            "Monthly (the 15th day)");
  const auto ebbinghaus = rule("FREQ=DAILY;X-NV-EBBINGHAUS=2");
  EXPECT_EQ(Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(
                ebbinghaus, SVRecurrenceFromDueDate, kTuesday, true),
            "Ebbinghaus Curve");
}

TEST_F(RepeatDescriptionTest, IntervalAndAfterCompletion) {
  EXPECT_EQ(Repeat::intervalDescriptionWithRRule(rule("FREQ=DAILY")), "1 day");
  EXPECT_EQ(Repeat::intervalDescriptionWithRRule(
                std::make_shared<const SVRecurrenceRule>(withInterval("FREQ=DAILY", 0))),
            "1 day");
  EXPECT_EQ(Repeat::intervalDescriptionWithRRule(rule("FREQ=DAILY;INTERVAL=3")), "3 days");
  EXPECT_EQ(Repeat::intervalDescriptionWithRRule(rule("FREQ=WEEKLY")), "1 week");
  EXPECT_EQ(Repeat::intervalDescriptionWithRRule(rule("FREQ=WEEKLY;INTERVAL=2")), "2 weeks");
  EXPECT_EQ(Repeat::intervalDescriptionWithRRule(rule("FREQ=MONTHLY")), "1 month");
  EXPECT_EQ(Repeat::intervalDescriptionWithRRule(rule("FREQ=MONTHLY;INTERVAL=6")), "6 months");
  EXPECT_EQ(Repeat::intervalDescriptionWithRRule(rule("FREQ=YEARLY")), "1 year");
  EXPECT_EQ(Repeat::intervalDescriptionWithRRule(
                std::make_shared<const SVRecurrenceRule>(withInterval("FREQ=YEARLY", -3))),
            "-3 year");
  EXPECT_EQ(Repeat::intervalDescriptionWithRRule(rule("FREQ=YEARLY;INTERVAL=2")), "2 years");
  EXPECT_EQ(Repeat::intervalDescriptionWithRRule(rule("FREQ=HOURLY")), "");
  EXPECT_EQ(Repeat::intervalDescriptionWithRRule(nullptr), "");

  EXPECT_EQ(Repeat::repeatDescriptionWithRRuleByCompletedTime(rule("FREQ=DAILY;INTERVAL=3"), true),
            "3 days after completion");
  EXPECT_EQ(Repeat::repeatDescriptionWithRRuleByCompletedTime(rule("FREQ=WEEKLY"), false),
            "The next occurrence will appear 1 week after completion of current occurrence.");
  EXPECT_EQ(Repeat::repeatDescriptionWithRRuleByCompletedTime(rule("FREQ=HOURLY"), true),
            " after completion");
  EXPECT_EQ(Repeat::repeatDescriptionWithRRuleByCompletedTime(nullptr, true), "None");
}

#if __has_include("norvik/calendar/lunar_display.h")
TEST_F(RepeatDescriptionTest, LunarMonthlyAndYearly) {
  EXPECT_EQ(describe("RSCALE=CHINESE;FREQ=MONTHLY;BYMONTHDAY=15"), "Monthly (十五)");
  EXPECT_EQ(describe("RSCALE=CHINESE;FREQ=MONTHLY;BYMONTHDAY=-1"), "Monthly (最后一天)");
  EXPECT_EQ(describe("RSCALE=CHINESE;FREQ=MONTHLY;INTERVAL=2;BYMONTHDAY=3"),
            "Every 2 months on 初三");
  // 2024-03-05 is lunar 1/25.
  EXPECT_EQ(describe("RSCALE=CHINESE;FREQ=MONTHLY"), "Monthly (廿五)");
  EXPECT_EQ(describe("RSCALE=CHINESE;FREQ=YEARLY;BYMONTHDAY=1;BYMONTH=1"), "Yearly on 正月初一");
  EXPECT_EQ(describe("RSCALE=CHINESE;FREQ=YEARLY;BYMONTHDAY=-1;BYMONTH=12"),
            "Yearly on 腊月the last day");
  EXPECT_EQ(describe("RSCALE=CHINESE;FREQ=YEARLY"), "Yearly on 正月廿五");
  EXPECT_EQ(describe("RSCALE=CHINESE;FREQ=MONTHLY;BYMONTHDAY=15", {}, false, kTuesday, false),
            "Every month");
}
#endif

// The same rules in German and Simplified Chinese: keys, weekday names and dates all follow the
// interface language.
TEST_F(RepeatDescriptionTest, FollowsTheInterfaceLanguage) {
  platform::modifyEnvironment([](platform::Environment& env) {
    env.preferredLanguages = {"de-DE"};
    env.localeIdentifier = "de_DE";
  });
  EXPECT_EQ(describe("FREQ=WEEKLY;INTERVAL=2;BYDAY=WE,MO"), "Alle 2 Wochen am Mo, Mi");
  EXPECT_EQ(describe("FREQ=WEEKLY"), "Wöchentlich (Dienstag)");
  EXPECT_EQ(describe("FREQ=YEARLY;BYMONTHDAY=5;BYMONTH=3"), "Jährlich, 5. März");
  EXPECT_EQ(Repeat::repeatDescriptionWithRRuleByCompletedTime(rule("FREQ=DAILY;INTERVAL=3"), true),
            "3 Tage nach Erledigung");
  platform::modifyEnvironment([](platform::Environment& env) {
    env.preferredLanguages = {"zh-Hans-CN"};
    env.localeIdentifier = "zh_CN";
  });
  EXPECT_EQ(describe("FREQ=WEEKLY;BYDAY=MO,FR"), "每周的周一, 周五");
  EXPECT_EQ(describe("FREQ=MONTHLY;BYMONTHDAY=15"), "每月（15日）");
  EXPECT_EQ(describe("FREQ=YEARLY;BYMONTHDAY=5;BYMONTH=3"), "每年3月5日");
}

}  // namespace
}  // namespace norvik

namespace norvik {
namespace {

// Descriptions from several threads share the lookup and formatter caches.
TEST(RepeatDescriptionConcurrency, ThreadsShareTheCaches) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"FREQ=WEEKLY;INTERVAL=2;BYDAY=WE,MO", "Every 2 weeks on Mon, Wed"},
      {"FREQ=MONTHLY;BYMONTHDAY=15", "Monthly (the 15th day)"},
      {"FREQ=DAILY;INTERVAL=3", "Every 3 days"},
  };
  std::vector<std::shared_ptr<const SVRecurrenceRule>> rules;
  for (const auto& entry : cases) rules.push_back(rule(entry.first));
  std::atomic<int> mismatches{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 200; ++i) {
        const std::size_t k = static_cast<std::size_t>(i) % rules.size();
        if (Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(rules[k], {}, kTuesday) !=
            cases[k].second) {
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
