// The arithmetic calendars: Hebrew, tabular Islamic (civil and Kuwaiti), Indian national and
// Persian. Each is a handful of integer operations per year; nothing here calls ICU.
#include <array>
#include <cmath>

#include "calendar/alternative_calendars.h"
#include "calendar/year_calendar.h"

namespace norvik::detail {
namespace {

// Rata Die (days since 0001-01-01 of the proleptic Gregorian calendar, that day being 1) of
// 1970-01-01.
constexpr CivilDay kRataDieOf1970 = 719163;

CivilDay floorDiv(CivilDay a, CivilDay b) {
  return a >= 0 ? a / b : -((-a + b - 1) / b);
}
CivilDay floorMod(CivilDay a, CivilDay b) {
  return a - floorDiv(a, b) * b;
}

// ---- Hebrew ---------------------------------------------------------------------------------
// The fixed arithmetic calendar of Hillel II: 19-year cycle of 7 leap years (3, 6, 8, 11, 14, 17,
// 19), the molad of Tishri from the mean lunation of 29 d 12 h 793 parts (1080 parts an hour), and
// the postponements of the new year (not on Sunday, Wednesday or Friday; molad at or after noon;
// the two limits that keep a year between 353 and 385 days).

// Rata Die of 1 Tishri AM 1 (7 October 3761 BCE, Julian).
constexpr CivilDay kHebrewEpoch = -1373427 - kRataDieOf1970;

// Days from the epoch to the molad-based new year, with the weekday postponement.
CivilDay hebrewElapsedDays(int year) {
  const CivilDay monthsElapsed = floorDiv(235 * static_cast<CivilDay>(year) - 234, 19);
  const CivilDay partsElapsed = 12084 + 13753 * monthsElapsed;
  const CivilDay day = 29 * monthsElapsed + floorDiv(partsElapsed, 25920);
  return floorMod(3 * (day + 1), 7) < 3 ? day + 1 : day;
}

CivilDay hebrewNewYear(int year) {
  const CivilDay previous = hebrewElapsedDays(year - 1);
  const CivilDay current = hebrewElapsedDays(year);
  const CivilDay next = hebrewElapsedDays(year + 1);
  CivilDay delay = 0;
  if (next - current == 356) {
    delay = 2;
  } else if (current - previous == 382) {
    delay = 1;
  }
  return kHebrewEpoch + current + delay;
}

class HebrewCalendar final : public YearCalendar {
 public:
  using YearCalendar::YearCalendar;

 protected:
  CivilDay newYear(int year) const override { return hebrewNewYear(year); }
  int estimateYear(CivilDay day) const override {
    return static_cast<int>(floorDiv((day - kHebrewEpoch) * 19, 6940)) + 1;
  }
  bool layout(int year, YearLayout& out) const override {
    out.newYear = hebrewNewYear(year);
    const CivilDay length = hebrewNewYear(year + 1) - out.newYear;
    // A "complete" year (355, 385 days) has a 30-day Heshvan, a "deficient" one (353, 383) a
    // 29-day Kislev.
    const bool longHeshvan = length % 10 == 5;
    const bool shortKislev = length % 10 == 3;
    const bool leap = isHebrewLeapYear(year);
    out.count = 0;
    auto add = [&out](int month, bool isLeap, int days) {
      out.months[out.count] = CalendarMonth{month, isLeap};
      out.lengths[out.count++] = days;
    };
    add(1, false, 30);                     // Tishri
    add(2, false, longHeshvan ? 30 : 29);  // Heshvan
    add(3, false, shortKislev ? 29 : 30);  // Kislev
    add(4, false, 29);                     // Tevet
    add(5, false, 30);                     // Shevat
    if (leap) add(5, true, 30);            // Adar I
    add(6, false, 29);                     // Adar, Adar II
    for (int month = 7; month <= 12; ++month) add(month, false, month % 2 == 1 ? 30 : 29);
    return true;
  }
};

// ---- Tabular Islamic ------------------------------------------------------------------------
// Twelve months alternating 30 and 29 days; in 11 years of each 30 the last month has 30 days.
// The year y is leap when (11 y + k) mod 30 < 11: k = 14 gives the years 2, 5, 7, 10, 13, 16, 18,
// 21, 24, 26, 29 of the cycle, k = 15 the same with 15 instead of 16.

// Rata Die of 16 July 622 (Julian), a Friday: 1 Muharram AH 1 of the civil reckoning; the
// astronomical (Thursday) reckoning starts a day earlier.
constexpr CivilDay kIslamicCivilEpoch = 227015 - kRataDieOf1970;

class TabularIslamicCalendar final : public YearCalendar {
 public:
  TabularIslamicCalendar(std::string_view identifier, CivilDay first, CivilDay last, CivilDay epoch,
                         int leapConstant)
      : YearCalendar(identifier, first, last), epoch_(epoch), k_(leapConstant) {
    for (int year = 1; year <= 30; ++year) {
      leapBefore_[static_cast<std::size_t>(year)] =
          leapBefore_[static_cast<std::size_t>(year - 1)] + (isLeap(year) ? 1 : 0);
    }
  }

 protected:
  CivilDay newYear(int year) const override {
    const CivilDay before = year - 1;
    const CivilDay cycles = floorDiv(before, 30);
    const CivilDay rest = before - cycles * 30;
    return epoch_ + before * 354 + cycles * 11 + leapBefore_[static_cast<std::size_t>(rest)];
  }
  int estimateYear(CivilDay day) const override {
    return static_cast<int>(floorDiv((day - epoch_) * 30, 10631)) + 1;
  }
  bool layout(int year, YearLayout& out) const override {
    out.newYear = newYear(year);
    out.count = 12;
    for (int i = 0; i < 12; ++i) {
      out.months[i] = CalendarMonth{i + 1, false};
      out.lengths[i] = i % 2 == 0 ? 30 : 29;
    }
    if (isLeap(year)) out.lengths[11] = 30;
    return true;
  }

 private:
  bool isLeap(int year) const { return floorMod(11 * static_cast<CivilDay>(year) + k_, 30) < 11; }

  CivilDay epoch_;
  int k_;
  // Leap years among the first n years of a cycle.
  std::array<int, 31> leapBefore_{};
};

// ---- Indian national ------------------------------------------------------------------------
// Saka year s begins with 1 Chaitra on 22 March of Gregorian year s + 78 (21 March when that year
// is a leap year); Chaitra has 30 days (31 in a leap year), the next five months 31, the last six
// 30, so the year keeps step with the Gregorian one.

bool gregorianLeap(int year) {
  return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
}

class IndianCalendar final : public YearCalendar {
 public:
  using YearCalendar::YearCalendar;

 protected:
  CivilDay newYear(int year) const override {
    const int g = year + 78;
    return civilDayFromGregorian(g, 3, gregorianLeap(g) ? 21 : 22);
  }
  int estimateYear(CivilDay day) const override { return gregorianFromCivilDay(day).year - 78; }
  bool layout(int year, YearLayout& out) const override {
    out.newYear = newYear(year);
    out.count = 12;
    for (int i = 0; i < 12; ++i) {
      out.months[i] = CalendarMonth{i + 1, false};
      out.lengths[i] = i == 0 ? (gregorianLeap(year + 78) ? 31 : 30) : (i <= 5 ? 31 : 30);
    }
    return true;
  }
};

// ---- Persian --------------------------------------------------------------------------------
// Twelve months: six of 31 days, five of 30, Esfand 29 or 30. The year begins on Nowruz.

class PersianCalendar final : public YearCalendar {
 public:
  using YearCalendar::YearCalendar;

 protected:
  CivilDay newYear(int year) const override { return persianNewYear(year); }
  int estimateYear(CivilDay day) const override { return gregorianFromCivilDay(day).year - 621; }
  bool layout(int year, YearLayout& out) const override {
    out.newYear = persianNewYear(year);
    out.count = 12;
    for (int i = 0; i < 12; ++i) {
      out.months[i] = CalendarMonth{i + 1, false};
      out.lengths[i] = i < 6 ? 31 : 30;
    }
    out.lengths[11] = static_cast<int>(persianNewYear(year + 1) - out.newYear) - 336;
    return out.lengths[11] == 29 || out.lengths[11] == 30;
  }
};

}  // namespace

CivilDay persianArithmeticNewYear(int year) {
  // The 33-year rule: year y is leap when (25 y + 11) mod 33 < 8, i.e. when floor((8 y + 21) / 33)
  // grows from y to y + 1. Anchored at 1 Farvardin 1403 = 2024-03-20.
  auto leapCount = [](int y) { return floorDiv(8 * static_cast<CivilDay>(y) + 21, 33); };
  return civilDayFromGregorian(2024, 3, 20) + 365 * static_cast<CivilDay>(year - 1403) +
         leapCount(year) - leapCount(1403);
}

std::unique_ptr<AlternativeCalendar> makeHebrewCalendar(CivilDay first, CivilDay last) {
  return std::make_unique<HebrewCalendar>("hebcal", first, last);
}

std::unique_ptr<AlternativeCalendar> makeTabularIslamicCalendar(std::string_view identifier,
                                                                CivilDay first, CivilDay last,
                                                                bool thursdayEpoch,
                                                                int leapConstant) {
  return std::make_unique<TabularIslamicCalendar>(
      identifier, first, last, kIslamicCivilEpoch - (thursdayEpoch ? 1 : 0), leapConstant);
}

std::unique_ptr<AlternativeCalendar> makeIndianCalendar(CivilDay first, CivilDay last) {
  return std::make_unique<IndianCalendar>("shaka", first, last);
}

std::unique_ptr<AlternativeCalendar> makePersianCalendar(CivilDay first, CivilDay last) {
  return std::make_unique<PersianCalendar>("persian", first, last);
}

bool isHebrewLeapYear(int year) {
  return floorMod(7 * static_cast<CivilDay>(year) + 1, 19) < 7;
}

}  // namespace norvik::detail
