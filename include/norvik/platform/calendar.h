#pragma once
// Calendars on ICU: the Gregorian calendar and the Chinese, Korean (dangi), Hebrew, Islamic,
// Persian and Indian national calendars, each in a time zone and locale. A Calendar turns instants
// into date components and back, adds components, and finds the starts of days, months and years.
//
// A Calendar is a value: copies are cheap and share their settings. Its const member functions may
// be called from any number of threads at once.

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "norvik/platform/date.h"
#include "norvik/platform/locale.h"
#include "norvik/platform/time_zone.h"

namespace norvik::detail {
struct CalendarConfig;
}

namespace norvik::platform {

enum class CalendarIdentifier {
  gregorian,
  chinese,
  dangi,  // the Korean lunisolar calendar
  hebrew,
  islamicCivil,      // "islamic-civil": arithmetic, Friday epoch
  islamicTabular,    // "islamic-tbla": arithmetic, Thursday (astronomical) epoch
  islamicUmmAlQura,  // "islamic-umalqura": the Saudi table
  persian,
  indian,  // the Indian national (Saka) calendar
  // The other calendars ICU offers, so that a locale such as "th_TH@calendar=buddhist" gets its
  // own calendar as the current one.
  buddhist,
  japanese,
  roc,  // the Republic of China (Minguo) calendar
  coptic,
  ethiopic,
  ethiopicAmeteAlem,  // "ethiopic-amete-alem"
  islamic,            // "islamic": ICU's astronomical approximation
  islamicRgsa,        // "islamic-rgsa"
  iso8601,            // Gregorian with ISO week rules
};

// The identifier's name as ICU writes it: "gregorian", "chinese", "dangi", "hebrew",
// "islamic-civil", "islamic-tbla", "islamic-umalqura", "persian", "indian", "buddhist",
// "japanese", "roc", "coptic", "ethiopic", "ethiopic-amete-alem", "islamic", "islamic-rgsa",
// "iso8601".
std::string_view calendarIdentifierName(CalendarIdentifier identifier);
// The identifier of such a name (exact, case-sensitive); std::nullopt for anything else.
std::optional<CalendarIdentifier> calendarIdentifierFromName(std::string_view name);

enum class CalendarUnit {
  era,
  year,
  month,
  day,
  hour,
  minute,
  second,
  nanosecond,
  weekday,
  weekdayOrdinal,
  weekOfYear,
  weekOfMonth,
  yearForWeekOfYear,
};

// The fields of a date in one calendar. Absent fields are unknown (in results) or take their
// defaults (when building a date: the first month, the first day, midnight).
//
// - era: 1 (AD) or 0 (BC) in the Gregorian calendar; in the Chinese and dangi calendars the
//   60-year cycle, with year the position 1..60 in that cycle (2024 is era 78, year 41).
// - month: 1-based. Chinese and dangi months are numbered 1..12, and a leap month carries the
//   number of the month it follows with isLeapMonth set. Hebrew months use ICU's fixed 1..13
//   numbering from Tishri (1) to Elul (13), in which Adar I is month 6 and Adar (Adar II in a leap
//   year) month 7; a common year has no month 6.
// - weekday: 1 = Sunday .. 7 = Saturday. weekdayOrdinal: the n-th such weekday in the month.
// - yearForWeekOfYear: the year that weekOfYear belongs to; in the Chinese and dangi calendars it
//   is the continuous year count (4661 for the Chinese year from February 2024), not the cycle
//   position.
struct DateComponents {
  std::optional<int> era{};
  std::optional<int> year{};
  std::optional<int> month{};
  std::optional<int> day{};
  std::optional<int> hour{};
  std::optional<int> minute{};
  std::optional<int> second{};
  std::optional<int> nanosecond{};
  std::optional<int> weekday{};
  std::optional<int> weekdayOrdinal{};
  std::optional<int> weekOfYear{};
  std::optional<int> weekOfMonth{};
  std::optional<int> yearForWeekOfYear{};
  std::optional<bool> isLeapMonth{};

  std::optional<int> value(CalendarUnit unit) const;
  void setValue(CalendarUnit unit, std::optional<int> value);
  bool operator==(const DateComponents&) const = default;
};

// A range of values: the first value and how many there are (days 1..29: {1, 29}).
struct CalendarRange {
  int location = 0;
  int length = 0;
  bool operator==(const CalendarRange&) const = default;
};

class Calendar {
 public:
  // The calendar in the environment's current time zone and locale (taken now, not followed).
  explicit Calendar(CalendarIdentifier identifier = CalendarIdentifier::gregorian);
  Calendar(CalendarIdentifier identifier, const TimeZone& timeZone, const Locale& locale);
  // A calendar by name (see calendarIdentifierName); std::nullopt for an unknown name.
  static std::optional<Calendar> withIdentifier(std::string_view name);

  // Process-wide shared calendars. Each follows the environment's time zone and locale whenever
  // they change, and uses the locale given to adaptWithLocale() instead of the environment's once
  // one is given. autoupdatingCurrent() is Gregorian unless the locale's "calendar" keyword names
  // one of the supported calendars.
  static Calendar autoupdatingCurrent();
  static Calendar currentGregorian();
  static Calendar sharedChinese();
  // Makes the shared calendars use this locale (an autoupdating locale returns them to following
  // the environment's locale).
  static void adaptWithLocale(const Locale& locale);

  CalendarIdentifier identifier() const;
  std::string_view identifierName() const { return calendarIdentifierName(identifier()); }
  TimeZone timeZone() const;
  Locale locale() const;
  // 1 = Sunday .. 7 = Saturday; by default the locale's region decides.
  int firstWeekday() const;
  // 1..7; by default the locale's region decides.
  int minimumDaysInFirstWeek() const;
  // True for the shared calendars while they follow the environment.
  bool isShared() const { return shared_ != SharedKind::none; }

  // Changing a shared calendar's copy detaches that copy: it keeps its settings from then on.
  // Values outside 1..7 are ignored.
  void setTimeZone(const TimeZone& timeZone);
  void setLocale(const Locale& locale);
  void setFirstWeekday(int weekday);
  void setMinimumDaysInFirstWeek(int days);

  // All fields of the instant; no field is set for a non-finite instant or one outside ICU's range.
  DateComponents components(Date date) const;
  // One field of the instant; std::nullopt where components() would leave it unset.
  std::optional<int> component(CalendarUnit unit, Date date) const;
  // The first instant with these components; std::nullopt for impossible components (30 February,
  // a leap month that the year does not have, hour 25, a week 60) or no year at all. A local time
  // that a daylight-saving change skips moves forward by the gap (02:30 becomes 03:30); a repeated
  // one takes its first occurrence. Without an era, the Chinese and dangi calendars take the cycle
  // of the current date; the others their current era.
  std::optional<Date> dateFromComponents(const DateComponents& components) const;
  // The instant moved by each component that is set, largest unit first. Adding days, weeks,
  // months or years keeps the local time of day across daylight-saving changes; the day is clamped
  // to the end of a shorter month. isLeapMonth is ignored. std::nullopt when the result is out of
  // range or the instant is not finite.
  std::optional<Date> dateByAdding(const DateComponents& components, Date date) const;
  std::optional<Date> dateByAdding(CalendarUnit unit, int value, Date date) const;

  // The first instant of the day, month or year containing the date (usually local midnight).
  // A non-finite date is returned unchanged.
  Date startOfDay(Date date) const;
  Date startOfMonth(Date date) const;
  Date startOfYear(Date date) const;
  // Whether two instants fall on the same day of this calendar.
  bool isDate(Date date, Date inSameDayAs) const;
  bool isDateInToday(Date date) const;

  // The days of the month containing the date ({1, 30}); std::nullopt for a non-finite date.
  std::optional<CalendarRange> rangeOfDaysInMonth(Date date) const;
  // The position (1-based) of the smaller unit within the larger one: day in week (counted from
  // firstWeekday), month or year; week in month or year; month in year (a Chinese leap month and
  // Hebrew Adar I count as months). Other pairs, or a non-finite date, give std::nullopt.
  std::optional<int> ordinality(CalendarUnit smaller, CalendarUnit larger, Date date) const;

  // Same calendar, time zone, locale and week rules, and both shared the same way.
  bool operator==(const Calendar& other) const;

 private:
  enum class SharedKind { none, autoupdatingCurrent, currentGregorian, chinese };
  explicit Calendar(SharedKind kind);
  std::shared_ptr<const detail::CalendarConfig> config() const;
  friend class DateFormatter;

  SharedKind shared_ = SharedKind::none;
  std::shared_ptr<const detail::CalendarConfig> config_;  // immutable; null for shared calendars
};

}  // namespace norvik::platform
