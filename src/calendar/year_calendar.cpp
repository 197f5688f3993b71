// Conversions of a calendar described year by year.
#include "calendar/year_calendar.h"

#include <atomic>

namespace norvik::detail {
namespace {

// Years far outside any served range are refused before any arithmetic on them can overflow.
bool plausibleYear(int year) {
  return year > -1000000 && year < 1000000;
}

}  // namespace

bool YearCalendar::inRange(const YearLayout& year) const {
  int length = 0;
  for (int i = 0; i < year.count; ++i) length += year.lengths[i];
  return year.newYear <= last_ && year.newYear + length - 1 >= first_;
}

std::optional<CalendarDate> YearCalendar::dateOfCivilDay(CivilDay day) const {
  if (day < first_ || day > last_) return std::nullopt;
  int year = estimateYear(day);
  while (newYear(year) > day) --year;
  while (newYear(year + 1) <= day) ++year;
  YearLayout l;
  if (!cachedLayout(year, l)) return std::nullopt;
  CivilDay rest = day - l.newYear;
  for (int i = 0; i < l.count; ++i) {
    if (rest < l.lengths[i]) {
      return CalendarDate{year, l.months[i].month, static_cast<int>(rest) + 1, l.months[i].leap};
    }
    rest -= l.lengths[i];
  }
  return std::nullopt;  // a layout shorter than the distance between two new years
}

std::optional<CivilDay> YearCalendar::civilDayOfDate(const CalendarDate& date) const {
  YearLayout l;
  if (date.day < 1 || !plausibleYear(date.year) || !cachedLayout(date.year, l)) return std::nullopt;
  CivilDay day = l.newYear;
  for (int i = 0; i < l.count; ++i) {
    if (l.months[i] == CalendarMonth{date.month, date.leap}) {
      if (date.day > l.lengths[i]) return std::nullopt;
      day += date.day - 1;
      if (day < first_ || day > last_) return std::nullopt;
      return day;
    }
    day += l.lengths[i];
  }
  return std::nullopt;
}

std::vector<CalendarMonth> YearCalendar::monthsOfYear(int year) const {
  YearLayout l;
  if (!plausibleYear(year) || !cachedLayout(year, l) || !inRange(l)) return {};
  return std::vector<CalendarMonth>(l.months, l.months + l.count);
}

int YearCalendar::daysInMonth(int year, int month, bool leap) const {
  YearLayout l;
  if (!plausibleYear(year) || !cachedLayout(year, l) || !inRange(l)) return 0;
  for (int i = 0; i < l.count; ++i) {
    if (l.months[i] == CalendarMonth{month, leap}) return l.lengths[i];
  }
  return 0;
}

std::optional<CalendarYearLayout> YearCalendar::yearLayout(int year) const {
  YearLayout l;
  if (!plausibleYear(year) || !cachedLayout(year, l) || !inRange(l) || l.count > 13) {
    return std::nullopt;
  }
  CalendarYearLayout out;
  out.firstDay = l.newYear;
  out.count = l.count;
  for (int i = 0; i < l.count; ++i) {
    out.months[i] = l.months[i];
    out.lengths[i] = l.lengths[i];
  }
  return out;
}

unsigned long YearCalendar::nextSerial() {
  static std::atomic<unsigned long> counter{0};
  return ++counter;
}

bool YearCalendar::cachedLayout(int year, YearLayout& out) const {
  // Per thread, so no lock: four slots replaced in turn.
  struct Slot {
    unsigned long serial = 0;  // 0: empty
    int year = 0;
    bool ok = false;
    YearLayout layout;
  };
  thread_local Slot slots[4];
  thread_local unsigned next = 0;
  for (const Slot& slot : slots) {
    if (slot.serial == serial_ && slot.year == year) {
      if (slot.ok) out = slot.layout;
      return slot.ok;
    }
  }
  Slot& slot = slots[next++ % 4];
  slot.serial = serial_;
  slot.year = year;
  slot.ok = layout(year, slot.layout);
  if (slot.ok) out = slot.layout;
  return slot.ok;
}

}  // namespace norvik::detail
