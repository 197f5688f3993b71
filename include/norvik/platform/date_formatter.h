#pragma once
// Date formatting and parsing by ICU pattern ("yyyy-MM-dd", "U年", "LLLL", "EEE") or by skeleton
// ("MMMd", localized for the locale), in a locale, calendar and time zone; the calendar's month and
// weekday names; and the user's 12- or 24-hour clock.
//
// A DateFormatter is a value; its const member functions may be called from any number of threads
// at once. The ICU formatters behind it are built once per pattern, locale, calendar and time zone
// and cached, so making DateFormatter objects is cheap.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "norvik/platform/calendar.h"
#include "norvik/platform/date.h"
#include "norvik/platform/locale.h"
#include "norvik/platform/time_zone.h"

namespace norvik::platform {

class DateFormatter {
 public:
  // An empty pattern in the autoupdating current locale, with Calendar::autoupdatingCurrent() and
  // its time zone.
  DateFormatter();
  // The pattern in the locale; the calendar defaults to Calendar::autoupdatingCurrent().
  explicit DateFormatter(std::string_view pattern, Locale locale = Locale::autoupdatingCurrent());
  DateFormatter(std::string_view pattern, Locale locale, Calendar calendar);

  // The process-wide shared formatter settings: the locale given to adaptWithLocale() (else the
  // environment's current locale, followed as it changes), Calendar::autoupdatingCurrent() and its
  // time zone, and an empty pattern. Each call returns a copy to set a pattern on.
  static DateFormatter shared();
  // Makes shared() formatters use this locale (an autoupdating locale returns them to following
  // the environment).
  static void adaptWithLocale(const Locale& locale);

  // An ICU pattern. Setting it replaces a template set before.
  void setDateFormat(std::string_view pattern);
  // A skeleton ("MMMd", "yMMMEd", "jm"), turned into the locale's pattern each time the locale is
  // resolved ("MMM d" in en_US, "M月d日" in zh_CN).
  void setLocalizedDateFormatFromTemplate(std::string_view skeleton);
  void setLocale(const Locale& locale);
  void setCalendar(const Calendar& calendar);
  // The zone to format in; by default the calendar's. std::nullopt returns to the default.
  void setTimeZone(std::optional<TimeZone> timeZone);

  // The pattern in use: the one set, or the template's localized pattern.
  std::string dateFormat() const;
  Locale locale() const;
  Calendar calendar() const { return calendar_; }
  TimeZone timeZone() const;

  // The date as text; the empty string for a non-finite date, an empty pattern or a pattern ICU
  // rejects.
  std::string format(Date date) const;
  // The instant the whole text names in this formatter's pattern; std::nullopt when the text does
  // not match it.
  std::optional<Date> date(std::string_view text) const;

  // Month and weekday names of the formatter's calendar and locale. Months are in the calendar's
  // order; the Hebrew calendar has 14: Tishri (1) to Elul (13) with Adar I sixth and Adar seventh,
  // then "Adar II", the name month 7 takes in a leap year. Chinese lists have 12 names and no
  // leap-month forms. Weekdays start with Sunday. Empty when ICU has no data.
  std::vector<std::string> monthSymbols() const;                       // "January"
  std::vector<std::string> shortMonthSymbols() const;                  // "Jan"
  std::vector<std::string> standaloneMonthSymbols() const;             // "LLLL" forms
  std::vector<std::string> shortStandaloneMonthSymbols() const;        // "LLL" forms
  std::vector<std::string> weekdaySymbols() const;                     // "Sunday"
  std::vector<std::string> shortWeekdaySymbols() const;                // "Sun"
  std::vector<std::string> standaloneWeekdaySymbols() const;           // "cccc" forms
  std::vector<std::string> shortStandaloneWeekdaySymbols() const;      // "ccc" forms
  std::vector<std::string> veryShortStandaloneWeekdaySymbols() const;  // "ccccc" forms ("S")

  // The locale's pattern for a skeleton ("MMMd" gives "MMM d" in en_US and "d MMM" in en_GB);
  // the empty string for an empty or invalid skeleton.
  static std::string dateFormatFromTemplate(std::string_view skeleton, const Locale& locale);
  // Whether the locale writes times on a 24-hour clock (its preferred hour cycle).
  static bool localeUses24HourClock(const Locale& locale);
  // The user's clock: the environment's uses24HourClock when set, else the current locale's.
  static bool uses24HourClock();

 private:
  enum class Symbols {
    months,
    shortMonths,
    standaloneMonths,
    shortStandaloneMonths,
    weekdays,
    shortWeekdays,
    standaloneWeekdays,
    shortStandaloneWeekdays,
    veryShortStandaloneWeekdays,
  };
  std::vector<std::string> symbols(Symbols kind) const;
  std::string resolvedLocaleIdentifier() const;

  std::string pattern_;
  bool patternIsTemplate_ = false;
  Locale locale_ = Locale::autoupdatingCurrent();
  bool followsSharedLocale_ = false;
  Calendar calendar_ = Calendar::autoupdatingCurrent();
  std::optional<TimeZone> timeZone_;
};

}  // namespace norvik::platform
