#pragma once
// Calendar days of instants without a round trip through ICU: the zone's offset is remembered per
// thread for the span in which it does not change, and the Gregorian day, month, year and weekday
// follow by arithmetic.
#include <optional>

#include "norvik/calendar/lunisolar.h"
#include "norvik/platform/calendar.h"
#include "norvik/platform/time_zone.h"

namespace norvik::detail {

struct CalendarDay {
  int year = 0;
  int month = 0;
  int day = 0;
  int weekday = 0;  // 1 = Sunday .. 7 = Saturday
};

// The zone's offset from GMT at the instant (cached per thread; confined to the calling thread).
int cachedSecondsFromGMT(const platform::TimeZone& zone, platform::Date at);
// The civil day number of the instant in the zone.
CivilDay civilDayInZone(const platform::TimeZone& zone, platform::Date at);
// The Gregorian (civil) year, month, day and weekday of the instant in the calendar's time zone,
// whatever the calendar's own type (a Persian, Buddhist or Hebrew calendar gives the same day as a
// Gregorian one in its zone); std::nullopt for a non-finite instant.
std::optional<CalendarDay> calendarDay(const platform::Calendar& calendar, platform::Date at);
// 1 = Sunday .. 7 = Saturday.
inline int weekdayOfCivilDay(CivilDay day) {
  const int r = static_cast<int>((day + 4) % 7);
  return (r < 0 ? r + 7 : r) + 1;
}

}  // namespace norvik::detail
