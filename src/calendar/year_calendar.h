#pragma once
// A calendar described year by year: where each year begins, and its months in order with their
// lengths. The conversions over civil days follow from that description; each calendar family
// only says how its years are built.
#include <optional>
#include <string>
#include <vector>

#include "calendar/alternative_calendars.h"

namespace norvik::detail {

// One year's months in calendar order.
struct YearLayout {
  CivilDay newYear = 0;
  int count = 0;
  CalendarMonth months[13];
  int lengths[13] = {};
};

class YearCalendar : public AlternativeCalendar {
 public:
  // Serves the civil days [firstDay, lastDay].
  YearCalendar(std::string_view identifier, CivilDay firstDay, CivilDay lastDay)
      : identifier_(identifier), first_(firstDay), last_(lastDay), serial_(nextSerial()) {}

  std::string_view identifier() const override { return identifier_; }
  std::optional<CalendarDate> dateOfCivilDay(CivilDay day) const override;
  std::optional<CivilDay> civilDayOfDate(const CalendarDate& date) const override;
  std::vector<CalendarMonth> monthsOfYear(int year) const override;
  int daysInMonth(int year, int month, bool leap) const override;
  std::optional<CalendarYearLayout> yearLayout(int year) const override;

 protected:
  // The first day of a year (any year near the served range).
  virtual CivilDay newYear(int year) const = 0;
  // The year whose new year is at or near the day (within one year).
  virtual int estimateYear(CivilDay day) const = 0;
  // The months of a year; false when the year cannot be described.
  virtual bool layout(int year, YearLayout& out) const = 0;

 private:
  // Whether some day of the year lies in the served range.
  bool inRange(const YearLayout& year) const;
  // layout() through a small per-thread memory of the years last described: a search asks for
  // the same few years again and again, and a lunar year costs a table decode (or astronomy).
  bool cachedLayout(int year, YearLayout& out) const;
  static unsigned long nextSerial();

  std::string identifier_;
  CivilDay first_;
  CivilDay last_;
  // Tells this calendar's years apart from another's in the per-thread memory, even when a
  // calendar is made at the address of one destroyed before.
  unsigned long serial_;
};

}  // namespace norvik::detail
