#pragma once
// The astronomical rule of the Iranian calendar, for the table tool and the tests that check the
// committed corrections (src/calendar/persian_new_year_shifts.inc): the library itself only reads
// those corrections and carries no astronomy for it.
#include "norvik/calendar/lunisolar.h"

namespace norvik::tables {

// Nowruz of Persian year `year` by the astronomical rule: the day in Iran on which the March
// equinox falls before apparent noon at Tehran's meridian, else the next day (~100 µs).
CivilDay persianAstronomicalNewYear(int year);
// Seconds from apparent noon at Tehran to the March equinox of year `year` (negative: before).
double persianEquinoxFromNoonSeconds(int year);
// The equation of time (apparent minus mean solar time) in minutes at JDE.
double equationOfTimeMinutes(double jde);

}  // namespace norvik::tables
