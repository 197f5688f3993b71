// Nowruz: the 33-year arithmetic rule corrected by the committed years in which the astronomical
// rule of the Iranian calendar decidedly differs. The astronomy that derives those years lives in
// the table tool (tools/lunisolar_tables/persian_equinox.cpp), not in the library.
#include "calendar/alternative_calendars.h"

namespace norvik::detail {
namespace {

// Years whose astronomical Nowruz differs from the 33-year rule's by a decided margin (the
// equinox at least kPersianDecisionMarginSeconds from noon): the year and the difference in days
// (astronomical minus arithmetic). Derived for every year of kPersianAstronomicalFirstYear..
// kPersianAstronomicalLastYear by tools/lunisolar_tables; the calendar test derives the list again
// and compares. Empty for these years: the one year the rules part (1470 AP, 2091) has its
// equinox 12 s before noon, which no sun model and no forecast of ΔT can decide.
struct NewYearShift {
  int year;
  int days;
};
const std::vector<NewYearShift> kShifts = {
#include "calendar/persian_new_year_shifts.inc"
};

}  // namespace

CivilDay persianNewYear(int year) {
  CivilDay day = persianArithmeticNewYear(year);
  if (year < kPersianAstronomicalFirstYear || year > kPersianAstronomicalLastYear) return day;
  for (const NewYearShift& shift : kShifts) {
    if (shift.year == year) return day + shift.days;
  }
  return day;
}

std::vector<std::pair<int, int>> persianNewYearShifts() {
  std::vector<std::pair<int, int>> shifts;
  for (const NewYearShift& shift : kShifts) shifts.emplace_back(shift.year, shift.days);
  return shifts;
}

}  // namespace norvik::detail
