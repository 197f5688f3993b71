#include "norvik/platform/text_context.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "norvik/environment/user_language.h"
#include "norvik/platform/environment.h"
#include "norvik/recurrence/repeat_description.h"
#include "support/test_support.h"

namespace norvik {
namespace {

using platform::Date;
using platform::TextContext;

// 2024-03-05 12:00 UTC, a Tuesday.
constexpr Date kTuesday(1709640000.0);

SVRecurrenceRulePtr rule(std::string_view text) {
  return SVRecurrenceRule::ruleWithIcalString(text);
}

// Rules whose texts take every kind of part: plural variants, weekday names, composed keys,
// ICU's month and day, the relative weekday, and the period of an after-completion text.
const std::vector<SVRecurrenceRulePtr>& sampleRules() {
  static const std::vector<SVRecurrenceRulePtr> rules = {
      rule("FREQ=WEEKLY;INTERVAL=2;BYDAY=MO,FR"),
      rule("FREQ=DAILY;INTERVAL=21"),
      rule("FREQ=MONTHLY;BYDAY=2TU"),
      rule("FREQ=YEARLY;BYMONTH=3;BYMONTHDAY=5"),
      rule("FREQ=WEEKLY"),
      rule("FREQ=MONTHLY;INTERVAL=3;BYMONTHDAY=1,15,-1"),
  };
  return rules;
}

// Everything a context writes about the sample rules, in one text.
std::string describeAll(const TextContext& context) {
  std::string text;
  for (const auto& r : sampleRules()) {
    text += Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(context, r, std::nullopt, false,
                                                                 kTuesday, true);
    text += '|';
  }
  text += Repeat::repeatDescriptionWithRRuleByCompletedTime(context, sampleRules()[1], true);
  return text;
}

class TextContextTest : public ::testing::Test {
 protected:
  void SetUp() override {
    platform::Environment env = testing::baseEnvironment();
    scoped_ = std::make_unique<platform::ScopedEnvironment>(env);
  }
  void TearDown() override { NVUserLanguage::setProcessUserLanguageType(std::nullopt); }
  std::unique_ptr<platform::ScopedEnvironment> scoped_;
};

TEST_F(TextContextTest, ExplicitLanguageIgnoresTheProcessChoice) {
  const TextContext german = TextContext::withLanguage("de");
  EXPECT_EQ(german.language(), "de");
  EXPECT_EQ(german.locale().languageCode(), "de");
  const std::string before = describeAll(german);
  EXPECT_NE(before.find("Alle 2 Wochen am Mo"), std::string::npos) << before;

  NVUserLanguage::setProcessUserLanguageType(5);  // Japanese for the process
  EXPECT_EQ(TextContext::current().language(), "ja");
  EXPECT_EQ(describeAll(german), before);
  EXPECT_EQ(describeAll(TextContext::current()), describeAll(TextContext::withLanguage("ja")));
  // The forms without a context follow the process choice.
  EXPECT_EQ(
      Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(sampleRules()[0], std::nullopt, false,
                                                           kTuesday, true),
      Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(
          TextContext::withLanguage("ja"), sampleRules()[0], std::nullopt, false, kTuesday, true));
}

TEST_F(TextContextTest, LookupFallbacksAndPluralVariants) {
  const TextContext russian = TextContext::withLanguage("ru");
  EXPECT_EQ(russian.pluralCategory(21), "one");
  EXPECT_EQ(russian.pluralCategory(22), "few");
  EXPECT_EQ(russian.pluralCategory(1000005), "many");
  EXPECT_TRUE(russian.pluralVariant("Every %d days", 21).has_value());
  EXPECT_FALSE(russian.pluralVariant("no such key", 21).has_value());
  // A key no table holds gives the value, else the key.
  EXPECT_EQ(russian.localizedString("no such key"), "no such key");
  EXPECT_EQ(russian.localizedString("no such key", "fallback"), "fallback");
  // A language without a folder follows the system's languages (English here).
  EXPECT_EQ(TextContext::withLanguage("xx").language(), "en");
  EXPECT_EQ(TextContext::withLanguage("../etc").language(), "en");
  // A bundle that does not exist has no tables: the texts are the keys.
  TextContext::Settings settings;
  settings.language = "de";
  settings.mainBundlePath = "/nonexistent/bundle";
  const TextContext missing(settings);
  EXPECT_EQ(missing.localizedString("Weekly"), "Weekly");
  EXPECT_EQ(Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(
                missing, sampleRules()[1], std::nullopt, false, kTuesday, true),
            "Every 21 days");
  // Right-to-left text isolates the Latin names it embeds.
  EXPECT_TRUE(TextContext::withLanguage("ar").isRightToLeft());
  EXPECT_FALSE(russian.isRightToLeft());
}

TEST_F(TextContextTest, TimeZoneAndCalendarComeFromTheContext) {
  // 2024-03-05 23:30 UTC is already Wednesday in Tokyo.
  const Date lateTuesday(1709681400.0);
  TextContext::Settings settings;
  settings.language = "en";
  settings.timeZoneIdentifier = "Asia/Tokyo";
  const TextContext tokyo(settings);
  settings.timeZoneIdentifier = "UTC";
  const TextContext utc(settings);
  const auto weekly = rule("FREQ=WEEKLY");
  EXPECT_EQ(Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(tokyo, weekly, std::nullopt, false,
                                                                 lateTuesday, true),
            "Weekly (Wednesday)");
  EXPECT_EQ(Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(utc, weekly, std::nullopt, false,
                                                                 lateTuesday, true),
            "Weekly (Tuesday)");
  // The Gregorian day arithmetic of the descriptions agrees with ICU's calendar (ISO 8601 is the
  // Gregorian calendar with other week rules, and takes ICU's path): overflowing days, day 0,
  // the last day, a month out of range, the relative weekday, in zones on both sides of UTC.
  for (const char* zone : {"Pacific/Kiritimati", "America/Los_Angeles", "Asia/Kolkata"}) {
    settings.timeZoneIdentifier = zone;
    settings.calendar = platform::CalendarIdentifier::gregorian;
    const TextContext gregorian(settings);
    settings.calendar = platform::CalendarIdentifier::iso8601;
    const TextContext iso(settings);
    for (const char* text :
         {"FREQ=YEARLY;BYMONTH=2;BYMONTHDAY=30", "FREQ=YEARLY;BYMONTH=12;BYMONTHDAY=31",
          "FREQ=YEARLY;BYMONTH=3;BYMONTHDAY=0", "FREQ=YEARLY;BYMONTH=2;BYMONTHDAY=-1",
          "FREQ=YEARLY;BYMONTH=1;BYMONTHDAY=1", "FREQ=YEARLY", "FREQ=WEEKLY"}) {
      for (const Date date : {lateTuesday, Date(951825600.0) /* 2000-02-29 12:00 UTC */}) {
        EXPECT_EQ(Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(
                      gregorian, rule(text), std::nullopt, false, date, true),
                  Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(
                      iso, rule(text), std::nullopt, false, date, true))
            << text << " in " << zone;
      }
    }
  }
  settings.calendar.reset();
  settings.timeZoneIdentifier = "Not/AZone";
  EXPECT_EQ(TextContext(settings).timeZone().identifier(), "UTC");  // the environment's
}

// Eight threads, each describing in its own language, while another switches the process-wide
// language back and forth and describes with it: every text must equal the single-threaded text
// of its language, never a mixture.
class TextContextConcurrency : public TextContextTest {};

TEST_F(TextContextConcurrency, EightLanguagesBesideAProcessWideSwitch) {
  constexpr int kDescriptions = 10000;  // per thread; under a second with ThreadSanitizer
  const std::vector<std::string> languages = {"de", "ja", "ko", "es", "ar", "ru", "zh-Hans", "fr"};
  std::vector<TextContext> contexts;
  std::vector<std::vector<std::string>> expected;
  for (const auto& language : languages) {
    contexts.push_back(TextContext::withLanguage(language));
    std::vector<std::string> texts;
    for (const auto& r : sampleRules()) {
      texts.push_back(Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(
          contexts.back(), r, std::nullopt, false, kTuesday, true));
    }
    expected.push_back(std::move(texts));
  }
  // The switching thread alternates Korean (4) and Spanish (10).
  const std::string korean = expected[2][0];
  const std::string spanish = expected[3][0];
  ASSERT_NE(korean, spanish);

  std::atomic<bool> done{false};
  std::atomic<int> wrong{0};
  std::atomic<int> wrongProcessWide{0};
  std::thread switcher([&] {
    for (int i = 0; !done.load(); ++i) {
      NVUserLanguage::setProcessUserLanguageType(i % 2 == 0 ? 4 : 10);
      const std::string text = Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(
          sampleRules()[0], std::nullopt, false, kTuesday, true);
      if (text != korean && text != spanish) wrongProcessWide.fetch_add(1);
    }
  });
  std::vector<std::thread> workers;
  for (std::size_t t = 0; t < contexts.size(); ++t) {
    workers.emplace_back([&, t] {
      const std::size_t count = sampleRules().size();
      for (int i = 0; i < kDescriptions; ++i) {
        const std::size_t r = static_cast<std::size_t>(i) % count;
        if (Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(contexts[t], sampleRules()[r],
                                                                 std::nullopt, false, kTuesday,
                                                                 true) != expected[t][r]) {
          wrong.fetch_add(1);
        }
      }
    });
  }
  for (auto& worker : workers) worker.join();
  done = true;
  switcher.join();
  EXPECT_EQ(wrong.load(), 0);
  EXPECT_EQ(wrongProcessWide.load(), 0);
}

}  // namespace
}  // namespace norvik
