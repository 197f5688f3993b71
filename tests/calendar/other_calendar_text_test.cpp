#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "norvik/calendar/other_calendar.h"

namespace norvik {
namespace {

// Year, month and day texts of a date.
struct Texts {
  std::string year, month, day;
};

Texts texts(std::string_view type, int year, int month, int day, bool leap,
            std::string_view locale) {
  const std::vector<std::string> list =
      KMAOtherCalendar::shared().formatCalendarType(type, year, month, day, leap, locale);
  EXPECT_EQ(list.size(), 3u) << type << " " << locale;
  if (list.size() != 3) return {};
  return {list[0], list[1], list[2]};
}

std::string month(std::string_view type, int year, int m, bool leap, std::string_view locale) {
  return texts(type, year, m, 1, leap, locale).month;
}
std::string day(std::string_view type, int d, std::string_view locale) {
  return texts(type, 1445, 1, d, false, locale).day;
}

// Installs a host locale converter for the test's duration and puts the previous one back.
class ScopedConvert {
 public:
  explicit ScopedConvert(std::shared_ptr<const KMAConvert> convert)
      : previous_(KMADarwinUtils::shared().convert()) {
    KMADarwinUtils::shared().setConvert(std::move(convert));
  }
  ~ScopedConvert() { KMADarwinUtils::shared().setConvert(previous_); }

 private:
  std::shared_ptr<const KMAConvert> previous_;
};

class MappingConvert : public KMAConvert {
 public:
  MappingConvert(std::string from, std::string to) : from_(std::move(from)), to_(std::move(to)) {}
  std::string localeIdentifier(std::string_view code) const override {
    return code == from_ ? to_ : KMAConvert::localeIdentifier(code);
  }

 private:
  std::string from_, to_;
};

TEST(OtherCalendarText, LunisolarMonthsAndLeapMonthsPerLanguage) {
  for (std::string_view type : {"lunar", "korean-lunar", "vietnam"}) {
    SCOPED_TRACE(type);
    EXPECT_EQ(month(type, 2024, 1, false, "zh-rCN"), "正月");
    EXPECT_EQ(month(type, 2024, 11, false, "zh-rCN"), "十一月");
    EXPECT_EQ(month(type, 2024, 12, false, "zh-rCN"), "腊月");
    EXPECT_EQ(month(type, 2024, 4, true, "zh-rCN"), "闰四月");
    EXPECT_EQ(month(type, 2024, 12, false, "zh-rHK"), "十二月");
    EXPECT_EQ(month(type, 2024, 4, true, "zh-rHK"), "閏四月");
    EXPECT_EQ(month(type, 2024, 4, true, "ko"), "윤4월");
    EXPECT_EQ(month(type, 2024, 12, false, "en"), "Twelfth Month");
    EXPECT_EQ(month(type, 2024, 4, true, "en"), "Leap Fourth Month");
    // No lunisolar month names in ICU for these languages: the word for month and the number.
    EXPECT_EQ(month(type, 2024, 12, false, "ar"), "الشهر ١٢");
    EXPECT_EQ(month(type, 2024, 4, true, "ar"), "الشهر ٤ (كبيس)");
    EXPECT_EQ(month(type, 2024, 2, false, "fa"), "ماه ۲");
    EXPECT_EQ(month(type, 2024, 6, false, "iw"), "חודש 6");
  }
}

TEST(OtherCalendarText, LunisolarDaysAndYears) {
  for (std::string_view type : {"lunar", "korean-lunar", "vietnam"}) {
    SCOPED_TRACE(type);
    for (std::string_view zh : {"zh-rCN", "zh-rHK"}) {
      EXPECT_EQ(texts(type, 2024, 1, 1, false, zh).day, "初一");
      EXPECT_EQ(texts(type, 2024, 1, 15, false, zh).day, "十五");
      EXPECT_EQ(texts(type, 2024, 1, 21, false, zh).day, "廿一");
      EXPECT_EQ(texts(type, 2024, 1, 30, false, zh).day, "三十");
      EXPECT_EQ(texts(type, 2024, 1, 1, false, zh).year, "甲辰年");
    }
    EXPECT_EQ(texts(type, 2024, 1, 29, false, "ko").day, "29일");
    EXPECT_EQ(texts(type, 2024, 1, 15, false, "ar").day, "١٥");
    EXPECT_EQ(texts(type, 2024, 1, 15, false, "fa").day, "۱۵");
    EXPECT_EQ(texts(type, 2024, 1, 31, false, "zh-rCN").day, "");
    // The sexagenary cycle starts at 甲子 (1984) and wraps backwards (1983 癸亥).
    EXPECT_EQ(texts(type, 1984, 1, 1, false, "zh-rCN").year, "甲子年");
    EXPECT_EQ(texts(type, 1983, 1, 1, false, "zh-rHK").year, "癸亥年");
    EXPECT_EQ(texts(type, 2024, 1, 1, false, "ko").year, "갑진년");
    EXPECT_EQ(texts(type, 1983, 1, 1, false, "ko").year, "계해년");
    EXPECT_EQ(texts(type, 2024, 1, 1, false, "en").year, "2024");
    EXPECT_EQ(texts(type, 2024, 1, 1, false, "ar").year, "٢٠٢٤");
  }
}

TEST(OtherCalendarText, HebrewMonthsFollowTheAdarNumbering) {
  // 5784 is a leap year (13 months), 5783 and 5785 are common years.
  EXPECT_EQ(month("hebcal", 5784, 5, false, "en"), "Shevat");
  EXPECT_EQ(month("hebcal", 5784, 5, true, "en"), "Adar I");
  EXPECT_EQ(month("hebcal", 5784, 6, false, "en"), "Adar II");
  EXPECT_EQ(month("hebcal", 5783, 6, false, "en"), "Adar");
  EXPECT_EQ(month("hebcal", 5782, 6, false, "en"), "Adar II");
  EXPECT_EQ(month("hebcal", 5784, 7, false, "en"), "Nisan");
  EXPECT_EQ(month("hebcal", 5784, 12, false, "en"), "Elul");

  EXPECT_EQ(month("hebcal", 5784, 5, true, "iw"), "אדר א׳");
  EXPECT_EQ(month("hebcal", 5784, 6, false, "iw"), "אדר ב׳");
  EXPECT_EQ(month("hebcal", 5783, 6, false, "iw"), "אדר");
  EXPECT_EQ(month("hebcal", 5784, 5, true, "ar"), "آذار الأول");
  EXPECT_EQ(month("hebcal", 5784, 6, false, "ar"), "آذار الثاني");
  EXPECT_EQ(month("hebcal", 5783, 6, false, "ar"), "آذار");
  EXPECT_EQ(month("hebcal", 5784, 7, false, "zh-rHK"), "尼散月");
  // Only Adar I is a leap month: the flag on any other month names that month.
  EXPECT_EQ(month("hebcal", 5784, 7, true, "en"), "Nisan");
  EXPECT_EQ(month("hebcal", 5784, 6, true, "iw"), "אדר ב׳");
}

TEST(OtherCalendarText, HebrewNumeralsInHebrew) {
  EXPECT_EQ(texts("hebcal", 5784, 7, 1, false, "iw").day, "א׳");
  EXPECT_EQ(texts("hebcal", 5784, 7, 15, false, "iw").day, "ט״ו");
  EXPECT_EQ(texts("hebcal", 5784, 7, 16, false, "iw").day, "ט״ז");
  EXPECT_EQ(texts("hebcal", 5784, 7, 29, false, "iw").day, "כ״ט");
  EXPECT_EQ(texts("hebcal", 5784, 7, 30, false, "iw").day, "ל׳");
  EXPECT_EQ(texts("hebcal", 5784, 7, 31, false, "iw").day, "");
  EXPECT_EQ(texts("hebcal", 5784, 7, 1, false, "iw").year, "תשפ״ד");
  EXPECT_EQ(texts("hebcal", 5715, 7, 1, false, "iw").year, "תשט״ו");
  // Other languages keep their digits for the Hebrew calendar.
  EXPECT_EQ(texts("hebcal", 5784, 7, 15, false, "ar").day, "١٥");
  EXPECT_EQ(texts("hebcal", 5784, 7, 15, false, "ar").year, "٥٧٨٤");
  EXPECT_EQ(texts("hebcal", 5784, 7, 15, false, "zh-rCN").year, "5784年");
}

TEST(OtherCalendarText, SolarAndIslamicCalendars) {
  for (std::string_view type : {"hijri", "hijri-kuwaiti", "hijri-saudi"}) {
    SCOPED_TRACE(type);
    EXPECT_EQ(month(type, 1445, 1, false, "en"), "Muharram");
    EXPECT_EQ(month(type, 1445, 12, false, "ar"), "ذو الحجة");
    // Stand-alone names: no construct-state ending in Persian.
    EXPECT_EQ(month(type, 1445, 12, false, "fa"), "ذیحجه");
    // No leap months here: the flag changes nothing.
    EXPECT_EQ(month(type, 1445, 1, true, "en"), month(type, 1445, 1, false, "en"));
    EXPECT_EQ(texts(type, 1445, 1, 30, false, "ar").day, "٣٠");
    EXPECT_EQ(texts(type, 1445, 1, 31, false, "ar").day, "");
    EXPECT_EQ(texts(type, 1445, 1, 1, false, "ar").year, "١٤٤٥");
  }
  EXPECT_EQ(month("persian", 1403, 1, false, "fa"), "فروردین");
  EXPECT_EQ(month("persian", 1403, 12, false, "fa"), "اسفند");
  EXPECT_EQ(texts("persian", 1403, 1, 31, false, "fa").day, "۳۱");
  EXPECT_EQ(texts("persian", 1403, 1, 1, false, "fa").year, "۱۴۰۳");
  EXPECT_EQ(month("shaka", 1946, 1, false, "en"), "Chaitra");
  EXPECT_EQ(month("shaka", 1946, 12, false, "en"), "Phalguna");
  EXPECT_EQ(texts("shaka", 1946, 1, 31, false, "en").day, "31");
  EXPECT_EQ(texts("shaka", 1946, 1, 15, false, "ko").day, "15일");
  EXPECT_EQ(texts("shaka", 1946, 1, 15, false, "ko").year, "1946년");
  EXPECT_EQ(texts("persian", 1403, 1, 15, false, "zh-rCN").day, "15日");
  // Hebrew numerals belong to the Hebrew calendar only.
  EXPECT_EQ(texts("persian", 1403, 1, 15, false, "iw").day, "15");
}

TEST(OtherCalendarText, BadInputGivesEmptyTexts) {
  EXPECT_TRUE(KMAOtherCalendar::shared().formatCalendarType("", 2024, 1, 1, false, "en").empty());
  EXPECT_TRUE(
      KMAOtherCalendar::shared().formatCalendarType("gregorian", 2024, 1, 1, false, "en").empty());
  EXPECT_TRUE(
      KMAOtherCalendar::shared().formatCalendarType("Hebcal", 5784, 1, 1, false, "en").empty());
  for (std::string_view type : {"lunar", "hebcal", "hijri", "persian", "shaka"}) {
    SCOPED_TRACE(type);
    EXPECT_EQ(month(type, 1445, 0, false, "en"), "");
    EXPECT_EQ(month(type, 1445, 13, false, "en"), "");
    EXPECT_EQ(day(type, 0, "en"), "");
    EXPECT_EQ(day(type, -1, "zh-rCN"), "");
    const Texts yearZero = texts(type, 0, 1, 1, false, "zh-rCN");
    EXPECT_EQ(yearZero.year, "");
    EXPECT_NE(yearZero.month, "");
  }
}

TEST(OtherCalendarText, LocaleCodesAndFallback) {
  const KMAConvert convert;
  EXPECT_EQ(convert.localeIdentifier("zh-rCN"), "zh_Hans_CN");
  EXPECT_EQ(convert.localeIdentifier("zh-rHK"), "zh_Hant_HK");
  EXPECT_EQ(convert.localeIdentifier("iw"), "he");
  EXPECT_EQ(convert.localeIdentifier("zh_CN"), "en");
  // Unknown codes, and codes in another spelling, write English.
  for (std::string_view code : {"de", "", "ZH-RCN", "he", "zh"}) {
    SCOPED_TRACE(code);
    EXPECT_EQ(month("hebcal", 5784, 5, true, code), "Adar I");
    EXPECT_EQ(texts("lunar", 2024, 1, 5, false, code).day, "5");
  }
}

TEST(OtherCalendarText, WiredLocaleConverterIsUsed) {
  {
    // A host that writes the "en" code in Korean and "iw" in a locale ICU knows nothing of.
    const ScopedConvert scoped(std::make_shared<MappingConvert>("en", "ko"));
    EXPECT_EQ(texts("lunar", 2024, 4, 5, true, "en").month, "윤4월");
    EXPECT_EQ(texts("lunar", 2024, 4, 5, true, "en").day, "5일");
  }
  {
    const ScopedConvert scoped(std::make_shared<MappingConvert>("iw", "he_IL"));
    EXPECT_EQ(texts("hebcal", 5784, 7, 15, false, "iw").day, "ט״ו");
  }
  EXPECT_EQ(texts("lunar", 2024, 4, 5, true, "en").month, "Leap Fourth Month");
}

// Tables are built on first use by whichever thread comes first; every thread must see the same
// complete texts.
TEST(OtherCalendarTextConcurrency, FirstUseFromManyThreads) {
  const std::vector<std::string_view> types = {"lunar",       "korean-lunar", "vietnam",
                                               "hebcal",      "hijri",        "hijri-kuwaiti",
                                               "hijri-saudi", "persian",      "shaka"};
  const std::vector<std::string_view> locales = {"en", "zh-rCN", "zh-rHK", "ar",
                                                 "ko", "iw",     "fa",     "xx"};
  const auto run = [&](int offset) {
    std::vector<std::string> out;
    for (std::size_t i = 0; i < types.size() * locales.size(); ++i) {
      const std::size_t k =
          (i + static_cast<std::size_t>(offset) * 7) % (types.size() * locales.size());
      for (const std::string& text : KMAOtherCalendar::shared().formatCalendarType(
               types[k / locales.size()], 2024, 6, 15, false, locales[k % locales.size()])) {
        out.push_back(std::to_string(k) + ":" + text);
      }
    }
    std::sort(out.begin(), out.end());
    return out;
  };
  std::vector<std::vector<std::string>> results(6);
  std::vector<std::thread> threads;
  for (int t = 0; t < 6; ++t)
    threads.emplace_back([&, t] { results[static_cast<std::size_t>(t)] = run(t); });
  for (std::thread& thread : threads) thread.join();
  const std::vector<std::string> reference = run(0);
  EXPECT_EQ(reference.size(), types.size() * locales.size() * 3);
  for (const auto& result : results) EXPECT_EQ(result, reference);
}

}  // namespace
}  // namespace norvik
