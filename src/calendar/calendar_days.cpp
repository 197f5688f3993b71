#include "calendar/calendar_days.h"

#include <array>
#include <cmath>
#include <limits>

namespace norvik::detail {
namespace {

// One span of constant offset of one zone. The zone is kept so that its identity (the address of
// its shared data) cannot be reused by another zone while the entry lives.
struct OffsetSpan {
  std::optional<platform::TimeZone> zone;
  double from = 0;
  double to = 0;
  int offset = 0;
};

}  // namespace

int cachedSecondsFromGMT(const platform::TimeZone& zone, platform::Date at) {
  const double t = at.timeIntervalSince1970();
  if (!std::isfinite(t)) return 0;
  thread_local std::array<OffsetSpan, 4> spans;
  thread_local std::size_t next = 0;
  const std::string* id = &zone.identifier();
  for (const OffsetSpan& span : spans) {
    if (span.zone && &span.zone->identifier() == id && t >= span.from && t < span.to) {
      return span.offset;
    }
  }
  // The span around the instant: from the last change at or before it (looking back at most 40
  // days) to the next change after it.
  double from = t - 40.0 * 86400.0;
  std::optional<platform::Date> change =
      zone.nextDaylightSavingTimeTransition(platform::Date(from));
  while (change && change->timeIntervalSince1970() <= t) {
    from = change->timeIntervalSince1970();
    change = zone.nextDaylightSavingTimeTransition(*change);
  }
  OffsetSpan& span = spans[next];
  next = (next + 1) % spans.size();
  span.zone = zone;
  span.from = from;
  span.to = change ? change->timeIntervalSince1970() : std::numeric_limits<double>::infinity();
  span.offset = zone.secondsFromGMT(at);
  return span.offset;
}

CivilDay civilDayInZone(const platform::TimeZone& zone, platform::Date at) {
  return civilDayOfDate(at, cachedSecondsFromGMT(zone, at));
}

std::optional<CalendarDay> calendarDay(const platform::Calendar& calendar, platform::Date at) {
  if (!std::isfinite(at.timeIntervalSince1970())) return std::nullopt;
  const CivilDay day = civilDayInZone(calendar.timeZone(), at);
  const GregorianDate g = gregorianFromCivilDay(day);
  return CalendarDay{g.year, g.month, g.day, weekdayOfCivilDay(day)};
}

}  // namespace norvik::detail
