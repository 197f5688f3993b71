#pragma once
// The official calendar of mainland China: which days are statutory holidays, which weekend days
// are worked instead (调休), and the festival each of them belongs to.
//
// Published years come from "OfficialCalendar.txt" in the library's own bundle (the State
// Council's annual notices; the file's header documents its format and sources). A file of the
// same format in the application group's container, or at a path the host sets, replaces the
// years it holds and adds new ones; it is looked at again at most once a second (and whenever the
// environment changes), so a new notice is picked up without a restart. A file with any error is
// ignored as a whole and named in one log line.
//
// Years from 2025 to 2100 without a notice (those after the last published one) are projected
// from the calendar with the day counts of the regulation in force since 2025: 元旦 1 January; 春节
// the lunar new year's eve and the first three days of the year; 清明节 the day of the Qingming
// solar term; 劳动节 1-2 May; 端午节 the 5th of the 5th lunar month; 中秋节 the 15th of the 8th;
// 国庆节 1-3 October. Projected years have no adjusted working days. Other years without a notice
// (before 2025, after 2100) have no official days at all (every day is an ordinary working day or
// weekend).
//
// Lookups read one immutable table through an atomic pointer: a few nanoseconds on a table taken
// from current(), some more through the static functions, which also check for a changed file.
// Callable from any thread.
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "norvik/calendar/lunisolar.h"
#include "norvik/platform/calendar.h"
#include "norvik/platform/date.h"

namespace norvik {

enum class NVOfficialDayKind : std::uint8_t {
  ordinaryWorkingDay,  // Monday to Friday, no holiday
  ordinaryWeekend,     // Saturday or Sunday, no holiday, not worked
  statutoryHoliday,    // a day of an official holiday break (休)
  adjustedWorkingDay,  // a Saturday or Sunday worked instead of a holiday (班)
};

// Where a year's official days come from.
enum class NVOfficialYearStatus : std::uint8_t {
  none,       // no official days known (before the published years, after 2100)
  published,  // a notice: the built-in data or the override file
  projected,  // computed from the calendar, without adjusted working days
};

// "statutoryHoliday", "adjustedWorkingDay", ...; "published", "projected", "none".
std::string_view officialDayKindName(NVOfficialDayKind kind);
std::string_view officialYearStatusName(NVOfficialYearStatus status);

struct NVOfficialDay {
  NVOfficialDayKind kind = NVOfficialDayKind::ordinaryWorkingDay;
  // The festival of a holiday or an adjusted working day ("国庆节"); empty for ordinary days.
  // The text stays valid for the life of the process.
  std::string_view festival;

  // Official working day: an ordinary working day or an adjusted one.
  bool isWorkingDay() const {
    return kind == NVOfficialDayKind::ordinaryWorkingDay ||
           kind == NVOfficialDayKind::adjustedWorkingDay;
  }
  bool isHoliday() const { return kind == NVOfficialDayKind::statutoryHoliday; }
};

// The contents of one official-calendar file: per year (the notice's year), its entries.
struct NVOfficialCalendarEntry {
  CivilDay first = 0;
  CivilDay last = 0;    // inclusive
  bool holiday = true;  // false: adjusted working days
  std::string festival;
};
using NVOfficialCalendarYears = std::map<int, std::vector<NVOfficialCalendarEntry>>;

// Reads the text of an official-calendar file. On any error returns std::nullopt and, when
// `error` is given, sets it to "line N: <reason>" (an unknown kind, a date that does not exist, a
// range that ends before it starts or spans more than 60 days, an adjusted working day on a
// weekday, a day outside its section's year and the December before, a day given twice, an entry
// before the first section, a section given twice, a year outside 1950..2200, a missing
// festival, more than 60 festival names, more than 1 MB of text).
std::optional<NVOfficialCalendarYears> parseOfficialCalendar(std::string_view text,
                                                             std::string* error = nullptr);

class NVOfficialCalendar {
 public:
  // First and last year that can be projected.
  static constexpr int kFirstProjectedYear = 2025;
  static constexpr int kLastProjectedYear = 2100;

  // One immutable state of the official calendar.
  class Table {
   public:
    // Builds the table of the built-in years with the override's years replacing theirs.
    Table(const NVOfficialCalendarYears& builtIn, const NVOfficialCalendarYears& overrides);

    NVOfficialDay dayOfCivilDay(CivilDay day) const {
      const auto offset = static_cast<std::uint64_t>(day - base_);
      if (offset < codes_.size()) {
        if (const std::uint8_t code = codes_[offset]) {
          return {static_cast<NVOfficialDayKind>(code & 3), festivals_[code >> 2]};
        }
      }
      const int weekday = static_cast<int>((day % 7 + 11) % 7);  // 0 Sunday .. 6 Saturday
      return {weekday == 0 || weekday == 6 ? NVOfficialDayKind::ordinaryWeekend
                                           : NVOfficialDayKind::ordinaryWorkingDay,
              {}};
    }
    NVOfficialYearStatus yearStatus(int year) const;
    // First and last published year; 0 and 0 when none is.
    int firstPublishedYear() const { return firstPublished_; }
    int lastPublishedYear() const { return lastPublished_; }
    // The last civil day that can be a holiday; days after it are all ordinary.
    CivilDay lastDay() const { return base_ + static_cast<CivilDay>(codes_.size()) - 1; }

   private:
    void mark(CivilDay day, NVOfficialDayKind kind, std::string_view festival);
    void project(int year);
    CivilDay base_ = 0;
    int firstYear_ = 0;
    int firstPublished_ = 0;
    int lastPublished_ = 0;
    // Per day from base_: 0 ordinary, else kind in bits 0-1 and festival index in bits 2-7.
    std::vector<std::uint8_t> codes_;
    std::vector<NVOfficialYearStatus> status_;  // per year from firstYear_
    std::vector<std::string_view> festivals_;   // index 0 unused
  };

  // The table in force, after checking (at most once a second, and when the environment changed)
  // whether the override file changed. The reference stays valid for the life of the process.
  static const Table& current();

  // The official day of a civil day, of a Gregorian date (std::nullopt for a date that does not
  // exist), and of the calendar day on which an instant falls in `calendar`'s time zone (the
  // current calendar's when absent; a non-finite instant gives std::nullopt).
  static NVOfficialDay dayOfCivilDay(CivilDay day) { return current().dayOfCivilDay(day); }
  static std::optional<NVOfficialDay> dayOf(int year, int month, int day);
  static std::optional<NVOfficialDay> dayOfDate(
      platform::Date date, const std::optional<platform::Calendar>& calendar = std::nullopt);
  static NVOfficialYearStatus yearStatus(int year) { return current().yearStatus(year); }

  // The override file: the path the host set, else "OfficialCalendar.txt" in the application
  // group's container; empty when there is neither. A missing file is no error.
  static std::string overrideFilePath();
  // Sets (or with std::nullopt clears) the host's path; the next lookup reads it.
  static void setOverrideFilePath(std::optional<std::string> path);
  // Looks at the override file now instead of within the next second.
  static void reload();
};

}  // namespace norvik
