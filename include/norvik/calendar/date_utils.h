#pragma once
// NVDateUtils: day stamps (2024-03-05 is 20240305) and their dates, the "yyyy-MM-dd" day text, the
// localized ordinal of a day of the month, the short month names, the hour labels of the day
// timeline, and a same-day test that accepts absent dates.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "norvik/platform/date.h"

namespace norvik {

struct NVDateUtils {
  // year × 10000 + month × 100 + day of the date in the shared current Gregorian calendar (the
  // environment's time zone). 0 for a date the calendar cannot place (not finite).
  static std::int64_t stampOfDate(platform::Date date);
  // The stamp written with "%d" as a 32-bit integer ("20240305").
  static std::string stampStringOfDate(platform::Date date);
  // Midnight of the stamp's day. Only 10000000 <= stamp < 100010000 is accepted, else
  // std::nullopt. The day is built in the shared current Gregorian calendar when the year lies
  // within 100 years of the current Gregorian year (the single stamp 10000000 excepted), otherwise
  // in the shared auto-updating current calendar. A month or day past the end of its range rolls
  // over into the following months (20240230 is 1 March 2024); month 0 and day 0 roll back.
  static std::optional<platform::Date> dateOfStamp(std::int64_t stamp);
  // dateOfStamp() of the text's integer value: leading white space, an optional sign and the
  // digits up to the first other character; text without digits is 0 (and so gives nothing).
  static std::optional<platform::Date> dateOfStampString(std::string_view stamp);
  // "%04d-%02d-%02d" of the Gregorian year, month and day ("2024-03-05").
  static std::string yyyy_MM_ddFormatBy(platform::Date date);
  // The main bundle's translation of the ordinal key of the date's day of month in the shared
  // auto-updating current calendar: "the 1st" ... "the 30th", and "the 31st" for any other day.
  // An untranslated key gives the key itself.
  static std::string localizedStringFormatD(platform::Date date);
  // The localization key for day `day`: entry day − 1 of the thirty keys for 1 <= day <= 30,
  // otherwise "the 31st".
  static std::string_view ordinalDayKey(int day);

  // The twelve short month names ("Jan" ...) of the current locale in the auto-updating current
  // calendar, from the months of the year 2020. Built on first use and kept until
  // invalidShortMonths(), which is to be called when the language or the calendar changes.
  static std::vector<std::string> shortMonths();
  static void invalidShortMonths();

  // Hour label of the day timeline for 0 <= hour <= 24. On a 24-hour clock "%02d" ("07"; 24 is
  // "00"); on a 12-hour clock "12AM", "1AM" ... "11AM", "12PM", "1PM" ... "11PM", and 24 is
  // "12AM". The clock is platform::DateFormatter::uses24HourClock(). Other hours and minutes are
  // not checked: they are printed by the same rule (hour 25 is "25" or "13PM").
  static std::string formatTimeline(int hour);
  // The same with minutes: "07:30" / "7:30AM"; hour 24 with minute 0 is "00:00" / "12:00AM", and
  // other minutes of hour 24 follow the general rule ("24:30" / "12:30PM").
  static std::string formatTimeline(int hour, int minute);
  // The explicit-clock forms of the two above.
  static std::string formatTimeline(int hour, bool uses24Hour);
  static std::string formatTimeline(int hour, int minute, bool uses24Hour);

  // Both absent: true; one absent: false; equal: true; otherwise whether both fall on the same
  // day of the auto-updating current calendar.
  static bool isInSameDay(std::optional<platform::Date> date1, std::optional<platform::Date> date2);
};

}  // namespace norvik
