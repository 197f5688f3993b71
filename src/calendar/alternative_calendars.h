#pragma once
// Internals of the alternative-calendar module: the calendar families behind alternativeCalendar()
// and the reference implementations they are checked against.
#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>
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
// the months with their lengths. `valid` is false for an entry that cannot be a year.
struct PackedLunarYear {
  CivilDay newYear = 0;
  int leapMonth = 0;  // 0: none
  int monthCount = 0;
  uint16_t thirtyDayMonths = 0;  // bit i: month position i has 30 days
  int length = 0;
  bool valid = false;
};
PackedLunarYear decodeLunarYear(uint32_t entry, int year);

}  // namespace norvik::detail
