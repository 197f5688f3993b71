// The reference calendars: ICU's calendars read day by day, and the astronomical lunisolar engine.
// Both are slow; the library's fast calendars are generated from or checked against them.
#include <cmath>
#include <string>

#include "calendar/alternative_calendars.h"
#include "norvik/platform/locale.h"
#include "norvik/platform/time_zone.h"

namespace norvik::detail {
namespace {

using platform::CalendarIdentifier;

// ICU numbers the Chinese and dangi years by 60-year cycle and position (both calendars count the
// same cycles); the continuous count (cycle - 1) * 60 + position exceeds the Gregorian year of the
// lunar new year by this much.
constexpr int kCycleOffset = 2637;

bool isLunisolar(CalendarIdentifier id) {
  return id == CalendarIdentifier::chinese || id == CalendarIdentifier::dangi;
}

class IcuCalendar final : public AlternativeCalendar {
 public:
  IcuCalendar(std::string_view identifier, CalendarIdentifier icu, CivilDay first, CivilDay last)
      : identifier_(identifier),
        icu_(icu),
        calendar_(icu, platform::TimeZone::utc(), platform::Locale("en_US_POSIX")),
        first_(first),
        last_(last) {}

  std::string_view identifier() const override { return identifier_; }

  std::optional<CalendarDate> dateOfCivilDay(CivilDay day) const override {
    if (day < first_ || day > last_) return std::nullopt;
    return read(day);
  }

  std::optional<CivilDay> civilDayOfDate(const CalendarDate& date) const override {
    const std::optional<CivilDay> day = locate(date);
    if (!day || *day < first_ || *day > last_) return std::nullopt;
    return day;
  }

  std::vector<CalendarMonth> monthsOfYear(int year) const override {
    std::vector<CalendarMonth> months;
    std::optional<CivilDay> day = locate(CalendarDate{year, 1, 1, false});
    if (!day) return months;
    const CivilDay newYear = *day;
    while (true) {
      const std::optional<CalendarDate> date = read(*day);
      if (!date || date->year != year) break;
      months.push_back(CalendarMonth{date->month, date->leap});
      day = nextMonthStart(*day);
      if (!day || months.size() > 13) break;
    }
    if (!day || newYear > last_ || *day - 1 < first_) return {};
    return months;
  }

  // One walk over the year's months instead of a search per month.
  std::optional<CalendarYearLayout> yearLayout(int year) const override {
    std::optional<CivilDay> day = locate(CalendarDate{year, 1, 1, false});
    if (!day || *day > last_) return std::nullopt;
    CalendarYearLayout layout;
    layout.firstDay = *day;
    while (true) {
      const std::optional<CalendarDate> date = read(*day);
      if (!date || date->year != year) break;
      const std::optional<CivilDay> next = nextMonthStart(*day);
      if (!next || layout.count == 13) return std::nullopt;
      layout.months[layout.count] = CalendarMonth{date->month, date->leap};
      layout.lengths[layout.count++] = static_cast<int>(*next - *day);
      day = next;
    }
    if (layout.count == 0 || *day - 1 < first_) return std::nullopt;
    return layout;
  }

  int daysInMonth(int year, int month, bool leap) const override {
    const std::optional<CivilDay> start = locate(CalendarDate{year, month, 1, leap});
    if (!start) return 0;
    const std::optional<CivilDay> next = nextMonthStart(*start);
    if (!next || *start > last_ || *next - 1 < first_) return 0;
    return static_cast<int>(*next - *start);
  }

 private:
  std::optional<CalendarDate> read(CivilDay day) const {
    const platform::DateComponents c =
        calendar_.components(platform::Date(static_cast<double>(day) * 86400.0 + 43200.0));
    if (!c.year || !c.month || !c.day) return std::nullopt;
    CalendarDate date{*c.year, *c.month, *c.day, false};
    if (isLunisolar(icu_)) {
      if (!c.era) return std::nullopt;
      date.year = (*c.era - 1) * 60 + *c.year - kCycleOffset;
      date.leap = c.isLeapMonth.value_or(false);
    } else if (icu_ == CalendarIdentifier::hebrew) {
      // ICU: 6 Adar I, 7 Adar (II), 8 Nisan .. 13 Elul.
      if (date.month == 6) {
        date.month = 5;
        date.leap = true;
      } else if (date.month > 6) {
        --date.month;
      }
    }
    return date;
  }

  // The civil day of a date, unbounded; std::nullopt when the date does not exist.
  std::optional<CivilDay> locate(const CalendarDate& date) const {
    if (date.month < 1 || date.month > 12 || date.day < 1 || date.day > 31) return std::nullopt;
    if (date.year < -1000000 || date.year > 1000000) return std::nullopt;
    platform::DateComponents c;
    c.month = date.month;
    c.day = date.day;
    c.hour = 12;
    if (isLunisolar(icu_)) {
      const int continuous = date.year + kCycleOffset;
      c.era = (continuous - 1) / 60 + 1;
      c.year = (continuous - 1) % 60 + 1;
      c.isLeapMonth = date.leap;
    } else if (icu_ == CalendarIdentifier::hebrew) {
      c.year = date.year;
      if (date.leap && date.month != 5) return std::nullopt;
      c.month = date.leap ? 6 : (date.month <= 5 ? date.month : date.month + 1);
    } else {
      if (date.leap) return std::nullopt;
      c.year = date.year;
    }
    const std::optional<platform::Date> instant = calendar_.dateFromComponents(c);
    if (!instant) return std::nullopt;
    const CivilDay day =
        static_cast<CivilDay>(std::floor(instant->timeIntervalSince1970() / 86400.0));
    // ICU rolls impossible dates over (30 Heshvan of a short year becomes 1 Kislev): only a date
    // that reads back unchanged exists.
    const std::optional<CalendarDate> back = read(day);
    if (!back || !(*back == date)) return std::nullopt;
    return day;
  }

  std::optional<CivilDay> nextMonthStart(CivilDay start) const {
    for (CivilDay day = start + 28; day <= start + 32; ++day) {
      const std::optional<CalendarDate> date = read(day);
      if (!date) return std::nullopt;
      if (date->day == 1) return day;
    }
    return std::nullopt;
  }

  std::string identifier_;
  CalendarIdentifier icu_;
  platform::Calendar calendar_;
  CivilDay first_;
  CivilDay last_;
};

class EngineCalendar final : public AlternativeCalendar {
 public:
  EngineCalendar(std::string_view identifier, const LunisolarCalendar& engine)
      : identifier_(identifier), engine_(engine) {}

  std::string_view identifier() const override { return identifier_; }

  std::optional<CalendarDate> dateOfCivilDay(CivilDay day) const override {
    const LunarDate d = engine_.lunarDate(day);
    return CalendarDate{d.year, d.month, d.day, d.isLeapMonth};
  }

  std::optional<CivilDay> civilDayOfDate(const CalendarDate& date) const override {
    const std::vector<LunisolarMonth> months = engine_.monthsOfYear(date.year);
    for (std::size_t i = 0; i + 1 < months.size(); ++i) {
      if (months[i].number != date.month || months[i].isLeap != date.leap) continue;
      if (date.day < 1 || date.day > months[i + 1].startDay - months[i].startDay) break;
      return months[i].startDay + date.day - 1;
    }
    return std::nullopt;
  }

  std::vector<CalendarMonth> monthsOfYear(int year) const override {
    const std::vector<LunisolarMonth> months = engine_.monthsOfYear(year);
    std::vector<CalendarMonth> result;
    for (std::size_t i = 0; i + 1 < months.size(); ++i) {
      result.push_back(CalendarMonth{months[i].number, months[i].isLeap});
    }
    return result;
  }

  std::optional<CalendarYearLayout> yearLayout(int year) const override {
    const std::vector<LunisolarMonth> months = engine_.monthsOfYear(year);
    if (months.size() < 2 || months.size() > 14) return std::nullopt;
    CalendarYearLayout layout;
    layout.firstDay = months.front().startDay;
    for (std::size_t i = 0; i + 1 < months.size(); ++i) {
      layout.months[layout.count] = CalendarMonth{months[i].number, months[i].isLeap};
      layout.lengths[layout.count++] =
          static_cast<int>(months[i + 1].startDay - months[i].startDay);
    }
    return layout;
  }

  int daysInMonth(int year, int month, bool leap) const override {
    const std::vector<LunisolarMonth> months = engine_.monthsOfYear(year);
    for (std::size_t i = 0; i + 1 < months.size(); ++i) {
      if (months[i].number == month && months[i].isLeap == leap) {
        return static_cast<int>(months[i + 1].startDay - months[i].startDay);
      }
    }
    return 0;
  }

 private:
  std::string identifier_;
  LunisolarCalendar engine_;
};

}  // namespace

std::optional<CalendarIdentifier> icuCalendarOfType(std::string_view identifier) {
  if (identifier == "lunar") return CalendarIdentifier::chinese;
  if (identifier == "korean-lunar") return CalendarIdentifier::dangi;
  if (identifier == "hebcal") return CalendarIdentifier::hebrew;
  if (identifier == "hijri") return CalendarIdentifier::islamicCivil;
  if (identifier == "hijri-kuwaiti") return CalendarIdentifier::islamicTabular;
  if (identifier == "hijri-saudi") return CalendarIdentifier::islamicUmmAlQura;
  if (identifier == "persian") return CalendarIdentifier::persian;
  if (identifier == "shaka") return CalendarIdentifier::indian;
  return std::nullopt;
}

std::unique_ptr<AlternativeCalendar> makeIcuCalendar(std::string_view identifier, CivilDay firstDay,
                                                     CivilDay lastDay) {
  const std::optional<CalendarIdentifier> icu = icuCalendarOfType(identifier);
  if (!icu) return nullptr;
  return std::make_unique<IcuCalendar>(identifier, *icu, firstDay, lastDay);
}

std::unique_ptr<AlternativeCalendar> makeEngineCalendar(std::string_view identifier,
                                                        const LunisolarCalendar& engine) {
  return std::make_unique<EngineCalendar>(identifier, engine);
}

}  // namespace norvik::detail
