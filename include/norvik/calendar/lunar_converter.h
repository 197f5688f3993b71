#pragma once
// A table-driven converter between Gregorian dates and Chinese lunar dates for the lunar years
// 1901-2099, callable from C. It allocates nothing, keeps no state and never reads outside its
// tables: inputs outside the range (Gregorian years other than 1901..2099, dates in 1901 before the
// lunar new year on 19 February, lunar years other than 1901..2099, months outside 1..12, days
// outside 1..31 on the Gregorian side or 1..30 on the lunar side) give an all-zero record.
//
// The table and its arithmetic are a fixed contract that other programs rely on, and several of
// its answers are deliberately not those of the true calendar:
// - toLunar sets isLeapMonth on both the ordinary and the leap month of the leap number;
// - toSolar adds 30 instead of 31 days for the February new year of lunar 2016, so 2016 dates up
//   to 28 February come out one day early;
// - toSolar counts every year's months with common-year lengths, so dates after 28 February of a
//   Gregorian leap year come out one day late;
// - toSolar's year wrap turns a day landing on 31 December of a common year into day 0 (or -1)
//   of January of the next year.
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

// A Gregorian date (isLeapMonth ignored on input, 0 on output) or a lunar date.
typedef struct SimpleDate {
  int32_t year;
  int32_t month;
  int32_t day;
  int32_t isLeapMonth;
} SimpleDate;

// One entry per lunar year from 1901 (index 0) to 2099 (index 198). Bits 23-20: the month followed
// by a leap month (0 = none); bits 19-7: thirteen month-length flags in order of occurrence (set =
// 30 days); bits 6-5: the Gregorian month of the new year (1 or 2); bits 4-0: its day.
extern const uint32_t lunar200y[199];
// Days before each Gregorian month of a common year, then the year's length (365).
extern const int32_t monthTotal[13];

// Gregorian date -> lunar date.
SimpleDate toLunar(SimpleDate solar);
// Lunar date (isLeapMonth = 1 selects the leap month of that number) -> Gregorian date.
SimpleDate toSolar(SimpleDate lunar);
SimpleDate solar_to_lunar(int32_t year, int32_t month, int32_t day);
SimpleDate lunar_to_solar(int32_t year, int32_t month, int32_t day, int32_t isLeapMonth);
// Prints the conversions of 2010-02-14 and lunar 2013-10-12 to standard output; returns 0.
int solar_to_lunar_(void);

#ifdef __cplusplus
}
#endif
