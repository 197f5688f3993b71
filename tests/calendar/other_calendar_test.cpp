#include "norvik/calendar/other_calendar.h"

#include <gtest/gtest.h>

#include <string>

#include "calendar/alternative_calendars.h"

namespace norvik {

void PrintTo(const CalendarDate& d, std::ostream* os) {
  *os << d.year << "-" << (d.leap ? "L" : "") << d.month << "-" << d.day;
}

namespace {

const char* const kTypes[] = {"lunar",   "korean-lunar", "hijri",         "hebcal",     "shaka",
                              "persian", "vietnam",      "hijri-kuwaiti", "hijri-saudi"};

CalendarDate dateIn(std::string_view type, int year, int month, int day) {
  const AlternativeCalendar* calendar = alternativeCalendar(type);
  EXPECT_NE(calendar, nullptr) << type;
  if (!calendar) return {};
  return calendar->dateOfCivilDay(civilDayFromGregorian(year, month, day)).value_or(CalendarDate{});
}

std::string gregorianOf(std::string_view type, CalendarDate date) {
  const AlternativeCalendar* calendar = alternativeCalendar(type);
  if (!calendar) return "no calendar";
  const std::optional<CivilDay> day = calendar->civilDayOfDate(date);
  return day ? isoDayText(gregorianFromCivilDay(*day)) : "none";
}

TEST(OtherCalendarKnownDates, EachCalendarOnPublishedDays) {
  struct Known {
    const char* type;
    int y, m, d;
    CalendarDate expected;
  };
  const Known known[] = {
      // Chinese and Korean new years, a Chinese leap month.
      {"lunar", 2024, 2, 10, {2024, 1, 1, false}},
      {"lunar", 2023, 3, 22, {2023, 2, 1, true}},
      {"lunar", 2024, 2, 9, {2023, 12, 30, false}},
      {"korean-lunar", 2024, 2, 10, {2024, 1, 1, false}},
      {"korean-lunar", 2023, 1, 22, {2023, 1, 1, false}},
      // Tết: 1985 a month before the Chinese New Year, 2007 a day before it.
      {"vietnam", 1985, 1, 21, {1985, 1, 1, false}},
      {"vietnam", 2007, 2, 17, {2007, 1, 1, false}},
      {"lunar", 2007, 2, 17, {2006, 12, 30, false}},
      // Hebrew: Rosh Hashanah, Adar I and Adar II of the leap year 5784, Purim, Passover.
      {"hebcal", 2024, 10, 3, {5785, 1, 1, false}},
      {"hebcal", 2024, 2, 10, {5784, 5, 1, true}},
      {"hebcal", 2024, 3, 11, {5784, 6, 1, false}},
      {"hebcal", 2024, 3, 24, {5784, 6, 14, false}},
      {"hebcal", 2024, 4, 23, {5784, 7, 15, false}},
      {"hebcal", 2025, 3, 14, {5785, 6, 14, false}},
      // Umm al-Qura: 1 Ramadan 1445, 1 Muharram 1446.
      {"hijri-saudi", 2024, 3, 11, {1445, 9, 1, false}},
      {"hijri-saudi", 2024, 7, 7, {1446, 1, 1, false}},
      // Persian new years; Indian national new years (21 March in a Gregorian leap year).
      {"persian", 2024, 3, 20, {1403, 1, 1, false}},
      {"persian", 2025, 3, 21, {1404, 1, 1, false}},
      {"persian", 2025, 3, 20, {1403, 12, 30, false}},
      {"shaka", 2024, 3, 21, {1946, 1, 1, false}},
      {"shaka", 2023, 3, 22, {1945, 1, 1, false}},
      {"shaka", 2023, 3, 21, {1944, 12, 30, false}},
  };
  for (const Known& k : known) {
    EXPECT_EQ(dateIn(k.type, k.y, k.m, k.d), k.expected)
        << k.type << " " << isoDayText(GregorianDate{k.y, k.m, k.d});
    EXPECT_EQ(gregorianOf(k.type, k.expected), isoDayText(GregorianDate{k.y, k.m, k.d})) << k.type;
  }
}

}  // namespace
}  // namespace norvik

namespace norvik {
namespace {

// Sets the process-wide date converter for one test and puts the previous one back.
class WiredConverter {
 public:
  explicit WiredConverter(std::shared_ptr<const KMADateConvert> convert)
      : previous_(KMACalendarWrapperUtils::shared().dateConvert()) {
    KMACalendarWrapperUtils::shared().setDateConvert(std::move(convert));
  }
  ~WiredConverter() { KMACalendarWrapperUtils::shared().setDateConvert(previous_); }

 private:
  std::shared_ptr<const KMADateConvert> previous_;
};

TEST(OtherCalendarConversion, ConvertsBothWaysThroughTheWiredConverter) {
  WiredConverter wired(std::make_shared<KMADateConvert>());
  const KMAOtherCalendar& module = KMAOtherCalendar::shared();
  KMAError error;
  EXPECT_EQ(module.gregorianToCalendarType("hebcal", 2024, 2, 10, &error),
            (CalendarDate{5784, 5, 1, true}));
  EXPECT_EQ(module.calendarTypeToGregorian("lunar", CalendarDate{2023, 2, 1, true}, &error),
            (GregorianDate{2023, 3, 22}));
  // Every type converts a day of the range and back.
  for (const char* type : kTypes) {
    const std::optional<CalendarDate> date = module.gregorianToCalendarType(type, 2000, 2, 29);
    ASSERT_TRUE(date) << type;
    EXPECT_EQ(module.calendarTypeToGregorian(type, *date), (GregorianDate{2000, 2, 29})) << type;
  }
}

TEST(OtherCalendarConversion, ReportsEachFailure) {
  WiredConverter wired(std::make_shared<KMADateConvert>());
  const KMAOtherCalendar& module = KMAOtherCalendar::shared();
  auto failure = [&](auto&& call) {
    KMAError error;
    EXPECT_FALSE(call(&error));
    EXPECT_EQ(error.description.find('\n'), std::string::npos);
    return error.description;
  };
  EXPECT_NE(failure([&](KMAError* e) {
              return module.gregorianToCalendarType("Hebcal", 2024, 1, 1, e);
            }).find("unknown calendar type \"Hebcal\""),
            std::string::npos);
  EXPECT_NE(failure([&](KMAError* e) {
              return module.gregorianToCalendarType("", 2024, 1, 1, e);
            }).find("unknown calendar type"),
            std::string::npos);
  EXPECT_NE(failure([&](KMAError* e) {
              return module.gregorianToCalendarType("hijri", 2023, 2, 29, e);
            }).find("no such Gregorian date 2023-02-29"),
            std::string::npos);
  EXPECT_NE(failure([&](KMAError* e) {
              return module.gregorianToCalendarType("hijri", 2024, 13, 1, e);
            }).find("no such Gregorian date"),
            std::string::npos);
  EXPECT_NE(failure([&](KMAError* e) {
              return module.gregorianToCalendarType("persian", 1000, 1, 1, e);
            }).find("outside the range"),
            std::string::npos);
  // 30 Adar I exists, 30 Adar II does not; a common year has no Adar I.
  EXPECT_TRUE(module.calendarTypeToGregorian("hebcal", CalendarDate{5784, 5, 30, true}));
  EXPECT_NE(failure([&](KMAError* e) {
              return module.calendarTypeToGregorian("hebcal", CalendarDate{5784, 6, 30, false}, e);
            }).find("no such date in the hebcal calendar"),
            std::string::npos);
  EXPECT_FALSE(module.calendarTypeToGregorian("hebcal", CalendarDate{5785, 5, 1, true}));
  EXPECT_NE(failure([&](KMAError* e) {
              return module.calendarTypeToGregorian("hijri", CalendarDate{3000, 1, 1, false}, e);
            }).find("outside the range"),
            std::string::npos);
  // No error object: the failure is still a plain std::nullopt.
  EXPECT_FALSE(module.gregorianToCalendarType("nope", 2024, 1, 1));
}

TEST(OtherCalendarConversion, UnwiredModuleSaysSo) {
  WiredConverter unwired(nullptr);
  KMAError error;
  EXPECT_FALSE(KMAOtherCalendar::shared().gregorianToCalendarType("hebcal", 2024, 1, 1, &error));
  EXPECT_NE(error.description.find("not wired"), std::string::npos);
  error = {};
  EXPECT_FALSE(KMAOtherCalendar::shared().calendarTypeToGregorian(
      "hebcal", CalendarDate{5784, 1, 1, false}, &error));
  EXPECT_NE(error.description.find("not wired"), std::string::npos);
  // The wiring step fills each holder once.
  EXPECT_TRUE(
      KMACalendarWrapperUtils::shared().setDateConvertIfUnset(std::make_shared<KMADateConvert>()));
  EXPECT_FALSE(
      KMACalendarWrapperUtils::shared().setDateConvertIfUnset(std::make_shared<KMADateConvert>()));
  EXPECT_TRUE(KMAOtherCalendar::shared().gregorianToCalendarType("hebcal", 2024, 1, 1));
}

TEST(OtherCalendarConversion, DefaultDateConverterValidatesGregorianDates) {
  const KMADateConvert convert;
  EXPECT_EQ(convert.civilDayOfGregorian(1970, 1, 1), CivilDay{0});
  EXPECT_EQ(convert.civilDayOfGregorian(2000, 2, 29), civilDayFromGregorian(2000, 2, 29));
  EXPECT_FALSE(convert.civilDayOfGregorian(1900, 2, 29));
  EXPECT_FALSE(convert.civilDayOfGregorian(2024, 4, 31));
  EXPECT_FALSE(convert.civilDayOfGregorian(2024, 0, 1));
  EXPECT_FALSE(convert.civilDayOfGregorian(2024, 1, 0));
  EXPECT_EQ(convert.gregorianOfCivilDay(-1), (GregorianDate{1969, 12, 31}));
}

class CollectingLogger : public KMALogger {
 public:
  void log(KMALogLevel level, std::string_view message) override {
    messages.push_back(std::to_string(static_cast<int>(level)) + " " + std::string(message));
  }
  std::vector<std::string> messages;
};

TEST(OtherCalendarWiring, LoggerAndConverterHolders) {
  KMALog log;  // a private holder: the shared one may carry the host's logger
  auto first = std::make_shared<CollectingLogger>();
  EXPECT_TRUE(log.addLoggerIfEmpty(first));
  EXPECT_FALSE(log.addLoggerIfEmpty(std::make_shared<CollectingLogger>()));
  auto second = std::make_shared<CollectingLogger>();
  log.addLogger(second);
  log.addLogger(nullptr);
  EXPECT_EQ(log.logArray().size(), 2u);
  log.log(KMALogLevel::error, "boom");
  EXPECT_EQ(first->messages, std::vector<std::string>{"3 boom"});
  EXPECT_EQ(second->messages, std::vector<std::string>{"3 boom"});
}

}  // namespace
}  // namespace norvik
