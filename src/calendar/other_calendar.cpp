// The registry of alternative calendars, the wiring points the host fills in, and the Gregorian
// conversions of KMAOtherCalendar. The texts (formatCalendarType) live in their own file.
#include "norvik/calendar/other_calendar.h"

#include <array>
#include <cstdio>
#include <string>

#include "calendar/alternative_calendars.h"

namespace norvik {
namespace {

std::string dateText(int year, int month, int day, bool leap = false) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%04d-%s%02d-%02d", year, leap ? "L" : "", month, day);
  return buffer;
}

void setError(KMAError* error, std::string description) {
  if (error) error->description = std::move(description);
}

struct Registry {
  std::array<std::unique_ptr<AlternativeCalendar>, 9> calendars;
};

const Registry& registry() {
  static const Registry instance = [] {
    Registry r;
    // The lunisolar calendars beyond their tables, and the arithmetic ones, serve 1800..2300.
    const CivilDay wideFirst = civilDayFromGregorian(1800, 1, 1);
    const CivilDay wideLast = civilDayFromGregorian(2300, 12, 31);
    r.calendars = {
        detail::makeChineseCalendar(wideFirst, wideLast),
        detail::makeKoreanCalendar(wideFirst, wideLast),
        detail::makeTabularIslamicCalendar("hijri", wideFirst, wideLast, false, 14),
        detail::makeHebrewCalendar(wideFirst, wideLast),
        detail::makeIndianCalendar(wideFirst, wideLast),
        detail::makePersianCalendar(wideFirst, wideLast),
        detail::makeVietnameseCalendar(),
        detail::makeTabularIslamicCalendar("hijri-kuwaiti", wideFirst, wideLast, true, 15),
        detail::makeUmmAlQuraCalendar(),
    };
    return r;
  }();
  return instance;
}

}  // namespace

std::optional<CalendarYearLayout> AlternativeCalendar::yearLayout(int year) const {
  const std::vector<CalendarMonth> months = monthsOfYear(year);
  if (months.empty() || months.size() > 13) return std::nullopt;
  const auto first = civilDayOfDate({year, months.front().month, 1, months.front().leap});
  if (!first) return std::nullopt;
  CalendarYearLayout layout;
  layout.firstDay = *first;
  for (const CalendarMonth& m : months) {
    const int length = daysInMonth(year, m.month, m.leap);
    if (length <= 0) return std::nullopt;
    layout.months[layout.count] = m;
    layout.lengths[layout.count++] = length;
  }
  return layout;
}

const AlternativeCalendar* alternativeCalendar(std::string_view identifier) {
  if (identifier.empty()) return nullptr;
  for (const auto& calendar : registry().calendars) {
    if (calendar && calendar->identifier() == identifier) return calendar.get();
  }
  return nullptr;
}

// ---- Default services -----------------------------------------------------------------------

std::optional<CivilDay> KMADateConvert::civilDayOfGregorian(int year, int month, int day) const {
  if (month < 1 || month > 12 || day < 1 || day > 31) return std::nullopt;
  const CivilDay civil = civilDayFromGregorian(year, month, day);
  // A day beyond the month's length rolls into the next month.
  if (!(gregorianFromCivilDay(civil) == GregorianDate{year, month, day})) return std::nullopt;
  return civil;
}

GregorianDate KMADateConvert::gregorianOfCivilDay(CivilDay day) const {
  return gregorianFromCivilDay(day);
}

// ---- Wiring points --------------------------------------------------------------------------

KMACalendarWrapperUtils& KMACalendarWrapperUtils::shared() {
  static KMACalendarWrapperUtils instance;
  return instance;
}

std::shared_ptr<const KMADateConvert> KMACalendarWrapperUtils::dateConvert() const {
  std::lock_guard lock(mutex_);
  return dateConvert_;
}

void KMACalendarWrapperUtils::setDateConvert(std::shared_ptr<const KMADateConvert> convert) {
  std::lock_guard lock(mutex_);
  dateConvert_ = std::move(convert);
}

bool KMACalendarWrapperUtils::setDateConvertIfUnset(std::shared_ptr<const KMADateConvert> convert) {
  std::lock_guard lock(mutex_);
  if (dateConvert_) return false;
  dateConvert_ = std::move(convert);
  return true;
}

KMADarwinUtils& KMADarwinUtils::shared() {
  static KMADarwinUtils instance;
  return instance;
}

std::shared_ptr<const KMAConvert> KMADarwinUtils::convert() const {
  std::lock_guard lock(mutex_);
  return convert_;
}

void KMADarwinUtils::setConvert(std::shared_ptr<const KMAConvert> convert) {
  std::lock_guard lock(mutex_);
  convert_ = std::move(convert);
}

bool KMADarwinUtils::setConvertIfUnset(std::shared_ptr<const KMAConvert> convert) {
  std::lock_guard lock(mutex_);
  if (convert_) return false;
  convert_ = std::move(convert);
  return true;
}

KMALog& KMALog::shared() {
  static KMALog instance;
  return instance;
}

std::vector<std::shared_ptr<KMALogger>> KMALog::logArray() const {
  std::lock_guard lock(mutex_);
  return loggers_;
}

void KMALog::addLogger(std::shared_ptr<KMALogger> logger) {
  if (!logger) return;
  std::lock_guard lock(mutex_);
  loggers_.push_back(std::move(logger));
}

bool KMALog::addLoggerIfEmpty(std::shared_ptr<KMALogger> logger) {
  if (!logger) return false;
  std::lock_guard lock(mutex_);
  if (!loggers_.empty()) return false;
  loggers_.push_back(std::move(logger));
  return true;
}

void KMALog::log(KMALogLevel level, std::string_view message) const {
  // Loggers are called outside the lock, so that one may log or register another.
  for (const auto& logger : logArray()) logger->log(level, message);
}

// ---- Conversion -----------------------------------------------------------------------------

const KMAOtherCalendar& KMAOtherCalendar::shared() {
  static const KMAOtherCalendar instance;
  return instance;
}

namespace {

// The calendar and the date converter for a conversion, or the reason there are none.
struct Conversion {
  const AlternativeCalendar* calendar = nullptr;
  std::shared_ptr<const KMADateConvert> convert;
};

std::optional<Conversion> prepare(std::string_view calendarType, KMAError* error) {
  Conversion c;
  c.calendar = alternativeCalendar(calendarType);
  if (!c.calendar) {
    setError(error, "unknown calendar type \"" + std::string(calendarType) + "\"");
    return std::nullopt;
  }
  c.convert = KMACalendarWrapperUtils::shared().dateConvert();
  if (!c.convert) {
    setError(error,
             "the calendar module is not wired: no date converter set in "
             "KMACalendarWrapperUtils");
    return std::nullopt;
  }
  return c;
}

}  // namespace

std::optional<CalendarDate> KMAOtherCalendar::gregorianToCalendarType(std::string_view calendarType,
                                                                      int year, int month, int day,
                                                                      KMAError* error) const {
  const std::optional<Conversion> c = prepare(calendarType, error);
  if (!c) return std::nullopt;
  const std::optional<CivilDay> civil = c->convert->civilDayOfGregorian(year, month, day);
  if (!civil) {
    setError(error, "no such Gregorian date " + dateText(year, month, day));
    return std::nullopt;
  }
  std::optional<CalendarDate> date = c->calendar->dateOfCivilDay(*civil);
  if (!date) {
    setError(error, "Gregorian " + dateText(year, month, day) + " is outside the range of the " +
                        std::string(calendarType) + " calendar");
  }
  return date;
}

std::optional<GregorianDate> KMAOtherCalendar::calendarTypeToGregorian(
    std::string_view calendarType, const CalendarDate& date, KMAError* error) const {
  const std::optional<Conversion> c = prepare(calendarType, error);
  if (!c) return std::nullopt;
  const std::optional<CivilDay> civil = c->calendar->civilDayOfDate(date);
  if (!civil) {
    const std::string text = dateText(date.year, date.month, date.day, date.leap);
    if (c->calendar->monthsOfYear(date.year).empty()) {
      setError(error, "year " + std::to_string(date.year) + " is outside the range of the " +
                          std::string(calendarType) + " calendar");
    } else {
      setError(error, "no such date in the " + std::string(calendarType) + " calendar: " + text);
    }
    return std::nullopt;
  }
  return c->convert->gregorianOfCivilDay(*civil);
}

}  // namespace norvik
