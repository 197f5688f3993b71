#pragma once
// Parsers of command-line values shared by the commands: numbers, instants and calendar days.
// Each throws UsageError with a one-line reason on text it cannot read.
#include <charconv>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <string>
#include <string_view>
#include <type_traits>

#include "cli.h"
#include "norvik/calendar/lunisolar.h"
#include "norvik/platform/calendar.h"
#include "norvik/platform/date.h"

namespace norvik::cli {

// A whole or real number of type T, the whole text and nothing else; a real must be finite ("inf"
// and "nan" are refused).
template <class T>
T parseNumber(const std::string& text, const char* what) {
  T result{};
  auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), result);
  bool finite = true;
  if constexpr (std::is_floating_point_v<T>) finite = std::isfinite(result);
  if (text.empty() || ec != std::errc() || end != text.data() + text.size() || !finite) {
    throw UsageError("'" + text + "' is not " + what);
  }
  return result;
}

// Seconds since 1970, or a UTC time YYYY-MM-DDTHH:MM:SS[Z], or a UTC day YYYY-MM-DD.
inline platform::Date parseInstant(const std::string& text) {
  if (text.find('-', 1) == std::string::npos) {
    return platform::Date(parseNumber<double>(text, "a date"));
  }
  std::tm tm{};
  const char* end = strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S", &tm);
  if (!end) end = strptime(text.c_str(), "%Y-%m-%d", &tm);
  if (!end || (*end != '\0' && std::string_view(end) != "Z")) {
    throw UsageError("'" + text + "' is not a date (seconds since 1970 or YYYY-MM-DDTHH:MM:SSZ)");
  }
  return platform::Date(static_cast<double>(timegm(&tm)));
}

// YYYY-MM-DD as a day of the proleptic Gregorian calendar; 2024-02-30 is refused, not rolled over.
inline GregorianDate parseGregorianDay(const std::string& text) {
  int y = 0, m = 0, d = 0;
  char tail = 0;
  if (std::sscanf(text.c_str(), "%d-%d-%d%c", &y, &m, &d, &tail) != 3) {
    throw UsageError("'" + text + "' is not a date (YYYY-MM-DD)");
  }
  const GregorianDate day{y, m, d};
  if (m < 1 || m > 12 || d < 1 || gregorianFromCivilDay(civilDayFromGregorian(y, m, d)) != day) {
    throw UsageError("'" + text + "' is not a calendar date");
  }
  return day;
}

// The instant of a wall-clock time of a Gregorian day in the current time zone.
inline platform::Date localTimeOf(const GregorianDate& day, int hour, int minute,
                                  const std::string& text) {
  platform::DateComponents components;
  components.year = day.year;
  components.month = day.month;
  components.day = day.day;
  components.hour = hour;
  components.minute = minute;
  const auto date = platform::Calendar::currentGregorian().dateFromComponents(components);
  if (!date) throw UsageError("'" + text + "' is not a calendar date");
  return *date;
}

// Noon of YYYY-MM-DD in the current time zone, so that the day is the same in every calendar.
inline platform::Date parseLocalDay(const std::string& text) {
  return localTimeOf(parseGregorianDay(text), 12, 0, text);
}

// YYYY-MM-DD (midnight) or YYYY-MM-DDTHH:MM, local time in the current time zone.
inline platform::Date parseLocalDate(const std::string& text) {
  const std::size_t t = text.find('T');
  const GregorianDate day = parseGregorianDay(text.substr(0, t));
  if (t == std::string::npos) return localTimeOf(day, 0, 0, text);
  int hour = -1, minute = -1;
  char tail = 0;
  const std::string time = text.substr(t + 1);
  if (time.size() != 5 || std::sscanf(time.c_str(), "%2d:%2d%c", &hour, &minute, &tail) != 2 ||
      hour < 0 || hour > 23 || minute < 0 || minute > 59) {
    throw UsageError("'" + text + "' is not a date (YYYY-MM-DD or YYYY-MM-DDTHH:MM)");
  }
  return localTimeOf(day, hour, minute, text);
}

}  // namespace norvik::cli
