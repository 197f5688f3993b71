#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "norvik/calendar/lunar_display.h"
#include "norvik/calendar/solar_terms.h"
#include "norvik/environment/user_language.h"
#include "norvik/platform/environment.h"
#include "norvik/platform/logger.h"
#include "norvik/recurrence/repeat_description.h"
#include "support/test_support.h"

namespace norvik {
namespace {

using platform::Date;
using Type = NVCalendarDateType;
using Locale = NVCalendarTextLocale;

// 2024-03-05 12:00 UTC.
constexpr Date kDate(1709640000.0);
// 2024-05-01 12:00 UTC: 23 Nisan 5784, in a Hebrew leap year but not in its leap month.
constexpr Date kNisan(1714564800.0);
// 2024-04-04 12:00 UTC, the day of the solar term Qingming.
constexpr Date kQingming(1712232000.0);

std::shared_ptr<const SVRecurrenceRule> rule(std::string_view text) {
  SVRecurrenceError error;
  auto parsed = SVRecurrenceRule::ruleWithIcalString(text, &error);
  EXPECT_TRUE(parsed) << text << ": " << error.description;
  return parsed;
}

std::string describe(std::string_view text, Date date = kDate) {
  return Repeat::repeatDescriptionWithLunarRRule(rule(text), date);
}

// What the calendar module writes for a date: entries 1 and 2 are the month and day texts.
std::vector<std::string> texts(const NVCalendarDateTypePtr& type, int year, int month, int day,
                               bool leap, const NVCalendarTextLocalePtr& locale) {
  return KMAOtherCalendar::shared().formatCalendarType(type->rawValue(), year, month, day, leap,
                                                       locale->rawValue());
}

// Records of the library's logger while the test runs.
class LogCapture {
 public:
  LogCapture() {
    previous_ = SVLoggerObjcWrapper::setSink([this](const SVLogRecord& record) {
      std::lock_guard lock(mutex_);
      records_.push_back(record);
    });
  }
  ~LogCapture() { SVLoggerObjcWrapper::setSink(previous_); }
  std::vector<SVLogRecord> records() const {
    std::lock_guard lock(mutex_);
    return records_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<SVLogRecord> records_;
  SVLoggerObjcWrapper::Sink previous_;
};

// The shipped tables in US English, UTC, and a container of its own, so that a chosen interface
// language does not outlive the test.
class AlternativeCalendarTest : public ::testing::Test {
 protected:
  void SetUp() override {
    BundleEx::installOnMainBundle();
    platform::Environment env = testing::baseEnvironment();
    env.appGroupContainerDirectory = dir_.file("group");
    std::filesystem::create_directories(env.appGroupContainerDirectory);
    scoped_ = std::make_unique<platform::ScopedEnvironment>(env);
    NVUserLanguage::updateUserLanguageAndNotify();
    // The first conversion wires the calendar module; direct calls to it below need that.
    Repeat::dayInCalendarType(kDate, std::nullopt, Type::LUNAR());
  }
  void TearDown() override {
    scoped_.reset();
    NVUserLanguage::updateUserLanguageAndNotify();
  }
  static void setSystemLanguage(std::string language, std::string locale) {
    platform::modifyEnvironment([&](platform::Environment& env) {
      env.preferredLanguages = {std::move(language)};
      env.localeIdentifier = std::move(locale);
    });
  }

  testing::TempDir dir_;
  std::unique_ptr<platform::ScopedEnvironment> scoped_;
};

// ---- Text locale -------------------------------------------------------------------------------

TEST_F(AlternativeCalendarTest, TextLocaleFollowsTheLanguagesInOrder) {
  const auto hebcalCopy = Type::initWithRawValue("hebcal");
  auto locale = [](const NVCalendarDateTypePtr& type) {
    return Repeat::getCalendarTextLocal(type).get();
  };
  // English: the Hijri, Hebrew and Persian calendars write English like every other one.
  for (const auto& type : Type::allCases()) EXPECT_EQ(locale(type), Locale::EN().get());

  // Neither Chinese, Korean, Arabic, Hebrew nor English: Hebrew-calendar and Hijri texts in
  // Arabic, Persian ones in Persian, the other Hijri kinds and the rest in English.
  setSystemLanguage("de-DE", "de_DE");
  EXPECT_EQ(locale(Type::HEBCAL()), Locale::AR().get());
  EXPECT_EQ(locale(Type::HIJRI()), Locale::AR().get());
  EXPECT_EQ(locale(Type::PERSIAN()), Locale::FA().get());
  EXPECT_EQ(locale(Type::HIJRI_SAUDI()), Locale::EN().get());
  EXPECT_EQ(locale(Type::HIJRI_KUWAITI()), Locale::EN().get());
  EXPECT_EQ(locale(Type::LUNAR()), Locale::EN().get());
  // Only the singletons are recognised: an equal copy is an unknown type.
  EXPECT_EQ(locale(hebcalCopy), Locale::EN().get());
  EXPECT_EQ(locale(nullptr), Locale::EN().get());

  // The interface languages that decide whatever the calendar.
  const std::vector<std::pair<std::string, const Locale*>> languages = {
      {"zh-Hans-CN", Locale::ZHCN().get()}, {"zh-Hant-TW", Locale::ZHHK().get()},
      {"ko-KR", Locale::KO().get()},        {"ar-SA", Locale::AR().get()},
      {"he-IL", Locale::IW().get()},        {"iw", Locale::IW().get()}};
  for (const auto& [language, expected] : languages) {
    setSystemLanguage(language, "en_US");
    for (const auto& type : {Type::LUNAR(), Type::HEBCAL(), Type::PERSIAN(), hebcalCopy}) {
      EXPECT_EQ(locale(type), expected) << language << " " << type->rawValue();
    }
  }

  // The interface language comes before the system's Hebrew: Arabic chosen in the application on
  // a Hebrew system writes Arabic; English chosen there still gets Hebrew texts.
  setSystemLanguage("he-IL", "he_IL");
  ASSERT_TRUE(NVUserLanguage::setUserLanguageType(25));
  EXPECT_EQ(locale(Type::HEBCAL()), Locale::AR().get());
  ASSERT_TRUE(NVUserLanguage::setUserLanguageType(3));
  EXPECT_EQ(locale(Type::HEBCAL()), Locale::IW().get());
  EXPECT_EQ(locale(Type::PERSIAN()), Locale::IW().get());
  ASSERT_TRUE(NVUserLanguage::setUserLanguageType(1));
  EXPECT_EQ(locale(Type::HEBCAL()), Locale::ZHCN().get());
  NVUserLanguage::setUserLanguageType(0);
}

// ---- Conversion --------------------------------------------------------------------------------

TEST_F(AlternativeCalendarTest, ConversionReadsTheDayInTheGivenCalendar) {
  const auto direct = [](const NVCalendarDateTypePtr& type, int y, int m, int d) {
    return KMAOtherCalendar::shared().gregorianToCalendarType(type->rawValue(), y, m, d);
  };
  for (const auto& type : Type::allCases()) {
    if (type == Type::NONE()) continue;
    const auto expected = direct(type, 2024, 3, 5);
    ASSERT_TRUE(expected) << type->rawValue();
    EXPECT_EQ(Repeat::dayInCalendarType(kDate, std::nullopt, type), *expected) << type->rawValue();
    EXPECT_NE(expected->day, 0);
  }
  // 2024-03-05 23:30 UTC is already the 6th in Shanghai.
  platform::Calendar shanghai(platform::CalendarIdentifier::gregorian,
                              *platform::TimeZone::withIdentifier("Asia/Shanghai"),
                              platform::Locale("en_US"));
  const Date lateEvening(1709681400.0);
  EXPECT_EQ(Repeat::dayInCalendarType(lateEvening, shanghai, Type::HEBCAL()),
            *direct(Type::HEBCAL(), 2024, 3, 6));
  EXPECT_EQ(Repeat::dayInCalendarType(lateEvening, std::nullopt, Type::HEBCAL()),
            *direct(Type::HEBCAL(), 2024, 3, 5));
  // The conversion itself goes by identifier: an equal copy converts like the singleton.
  EXPECT_EQ(Repeat::dayInCalendarType(kDate, std::nullopt, Type::initWithRawValue("hebcal")),
            *direct(Type::HEBCAL(), 2024, 3, 5));

  // The module has been wired with the default services and a logger.
  EXPECT_TRUE(KMACalendarWrapperUtils::shared().dateConvert());
  EXPECT_TRUE(KMADarwinUtils::shared().convert());
  EXPECT_FALSE(KMALog::shared().logArray().empty());
}

TEST_F(AlternativeCalendarTest, ConversionFallsBackToZeros) {
  LogCapture capture;
  const CalendarDate zeros;
  EXPECT_EQ(Repeat::dayInCalendarType(kDate, std::nullopt, Type::NONE()), zeros);
  // No day can be read from a non-finite date.
  EXPECT_EQ(Repeat::dayInCalendarType(Date(std::nan("")), std::nullopt, Type::LUNAR()), zeros);
  EXPECT_TRUE(capture.records().empty());

  // A type the module does not know fails, and the failure is logged with its call site.
  const auto gregorian = Type::initWithRawValue("gregorian");
  KMAError expectedError;
  ASSERT_FALSE(
      KMAOtherCalendar::shared().gregorianToCalendarType("gregorian", 2024, 3, 5, &expectedError));
  EXPECT_EQ(Repeat::dayInCalendarType(kDate, std::nullopt, gregorian), zeros);
  EXPECT_EQ(Repeat::dayInCalendarType(kDate, std::nullopt, nullptr), zeros);
  const auto records = capture.records();
  ASSERT_EQ(records.size(), 2u);
  EXPECT_EQ(records[0].level, SVLogLevel::error);
  EXPECT_EQ(records[0].message, "error gregorianToCalendar type:-1 year:2024 month:3 day:5 error:" +
                                    expectedError.description);
  EXPECT_EQ(records[0].function, "dayInCalendarType");
  EXPECT_EQ(std::filesystem::path(records[0].filePath).filename(),
            "alternative_calendar_description.cpp");
  EXPECT_GT(records[0].line, 0);
  // Every text of a failed conversion is empty.
  EXPECT_EQ(Repeat::dayStringInCalendarType(kDate, std::nullopt, gregorian, true, true, true),
            CalendarDayText{});

  // The calendar module's own reports reach the library's logger.
  KMALog::shared().log(KMALogLevel::warning, "module report");
  const auto forwarded = capture.records();
  ASSERT_EQ(forwarded.size(), 4u);  // the failed day text above logged its conversion too
  EXPECT_EQ(forwarded[3].message, "module report");
  EXPECT_EQ(forwarded[3].level, SVLogLevel::warning);
}

// ---- Day texts ---------------------------------------------------------------------------------

// How each calendar joins its month and day texts: "%@/%@" (day, month), "%@ %@" either way, or
// "%@%@" (month, day).
struct Join {
  NVCalendarDateTypePtr type;
  int year, month, day;
  NVCalendarTextLocalePtr locale;  // the locale the interface language selects for the type
  const char* shape;               // "d/m", "m d", "d m" or "md"
};

void expectJoins(const std::vector<Join>& joins) {
  for (const Join& j : joins) {
    const auto t = texts(j.type, j.year, j.month, j.day, false, j.locale);
    ASSERT_GE(t.size(), 3u) << j.type->rawValue();
    const std::string& m = t[1];
    const std::string& d = t[2];
    EXPECT_FALSE(m.empty() || d.empty()) << j.type->rawValue();
    const std::string shape = j.shape;
    const std::string expected = shape == "d/m"   ? d + "/" + m
                                 : shape == "m d" ? m + " " + d
                                 : shape == "d m" ? d + " " + m
                                                  : m + d;
    EXPECT_EQ(Repeat::dayStringInCalendarTypeYear(j.year, j.month, j.day, false, std::nullopt,
                                                  j.type, true, false)
                  .text,
              expected)
        << j.type->rawValue() << " " << j.locale->rawValue();
  }
}

TEST_F(AlternativeCalendarTest, MonthAndDayJoinInEachCalendarsOrder) {
  expectJoins({
      {Type::VIETNAM(), 2024, 8, 5, Locale::EN(), "d/m"},
      {Type::HIJRI(), 1445, 9, 12, Locale::EN(), "m d"},
      {Type::HIJRI_SAUDI(), 1445, 9, 12, Locale::EN(), "m d"},
      {Type::HIJRI_KUWAITI(), 1445, 9, 12, Locale::EN(), "m d"},
      {Type::PERSIAN(), 1403, 1, 12, Locale::EN(), "m d"},
      {Type::HEBCAL(), 5784, 7, 14, Locale::EN(), "d m"},
      {Type::SHAKA(), 1946, 7, 14, Locale::EN(), "d m"},
      {Type::LUNAR(), 2024, 8, 15, Locale::EN(), "md"},
      {Type::KOREAN(), 2024, 8, 15, Locale::EN(), "md"},
      // An equal copy formats by its identifier but joins like an unknown type.
      {Type::initWithRawValue("hebcal"), 5784, 7, 14, Locale::EN(), "md"},
  });
  // The last day replaces the day text only when month and day are joined.
  const auto t = texts(Type::HEBCAL(), 5784, 7, -1, false, Locale::EN());
  EXPECT_EQ(Repeat::dayStringInCalendarTypeYear(5784, 7, -1, false, std::nullopt, Type::HEBCAL(),
                                                true, true),
            (CalendarDayText{false, "the last day " + t.at(1)}));
  EXPECT_EQ(Repeat::dayStringInCalendarTypeYear(5784, 7, -1, false, std::nullopt, Type::HEBCAL(),
                                                false, true),
            (CalendarDayText{false, t.at(2)}));

  // Outside English the civil Hijri and Persian calendars put the day first, in Arabic and
  // Persian; the other Hijri kinds stay English, month first.
  setSystemLanguage("de-DE", "de_DE");
  expectJoins({
      {Type::HIJRI(), 1445, 9, 12, Locale::AR(), "d m"},
      {Type::PERSIAN(), 1403, 1, 12, Locale::FA(), "d m"},
      {Type::HIJRI_SAUDI(), 1445, 9, 12, Locale::EN(), "m d"},
      {Type::HEBCAL(), 5784, 7, 14, Locale::AR(), "d m"},
  });
  EXPECT_EQ(Repeat::dayStringInCalendarTypeYear(5784, 7, -1, false, std::nullopt, Type::HEBCAL(),
                                                true, true)
                .text,
            "der letzte Tag " + texts(Type::HEBCAL(), 5784, 7, -1, false, Locale::AR()).at(1));
}

TEST_F(AlternativeCalendarTest, DayTextWithoutTheMonth) {
  const auto t1 = texts(Type::HEBCAL(), 5784, 7, 1, false, Locale::EN());
  const auto t9 = texts(Type::HEBCAL(), 5784, 7, 9, false, Locale::EN());
  auto day = [](int d, bool monthOnFirst) {
    return Repeat::dayStringInCalendarTypeYear(5784, 7, d, false, std::nullopt, Type::HEBCAL(),
                                               false, monthOnFirst);
  };
  EXPECT_EQ(day(1, true), (CalendarDayText{true, t1.at(1)}));
  EXPECT_EQ(day(1, false), (CalendarDayText{true, t1.at(2)}));
  EXPECT_EQ(day(9, true), (CalendarDayText{false, t9.at(2)}));
  // The leap flag reaches the module (Adar I is month 5 with the flag).
  EXPECT_EQ(Repeat::dayStringInCalendarTypeYear(5784, 5, 1, true, std::nullopt, Type::HEBCAL(),
                                                false, true)
                .text,
            texts(Type::HEBCAL(), 5784, 5, 1, true, Locale::EN()).at(1));
  // Nothing for NONE or an all-zero date; a zero year alone is still formatted.
  EXPECT_EQ(Repeat::dayStringInCalendarTypeYear(2024, 3, 5, false, std::nullopt, Type::NONE(), true,
                                                true),
            CalendarDayText{});
  EXPECT_EQ(
      Repeat::dayStringInCalendarTypeYear(0, 0, 0, false, std::nullopt, Type::LUNAR(), true, true),
      CalendarDayText{});
  EXPECT_EQ(
      Repeat::dayStringInCalendarTypeYear(0, 0, 1, false, std::nullopt, Type::LUNAR(), false, false)
          .isFirstDay,
      true);
}

TEST_F(AlternativeCalendarTest, DayTextOfADate) {
  for (const auto& type : Type::allCases()) {
    if (type == Type::NONE()) continue;
    const CalendarDate d = Repeat::dayInCalendarType(kDate, std::nullopt, type);
    EXPECT_EQ(Repeat::dayStringInCalendarType(kDate, std::nullopt, type, true, true, false),
              Repeat::dayStringInCalendarTypeYear(d.year, d.month, d.day, d.leap, std::nullopt,
                                                  type, true, false))
        << type->rawValue();
  }
  EXPECT_EQ(Repeat::dayStringInCalendarType(kDate, std::nullopt, Type::NONE(), true, true, true),
            CalendarDayText{});

  // Solar terms replace the lunar day only for Chinese readers.
  const auto qingming = NVSolarTermsManager::sharedManager().solarTermByDate(kQingming);
  ASSERT_EQ(qingming, "清明");
  const CalendarDate lunar = Repeat::dayInCalendarType(kQingming, std::nullopt, Type::LUNAR());
  const std::string englishDay =
      texts(Type::LUNAR(), lunar.year, lunar.month, lunar.day, lunar.leap, Locale::EN()).at(2);
  EXPECT_EQ(
      Repeat::dayStringInCalendarType(kQingming, std::nullopt, Type::LUNAR(), true, false, false)
          .text,
      englishDay);
  for (const auto& [language, textLocale] :
       {std::pair{"zh-Hans-CN", Locale::ZHCN()}, {"zh-Hant-HK", Locale::ZHHK()}}) {
    setSystemLanguage(language, "zh_CN");
    EXPECT_EQ(
        Repeat::dayStringInCalendarType(kQingming, std::nullopt, Type::LUNAR(), true, false, false),
        (CalendarDayText{false, "清明"}));
    EXPECT_EQ(
        Repeat::dayStringInCalendarType(kQingming, std::nullopt, Type::LUNAR(), false, false, false)
            .text,
        texts(Type::LUNAR(), lunar.year, lunar.month, lunar.day, lunar.leap, textLocale).at(2));
    // Only the Chinese calendar shows solar terms.
    const CalendarDate korean = Repeat::dayInCalendarType(kQingming, std::nullopt, Type::KOREAN());
    EXPECT_EQ(
        Repeat::dayStringInCalendarType(kQingming, std::nullopt, Type::KOREAN(), true, false, false)
            .text,
        texts(Type::KOREAN(), korean.year, korean.month, korean.day, korean.leap, textLocale)
            .at(2));
  }
}

// ---- Descriptions ------------------------------------------------------------------------------

struct CalendarRule {
  const char* scale;  // RSCALE and extras
  NVCalendarDateTypePtr type;
  const char* monthly;
  const char* yearly;
};

std::vector<CalendarRule> calendarRules() {
  return {
      {"RSCALE=DANGI", Type::KOREAN(), "Korean Lunar Monthly", "Korean Lunar Yearly"},
      {"RSCALE=HEBREW", Type::HEBCAL(), "Hebrew Monthly", "Hebrew Yearly"},
      {"RSCALE=ISLAMIC-CIVIL", Type::HIJRI(), "Hijri Monthly", "Hijri Yearly"},
      {"RSCALE=ISLAMIC-TBLA", Type::HIJRI_KUWAITI(), "Hijri Monthly", "Hijri Yearly"},
      {"RSCALE=ISLAMIC-UMALQURA", Type::HIJRI_SAUDI(), "Hijri Monthly", "Hijri Yearly"},
      {"RSCALE=PERSIAN", Type::PERSIAN(), "Persian Monthly", "Persian Yearly"},
      {"RSCALE=INDIAN", Type::SHAKA(), "Indian Monthly", "Indian Yearly"},
      {"RSCALE=CHINESE;X-NV-CALENDAR=VIETNAM", Type::VIETNAM(), "Vietnamese Lunar Monthly",
       "Vietnamese Lunar Yearly"},
  };
}

std::string ruleText(const CalendarRule& c, std::string_view rest) {
  return std::string(c.scale) + ";" + std::string(rest);
}

TEST_F(AlternativeCalendarTest, DescriptionsOfEveryCalendar) {
  for (const auto& c : calendarRules()) {
    SCOPED_TRACE(c.scale);
    const std::string title = c.monthly;
    // Only singular monthly and yearly rules are described.
    EXPECT_EQ(describe(ruleText(c, "FREQ=MONTHLY;INTERVAL=2;BYMONTHDAY=3")), "");
    EXPECT_EQ(describe(ruleText(c, "FREQ=YEARLY;INTERVAL=2")), "");
    EXPECT_EQ(describe(ruleText(c, "FREQ=WEEKLY")), "None");
    EXPECT_EQ(describe(ruleText(c, "FREQ=MONTHLY;BYMONTHDAY=-1")), title + " (the last day)");
    EXPECT_EQ(describe(ruleText(c, "FREQ=MONTHLY;INTERVAL=1;BYMONTHDAY=-1")),
              title + " (the last day)");

    // A named day: its name in any month (the first month of 2025 of the calendar).
    const auto day9 = texts(c.type, 2025, 1, 9, false, Locale::EN()).at(2);
    EXPECT_EQ(describe(ruleText(c, "FREQ=MONTHLY;BYMONTHDAY=9")), title + " (" + day9 + ")");
    // No named day: the day of the date, without its month.
    const CalendarDate now = Repeat::dayInCalendarType(kDate, std::nullopt, c.type);
    const auto today = texts(c.type, now.year, now.month, now.day, now.leap, Locale::EN());
    EXPECT_EQ(describe(ruleText(c, "FREQ=MONTHLY")), title + " (" + today.at(2) + ")");

    // Yearly: the named month and day in the date's year, or the date's month and day; joined as
    // the day texts join them.
    EXPECT_EQ(describe(ruleText(c, "FREQ=YEARLY;BYMONTH=3;BYMONTHDAY=9")),
              std::string(c.yearly) + " (" +
                  Repeat::dayStringInCalendarTypeYear(now.year, 3, 9, now.leap, std::nullopt,
                                                      c.type, true, true)
                      .text +
                  ")");
    EXPECT_EQ(describe(ruleText(c, "FREQ=YEARLY")),
              std::string(c.yearly) + " (" +
                  Repeat::dayStringInCalendarTypeYear(now.year, now.month, now.day, now.leap,
                                                      std::nullopt, c.type, true, true)
                      .text +
                  ")");
  }
  // A Hebrew yearly rule reads day then month: "14 Nisan".
  const CalendarDate hebrew = Repeat::dayInCalendarType(kNisan, std::nullopt, Type::HEBCAL());
  ASSERT_FALSE(hebrew.leap);
  const auto nisan = texts(Type::HEBCAL(), hebrew.year, 7, 14, false, Locale::EN());
  EXPECT_EQ(describe("RSCALE=HEBREW;FREQ=YEARLY;BYMONTH=7;BYMONTHDAY=14", kNisan),
            "Hebrew Yearly (" + nisan.at(2) + " " + nisan.at(1) + ")");
  // A rule on the last day of a named month.
  EXPECT_EQ(describe("RSCALE=HEBREW;FREQ=YEARLY;BYMONTH=7;BYMONTHDAY=-1", kNisan),
            "Hebrew Yearly (the last day " + nisan.at(1) + ")");
  // The named month takes the leap flag of the date's own month: within Adar I (5L) it asks for
  // a "7L" that no year has, which still reads Nisan.
  const CalendarDate adarI = Repeat::dayInCalendarType(kDate, std::nullopt, Type::HEBCAL());
  ASSERT_EQ(adarI.month, 5);
  ASSERT_TRUE(adarI.leap);
  const auto leapNisan = texts(Type::HEBCAL(), adarI.year, 7, 14, true, Locale::EN());
  EXPECT_EQ(describe("RSCALE=HEBREW;FREQ=YEARLY;BYMONTH=7;BYMONTHDAY=14", kDate),
            "Hebrew Yearly (" + leapNisan.at(2) + " " + leapNisan.at(1) + ")");
  EXPECT_EQ(leapNisan.at(1), nisan.at(1));
  // A rule on no calendar at all gets the Chinese titles and an empty day.
  EXPECT_EQ(describe("FREQ=MONTHLY;BYMONTHDAY=9"), "Lunar Monthly ()");
  EXPECT_EQ(Repeat::repeatDescriptionWithLunarRRule(nullptr, kDate), "None");
}

TEST_F(AlternativeCalendarTest, ChineseLunarDescriptions) {
  EXPECT_EQ(describe("RSCALE=CHINESE;FREQ=MONTHLY;BYMONTHDAY=5"), "Lunar Monthly (初五)");
  EXPECT_EQ(describe("RSCALE=CHINESE;FREQ=MONTHLY;BYMONTHDAY=-1"), "Lunar Monthly (the last day)");
  EXPECT_EQ(describe("RSCALE=CHINESE;FREQ=MONTHLY;INTERVAL=2;BYMONTHDAY=5"), "");
  EXPECT_EQ(describe("RSCALE=CHINESE;FREQ=MONTHLY"),
            "Lunar Monthly (" + displayDayInLunarCalendar(kDate) + ")");
  EXPECT_EQ(describe("RSCALE=CHINESE;FREQ=YEARLY;BYMONTH=8;BYMONTHDAY=15"),
            "Lunar Yearly (八月十五)");
  EXPECT_EQ(describe("RSCALE=CHINESE;FREQ=YEARLY;BYMONTH=12;BYMONTHDAY=-1"),
            "Lunar Yearly (腊月the last day)");
  EXPECT_EQ(describe("RSCALE=CHINESE;FREQ=YEARLY"),
            "Lunar Yearly (" + displayMonthDayInLunarCalendar(kDate) + ")");
  // The date is read in the given calendar: late on the 5th in UTC is the 6th in Shanghai.
  platform::Calendar shanghai(platform::CalendarIdentifier::gregorian,
                              *platform::TimeZone::withIdentifier("Asia/Shanghai"),
                              platform::Locale("en_US"));
  const Date lateEvening(1709681400.0);
  EXPECT_EQ(Repeat::repeatDescriptionWithLunarRRule(rule("RSCALE=CHINESE;FREQ=MONTHLY"),
                                                    lateEvening, shanghai),
            "Lunar Monthly (" + displayDayInLunarCalendar(lateEvening, shanghai) + ")");
}

// Titles, the last day and the parentheses are looked up in the interface language; the
// parentheses come from the special table.
TEST_F(AlternativeCalendarTest, DescriptionsFollowTheInterfaceLanguage) {
  setSystemLanguage("zh-Hans-CN", "zh_CN");
  EXPECT_EQ(describe("RSCALE=CHINESE;FREQ=MONTHLY;BYMONTHDAY=5"), "农历每月（初五）");
  EXPECT_EQ(describe("RSCALE=CHINESE;FREQ=MONTHLY;BYMONTHDAY=-1"), "农历每月（最后一天）");
  EXPECT_EQ(describe("RSCALE=CHINESE;FREQ=YEARLY;BYMONTH=12;BYMONTHDAY=-1"),
            "农历每年（腊月最后一天）");
  // A Chinese-calendar rule does not show the solar term of its date; other calendars pass the
  // solar-term flag, but only the Chinese calendar has solar terms.
  EXPECT_EQ(describe("RSCALE=CHINESE;FREQ=MONTHLY", kQingming),
            "农历每月（" + displayDayInLunarCalendar(kQingming) + "）");
  const CalendarDate hebrew = Repeat::dayInCalendarType(kNisan, std::nullopt, Type::HEBCAL());
  const auto nisan = texts(Type::HEBCAL(), hebrew.year, 7, 14, false, Locale::ZHCN());
  EXPECT_EQ(describe("RSCALE=HEBREW;FREQ=YEARLY;BYMONTH=7;BYMONTHDAY=14", kNisan),
            "每年（希伯来历）（" + nisan.at(2) + " " + nisan.at(1) + "）");

  setSystemLanguage("de-DE", "de_DE");
  EXPECT_EQ(describe("RSCALE=CHINESE;FREQ=MONTHLY;BYMONTHDAY=5"),
            "Monatlich (Mondkalender) (初五)");
  EXPECT_EQ(describe("RSCALE=HEBREW;FREQ=YEARLY;BYMONTH=7;BYMONTHDAY=-1", kNisan),
            "Jährlich (hebräisch) (der letzte Tag " +
                texts(Type::HEBCAL(), hebrew.year, 7, -1, false, Locale::AR()).at(1) + ")");
}

}  // namespace
}  // namespace norvik

namespace norvik {
namespace {

// Day texts from several threads while the language changes: each answer belongs to one of the two
// languages, never to a mix, and the first conversions wire the calendar module exactly once.
TEST(AlternativeCalendarConcurrency, DayTextsWhileTheLanguageChanges) {
  platform::ScopedEnvironment scoped(testing::baseEnvironment());
  const auto english =
      KMAOtherCalendar::shared().formatCalendarType("hebcal", 5784, 7, 14, false, "en");
  const auto arabic =
      KMAOtherCalendar::shared().formatCalendarType("hebcal", 5784, 7, 14, false, "ar");
  ASSERT_EQ(english.size(), 3u);
  ASSERT_EQ(arabic.size(), 3u);
  const std::string inEnglish = english[2] + " " + english[1];
  const std::string inArabic = arabic[2] + " " + arabic[1];
  std::atomic<bool> stop{false};
  std::atomic<int> wrong{0};
  std::atomic<int> started{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 3; ++t) {
    threads.emplace_back([&] {
      for (bool first = true; !stop.load(); first = false) {
        Repeat::dayInCalendarType(kDate, std::nullopt, Type::HEBCAL());
        const std::string text = Repeat::dayStringInCalendarTypeYear(
                                     5784, 7, 14, false, std::nullopt, Type::HEBCAL(), true, false)
                                     .text;
        if (text != inEnglish && text != inArabic) ++wrong;
        if (first) ++started;
      }
    });
  }
  // Every thread has converted once (and so raced for the wiring) before the language moves.
  while (started.load() < 3) std::this_thread::yield();
  for (int i = 0; i < 200; ++i) {
    platform::modifyEnvironment(
        [i](platform::Environment& env) { env.preferredLanguages = {i % 2 ? "de-DE" : "en-US"}; });
  }
  stop = true;
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(wrong.load(), 0);
  EXPECT_EQ(KMALog::shared().logArray().size(), 1u);
}

}  // namespace
}  // namespace norvik
