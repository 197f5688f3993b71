#include "norvik/calendar/date_utils.h"

#include <array>
#include <cctype>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <mutex>

#include "norvik/platform/bundle.h"
#include "norvik/platform/calendar.h"
#include "norvik/platform/date_formatter.h"
#include "norvik/platform/localized_string.h"

namespace norvik {

using platform::Calendar;
using platform::Date;
using platform::DateComponents;

namespace {

constexpr std::array<std::string_view, 30> kOrdinalDayKeys = {
    "the 1st",  "the 2nd",  "the 3rd",  "the 4th",  "the 5th",  "the 6th",  "the 7th",  "the 8th",
    "the 9th",  "the 10th", "the 11th", "the 12th", "the 13th", "the 14th", "the 15th", "the 16th",
    "the 17th", "the 18th", "the 19th", "the 20th", "the 21st", "the 22nd", "the 23rd", "the 24th",
    "the 25th", "the 26th", "the 27th", "the 28th", "the 29th", "the 30th"};
constexpr std::string_view kOrdinalDay31 = "the 31st";

constexpr std::int64_t kSmallestStamp = 10000000;
constexpr std::int64_t kStampLimit = 100010000;

// The short-month cache. Guarded by its mutex, so that a read on another thread than the main one
// is harmless, though callers keep to the main thread.
struct ShortMonthCache {
  std::mutex mutex;
  std::optional<std::vector<std::string>> months;
};

ShortMonthCache& shortMonthCache() {
  static ShortMonthCache cache;
  return cache;
}

std::string printed(const char* format, auto... values) {
  char buffer[64];
  int n = std::snprintf(buffer, sizeof buffer, format, values...);
  return n < 0 ? std::string() : std::string(buffer, std::min<std::size_t>(n, sizeof buffer - 1));
}

// "%04d-%02d-%02d" and the stamp both use the Gregorian year, month and day.
struct GregorianDay {
  int year = 0;
  int month = 0;
  int day = 0;
};

std::optional<GregorianDay> gregorianDay(Date date) {
  DateComponents components = Calendar::currentGregorian().components(date);
  if (!components.year || !components.month || !components.day) return std::nullopt;
  return GregorianDay{*components.year, *components.month, *components.day};
}

// The integer value of a text as the platform's string reads it: white space, a sign, digits.
std::int64_t integerValue(std::string_view text) {
  std::size_t i = 0;
  while (i < text.size() && std::isspace(static_cast<unsigned char>(text[i]))) ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
  std::int64_t value = 0;
  constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
  for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
    int digit = text[i] - '0';
    if (value > (kMax - digit) / 10) {
      return negative ? std::numeric_limits<std::int64_t>::min() : kMax;
    }
    value = value * 10 + digit;
  }
  return negative ? -value : value;
}

std::string timelineHour(int hour, int minute, bool withMinute, bool uses24Hour) {
  if (uses24Hour) {
    return withMinute ? printed("%02d:%02d", hour, minute) : printed("%02d", hour);
  }
  const char* suffix = hour < 12 ? "AM" : "PM";
  int shown = hour < 12 ? (hour == 0 ? 12 : hour) : (hour == 12 ? 12 : hour - 12);
  return withMinute ? printed("%d:%02d%s", shown, minute, suffix) : printed("%d%s", shown, suffix);
}

}  // namespace

std::int64_t NVDateUtils::stampOfDate(Date date) {
  auto day = gregorianDay(date);
  if (!day) return 0;
  return static_cast<std::int64_t>(day->year) * 10000 + day->month * 100 + day->day;
}

std::string NVDateUtils::stampStringOfDate(Date date) {
  // Written as a 32-bit integer, as the stamp's text form has always been.
  auto stamp = static_cast<std::int32_t>(static_cast<std::uint32_t>(stampOfDate(date)));
  return printed("%" PRId32, stamp);
}

std::optional<Date> NVDateUtils::dateOfStamp(std::int64_t stamp) {
  if (stamp < kSmallestStamp || stamp >= kStampLimit) return std::nullopt;
  int year = static_cast<int>(stamp / 10000);
  int month = static_cast<int>(stamp % 10000 / 100);
  int day = static_cast<int>(stamp % 100);

  Calendar calendar = Calendar::autoupdatingCurrent();
  if (stamp > kSmallestStamp) {
    Calendar gregorian = Calendar::currentGregorian();
    auto currentYear = gregorian.component(platform::CalendarUnit::year, Date::now());
    if (currentYear && std::abs(year - *currentYear) <= 100) calendar = gregorian;
  }

  DateComponents components;
  components.year = year;
  components.month = month;
  components.day = day;
  if (auto date = calendar.dateFromComponents(components)) return date;

  // Out-of-range months and days roll over from the first day of the year, month first.
  DateComponents first;
  first.year = year;
  first.month = 1;
  first.day = 1;
  auto start = calendar.dateFromComponents(first);
  if (!start) return std::nullopt;
  DateComponents offset;
  offset.month = month - 1;
  offset.day = day - 1;
  return calendar.dateByAdding(offset, *start);
}

std::optional<Date> NVDateUtils::dateOfStampString(std::string_view stamp) {
  return dateOfStamp(integerValue(stamp));
}

std::string NVDateUtils::yyyy_MM_ddFormatBy(Date date) {
  auto day = gregorianDay(date).value_or(GregorianDay{});
  return printed("%04d-%02d-%02d", day.year, day.month, day.day);
}

std::string_view NVDateUtils::ordinalDayKey(int day) {
  if (day >= 1 && day <= 30) return kOrdinalDayKeys[static_cast<std::size_t>(day - 1)];
  return kOrdinalDay31;
}

std::string NVDateUtils::localizedStringFormatD(Date date) {
  int day =
      Calendar::autoupdatingCurrent().component(platform::CalendarUnit::day, date).value_or(0);
  return platform::localizedString(ordinalDayKey(day), "");
}

std::vector<std::string> NVDateUtils::shortMonths() {
  ShortMonthCache& cache = shortMonthCache();
  std::lock_guard lock(cache.mutex);
  if (cache.months) return *cache.months;

  Calendar calendar = Calendar::autoupdatingCurrent();
  platform::DateFormatter formatter("MMM", platform::Locale::autoupdatingCurrent(), calendar);
  std::vector<std::string> months;
  DateComponents components;
  components.year = 2020;
  components.day = 1;
  for (int month = 1; month <= 12; ++month) {
    components.month = month;
    if (auto date = calendar.dateFromComponents(components)) {
      months.push_back(formatter.format(*date));
    }
  }
  cache.months = months;
  return months;
}

void NVDateUtils::invalidShortMonths() {
  ShortMonthCache& cache = shortMonthCache();
  std::lock_guard lock(cache.mutex);
  cache.months.reset();
}

std::string NVDateUtils::formatTimeline(int hour) {
  return formatTimeline(hour, platform::DateFormatter::uses24HourClock());
}

std::string NVDateUtils::formatTimeline(int hour, int minute) {
  return formatTimeline(hour, minute, platform::DateFormatter::uses24HourClock());
}

std::string NVDateUtils::formatTimeline(int hour, bool uses24Hour) {
  if (hour == 24) return uses24Hour ? "00" : "12AM";
  return timelineHour(hour, 0, false, uses24Hour);
}

std::string NVDateUtils::formatTimeline(int hour, int minute, bool uses24Hour) {
  if (hour == 24 && minute == 0) return uses24Hour ? "00:00" : "12:00AM";
  return timelineHour(hour, minute, true, uses24Hour);
}

bool NVDateUtils::isInSameDay(std::optional<Date> date1, std::optional<Date> date2) {
  if (!date1 && !date2) return true;
  if (!date1 || !date2) return false;
  if (*date1 == *date2) return true;
  return Calendar::autoupdatingCurrent().isDate(*date1, *date2);
}

}  // namespace norvik
