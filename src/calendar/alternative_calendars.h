#pragma once
// Internals of the alternative-calendar module: the calendar families behind alternativeCalendar()
// and the reference implementations they are checked against.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "norvik/calendar/lunisolar.h"
#include "norvik/calendar/other_calendar.h"
#include "norvik/platform/calendar.h"

namespace norvik::detail {

// The range every calendar serves at least: 1900-01-01 .. 2100-12-31.
inline CivilDay rangeFirstDay() {
  return civilDayFromGregorian(1900, 1, 1);
}
inline CivilDay rangeLastDay() {
  return civilDayFromGregorian(2100, 12, 31);
}

// The ICU calendar behind a type identifier: "lunar" chinese, "korean-lunar" dangi, "hebcal"
// hebrew, "hijri" islamic-civil, "hijri-kuwaiti" islamic-tbla, "hijri-saudi" islamic-umalqura,
// "persian", "shaka" indian; std::nullopt for "vietnam" (ICU has no Vietnamese calendar) and
// anything else.
std::optional<platform::CalendarIdentifier> icuCalendarOfType(std::string_view identifier);

// A calendar answered day by day by ICU (the platform Calendar in UTC, each civil day read at
// noon), with ICU's fields mapped to this module's numbering. Slow (microseconds per call); it is
// the reference the library's own arithmetic is compared with, and the source of the Korean month
// starts. Serves civil days in [firstDay, lastDay].
std::unique_ptr<AlternativeCalendar> makeIcuCalendar(std::string_view identifier, CivilDay firstDay,
                                                     CivilDay lastDay);

// The lunisolar calendar computed by the astronomical engine (a few hundred microseconds a call):
// the source of the generated tables and their check.
std::unique_ptr<AlternativeCalendar> makeEngineCalendar(std::string_view identifier,
                                                        const LunisolarCalendar& engine);

// The months of a lunar year in packLunarYear()'s form, decoded: the civil day of month 1 and
// the months with their lengths. `valid` is false for an entry that cannot be a year. The one
// reader of the packed tables (Chinese, Vietnamese, Korean), for the calendars' conversions and
// for chineseLunarDateOfCivilDay() alike.
struct PackedLunarYear {
  CivilDay newYear = 0;
  int leapMonth = 0;  // 0: none
  int monthCount = 0;
  uint16_t thirtyDayMonths = 0;  // bit i: month position i has 30 days
  int length = 0;
  bool valid = false;

  // Position 0..monthCount-1 in the year: its length, and its month number and leap flag (the
  // leap month follows its namesake: leap 4 sits at position 4).
  int monthLength(int position) const { return ((thirtyDayMonths >> position) & 1u) ? 30 : 29; }
  CalendarMonth monthAt(int position) const {
    if (leapMonth == 0 || position < leapMonth) return CalendarMonth{position + 1, false};
    if (position == leapMonth) return CalendarMonth{leapMonth, true};
    return CalendarMonth{position, false};
  }
};
PackedLunarYear decodeLunarYear(uint32_t entry, int year);

// ---- The library's own calendars ----------------------------------------------------------------

std::unique_ptr<AlternativeCalendar> makeHebrewCalendar(CivilDay first, CivilDay last);
// The tabular Islamic calendar: epoch 16 July 622 (Julian, a Friday) or, with `thursdayEpoch`, a
// day earlier; year y leap when (11 y + leapConstant) mod 30 < 11.
std::unique_ptr<AlternativeCalendar> makeTabularIslamicCalendar(std::string_view identifier,
                                                                CivilDay first, CivilDay last,
                                                                bool thursdayEpoch,
                                                                int leapConstant);
std::unique_ptr<AlternativeCalendar> makeIndianCalendar(CivilDay first, CivilDay last);
std::unique_ptr<AlternativeCalendar> makePersianCalendar(CivilDay first, CivilDay last);

// The Chinese calendar: the committed month table for lunar years 1899..2100, ICU's Chinese
// calendar for the days in [first, last] outside the table.
std::unique_ptr<AlternativeCalendar> makeChineseCalendar(CivilDay first, CivilDay last);
// The Vietnamese calendar from its committed table: 1900-01-01 .. 2100-12-31.
std::unique_ptr<AlternativeCalendar> makeVietnameseCalendar();
// The Korean calendar: ICU's dangi month starts with two corrections, from a committed table for
// lunar years 1899..2100 and read once per lunar year from ICU for 1798..1898 and 2101..2302.
inline constexpr int kKoreanTableFirstYear = 1899;
inline constexpr int kKoreanTableLastYear = 2100;
std::unique_ptr<AlternativeCalendar> makeKoreanCalendar(CivilDay first, CivilDay last);
// The committed table's source text, read from ICU (about a second).
std::string generateKoreanMonthTableSource();

// The Umm al-Qura calendar from its committed table, AH 1300..1600 (1882-11-12 .. 2174-11-25);
// std::nullopt outside. nullptr when the table is damaged.
inline constexpr int kUmmAlQuraFirstYear = 1300;
inline constexpr int kUmmAlQuraLastYear = 1600;
std::unique_ptr<AlternativeCalendar> makeUmmAlQuraCalendar();
const std::vector<uint32_t>& ummAlQuraTable();
// The table's source text read from ICU; what looks wrong in ICU's data (a month not of 29 or 30
// days, a year not of 354 or 355, a year not starting where the previous ended) is added to
// `problems`.
std::string generateUmmAlQuraTableSource(std::vector<std::string>* problems);

// Nowruz (1 Farvardin) of Persian year `year`:
// - by the 33-year arithmetic rule (leap when (25 y + 11) mod 33 < 8);
CivilDay persianArithmeticNewYear(int year);
// - as the library reckons it: the arithmetic rule, corrected by a committed list for the years
//   1278..1480 AP (Gregorian 1899..2101) in which the astronomical rule decidedly differs (the
//   equinox at least kPersianDecisionMarginSeconds away from noon; no astronomy at run time).
inline constexpr int kPersianAstronomicalFirstYear = 1278;
inline constexpr int kPersianAstronomicalLastYear = 1480;
CivilDay persianNewYear(int year);
// Closer to noon than this, the sun model (about 24 s) and ΔT (tens of seconds by 2050, minutes
// by 2100) cannot tell the day: the arithmetic rule stands.
inline constexpr double kPersianDecisionMarginSeconds = 120.0;
// The committed years where the astronomical rule moves Nowruz away from the arithmetic one:
// (year, days astronomical minus arithmetic).
std::vector<std::pair<int, int>> persianNewYearShifts();

// Whether Hebrew year `year` (AM) has thirteen months: 7 years of every 19.
bool isHebrewLeapYear(int year);

}  // namespace norvik::detail
