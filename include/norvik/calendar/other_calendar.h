#pragma once
// The alternative calendars a date or a repeat can be expressed in: Chinese lunar, Korean lunar,
// Vietnamese lunar, Hebrew, Hijri (civil, Kuwaiti tabular, Umm al-Qura), Persian and Indian
// national; conversion from and to Gregorian dates and the texts of a calendar day.
//
// Month numbering, the same in conversion, texts, recurrence rules (RFC 7529 "5L") and repair:
// - lunisolar calendars (Chinese, Korean, Vietnamese): the month's number 1..12; a leap month
//   carries the number of the month it follows and `leap` set (leap 4 comes after 4);
// - Hebrew: 1 Tishri ... 5 Shevat, 6 Adar (Adar II in a leap year), 7 Nisan ... 12 Elul; Adar I of
//   a leap year is month 5 with `leap` set ("5L");
// - Hijri, Persian, Indian: 1..12, never leap.
// Years are each calendar's own era year (AM, AH, AP, Saka); a lunisolar year is numbered like
// the Gregorian year in which its first month begins.
//
// The calendars are immutable process-wide objects: callable from any thread.
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "norvik/calendar/lunisolar.h"

namespace norvik {

// A date in an alternative calendar.
struct CalendarDate {
  int year = 0;
  int month = 0;
  int day = 0;
  bool leap = false;
  bool operator==(const CalendarDate&) const = default;
};

// One month of a calendar year: its number and leap flag (see the numbering above).
struct CalendarMonth {
  int month = 0;
  bool leap = false;
  bool operator==(const CalendarMonth&) const = default;
};

// One year of a calendar: the civil day it begins on, and its months in order with their lengths.
struct CalendarYearLayout {
  CivilDay firstDay = 0;
  int count = 0;  // months in the year (at most 13)
  CalendarMonth months[13];
  int lengths[13] = {};
};

// The arithmetic of one alternative calendar over civil days (days since 1970-01-01).
class AlternativeCalendar {
 public:
  virtual ~AlternativeCalendar() = default;
  // The calendar's type identifier (an NVCalendarDateType raw value such as "hebcal").
  virtual std::string_view identifier() const = 0;
  // The date of a civil day; std::nullopt outside the range the calendar can express.
  virtual std::optional<CalendarDate> dateOfCivilDay(CivilDay day) const = 0;
  // The civil day of a date; std::nullopt when the date does not exist (a day beyond its month's
  // length, a leap month the year does not have, a year out of range).
  virtual std::optional<CivilDay> civilDayOfDate(const CalendarDate& date) const = 0;
  // The months of a year in calendar order; empty when the year is out of range.
  virtual std::vector<CalendarMonth> monthsOfYear(int year) const = 0;
  // The number of days of a month; 0 when the year has no such month.
  virtual int daysInMonth(int year, int month, bool leap) const = 0;
  // The whole year at once; std::nullopt when the year is out of range or has more than 13
  // months. The default reads it month by month through the functions above.
  virtual std::optional<CalendarYearLayout> yearLayout(int year) const;
};

// The calendar of a type identifier ("lunar", "korean-lunar", "hijri", "hebcal", "shaka",
// "persian", "vietnam", "hijri-kuwaiti", "hijri-saudi"); nullptr for "" and any other text. The
// objects live as long as the process.
const AlternativeCalendar* alternativeCalendar(std::string_view identifier);

// ---- Services the host hands to the calendar module before first use ---------------------------

// Gregorian dates and civil days, as the host's Gregorian calendar counts them.
class KMADateConvert {
 public:
  virtual ~KMADateConvert() = default;
  // The civil day of a proleptic Gregorian date; std::nullopt when the date does not exist
  // (month outside 1..12, day beyond the month's length).
  virtual std::optional<CivilDay> civilDayOfGregorian(int year, int month, int day) const;
  virtual GregorianDate gregorianOfCivilDay(CivilDay day) const;
};

// Locale services for calendar texts.
class KMAConvert {
 public:
  virtual ~KMAConvert() = default;
  // The ICU locale identifier of a text-locale code ("zh-rCN" -> "zh_Hans_CN", "iw" -> "he");
  // "en" for an unknown code.
  virtual std::string localeIdentifier(std::string_view textLocale) const;
};

enum class KMALogLevel { debug, info, warning, error };

// A sink for the calendar module's own reports.
class KMALogger {
 public:
  virtual ~KMALogger() = default;
  virtual void log(KMALogLevel level, std::string_view message) = 0;
};

// The wiring points. Each holder is shared by the whole process and guarded by its own lock.
class KMACalendarWrapperUtils {
 public:
  static KMACalendarWrapperUtils& shared();
  std::shared_ptr<const KMADateConvert> dateConvert() const;
  void setDateConvert(std::shared_ptr<const KMADateConvert> convert);
  // Sets `convert` only when none is set; returns whether it did. One atomic step.
  bool setDateConvertIfUnset(std::shared_ptr<const KMADateConvert> convert);

 private:
  mutable std::mutex mutex_;
  std::shared_ptr<const KMADateConvert> dateConvert_;
};

class KMADarwinUtils {
 public:
  static KMADarwinUtils& shared();
  std::shared_ptr<const KMAConvert> convert() const;
  void setConvert(std::shared_ptr<const KMAConvert> convert);
  bool setConvertIfUnset(std::shared_ptr<const KMAConvert> convert);

 private:
  mutable std::mutex mutex_;
  std::shared_ptr<const KMAConvert> convert_;
};

class KMALog {
 public:
  static KMALog& shared();
  // A copy of the registered loggers.
  std::vector<std::shared_ptr<KMALogger>> logArray() const;
  void addLogger(std::shared_ptr<KMALogger> logger);
  // Adds `logger` only when none is registered; returns whether it did. One atomic step.
  bool addLoggerIfEmpty(std::shared_ptr<KMALogger> logger);
  // Hands a message to every registered logger.
  void log(KMALogLevel level, std::string_view message) const;

 private:
  mutable std::mutex mutex_;
  std::vector<std::shared_ptr<KMALogger>> loggers_;
};

// ---- The calendar module ------------------------------------------------------------------------

// Why a conversion failed.
struct KMAError {
  std::string description;
};

class KMAOtherCalendar {
 public:
  static const KMAOtherCalendar& shared();

  // The date in calendar `calendarType` (a type identifier) of the Gregorian date year-month-day.
  // std::nullopt, with `*error` set when `error` is not null, for an unknown type, a Gregorian
  // date that does not exist, a date outside the calendar's range, or a module whose date
  // converter has not been wired (KMACalendarWrapperUtils).
  std::optional<CalendarDate> gregorianToCalendarType(std::string_view calendarType, int year,
                                                      int month, int day,
                                                      KMAError* error = nullptr) const;
  // The Gregorian date of a date in calendar `calendarType`; std::nullopt and `*error` as above,
  // also when the date does not exist in that calendar.
  std::optional<GregorianDate> calendarTypeToGregorian(std::string_view calendarType,
                                                       const CalendarDate& date,
                                                       KMAError* error = nullptr) const;
  // The texts of a date in text locale `locale` (an NVCalendarTextLocale code; an unknown code
  // writes English): entry 0 the year, 1 the month, 2 the day. An empty list for an unknown type;
  // an empty text for a part the calendar does not have (a month 13, a leap month of a calendar
  // without leap months, a day 0).
  std::vector<std::string> formatCalendarType(std::string_view calendarType, int year, int month,
                                              int day, bool leap, std::string_view locale) const;
};

}  // namespace norvik
