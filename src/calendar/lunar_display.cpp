#include "norvik/calendar/lunar_display.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "calendar/calendar_days.h"
#include "norvik/calendar/lunar_converter.h"
#include "norvik/calendar/solar_terms.h"

namespace norvik {
namespace {

constexpr std::array<std::string_view, 12> kMonthNames = {
    "正月", "二月", "三月", "四月", "五月", "六月", "七月", "八月", "九月", "十月", "冬月", "腊月",
};
constexpr std::array<std::string_view, 30> kDayNames = {
    "初一", "初二", "初三", "初四", "初五", "初六", "初七", "初八", "初九", "初十",
    "十一", "十二", "十三", "十四", "十五", "十六", "十七", "十八", "十九", "二十",
    "廿一", "廿二", "廿三", "廿四", "廿五", "廿六", "廿七", "廿八", "廿九", "三十",
};
constexpr std::array<std::string_view, 10> kDigits = {"零", "一", "二", "三", "四",
                                                      "五", "六", "七", "八", "九"};
constexpr std::array<std::string_view, 12> kZodiacYears = {
    "鼠年", "牛年", "虎年", "兔年", "龙年", "蛇年", "马年", "羊年", "猴年", "鸡年", "狗年", "猪年",
};
// The stand-alone month names of the Chinese calendar in zh_CN ("LLLL"); leap months take "闰".
constexpr std::array<std::string_view, 12> kStandaloneMonthNames = {
    "正月", "二月", "三月", "四月", "五月",   "六月",
    "七月", "八月", "九月", "十月", "十一月", "腊月",
};

int floorMod(int a, int n) {
  const int r = a % n;
  return r < 0 ? r + n : r;
}

// The civil day whose lunar date the texts show (see the header's re-anchoring). The day the date
// names in the given calendar is its Gregorian civil day in that calendar's zone, whatever the
// calendar's type: every calendar ICU offers changes its day at local midnight.
std::optional<CivilDay> displayDay(platform::Date date,
                                   const std::optional<platform::Calendar>& calendar) {
  if (!std::isfinite(date.timeIntervalSince1970())) return std::nullopt;
  const platform::TimeZone current = platform::TimeZone::current();
  if (calendar) {
    const platform::TimeZone zone = calendar->timeZone();
    const platform::Date now = platform::Date::now();
    if (detail::cachedSecondsFromGMT(zone, now) != detail::cachedSecondsFromGMT(current, now)) {
      return detail::civilDayInZone(zone, date);
    }
  }
  return detail::civilDayInZone(current, date);
}

std::optional<LunarDate> lunarOfDay(std::optional<CivilDay> day) {
  if (!day) return std::nullopt;
  std::optional<LunarDate> lunar = chineseLunarDateOfCivilDay(*day);
  if (!lunar || lunar->month < 1 || lunar->month > 12 || lunar->day < 1 || lunar->day > 30) {
    return std::nullopt;
  }
  return lunar;
}

// Name lists indexed by a month 1..12 or a day 1..30, which lunarOfDay and the grid's check
// guarantee.
std::string_view monthName(int month) {
  return kMonthNames[static_cast<std::size_t>(month - 1)];
}
std::string_view dayName(int day) {
  return kDayNames[static_cast<std::size_t>(day - 1)];
}

int daysInGregorianMonth(int year, int month) {
  static constexpr std::array<int, 12> kDays = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return month == 2 && leap ? 29 : kDays[static_cast<std::size_t>(month - 1)];
}

// The lunar festivals by lunar month and day, 除夕 aside (that one depends on the next day).
constexpr std::array<std::array<std::string_view, 31>, 13> kLunarFestivals = [] {
  std::array<std::array<std::string_view, 31>, 13> table{};
  table[1][15] = "元宵";
  table[1][1] = "春节";
  table[5][5] = "端午节";
  table[7][15] = "中元节";
  table[7][7] = "七夕";
  table[8][15] = "中秋节";
  table[9][9] = "重阳节";
  table[12][23] = "北方小年";
  table[12][24] = "南方小年";
  return table;
}();

// The lunar festival of a lunar month 1..12 and day 1..30 (empty for none).
std::string_view lunarFestivalText(int m, int d) {
  return kLunarFestivals[static_cast<std::size_t>(m)][static_cast<std::size_t>(d)];
}

// The lunar festival of a day, given its lunar date and the next day's.
std::string_view lunarFestivalText(const std::optional<LunarDate>& lunar,
                                   const std::optional<LunarDate>& next) {
  if (next && next->month == 1 && next->day == 1) return "除夕";
  if (!lunar) return {};
  return lunarFestivalText(lunar->month, lunar->day);
}

// The n-th target weekday of the month by the week rule (see the header).
bool weekRule(int day, int weekday, int target, int n) {
  const int firstWeekday = floorMod(weekday - 1 - (day - 1), 7) + 1;
  const int o = floorMod(target - firstWeekday + 7, 7);
  if (o == 0) return day >= 7 * (n - 1) + 1 && day <= 7 * n;
  return day >= 8 - o && day >= 7 * n + 1 - o && day <= 7 * n + 7 - o;
}

// The solar term the shared table has on a civil day; empty for none.
std::string_view solarTermText(CivilDay day) {
  const auto terms = NVSolarTermsManager::sharedManager().solarTermsBetween(day, day);
  return terms.empty() ? std::string_view() : std::string_view(terms.front().second);
}

// The Gregorian days with a festival of their own, by month and day: a fixed text, a text unless
// the day has a lunar festival (14 February, 10 September), or the days (3-6 April) on which the
// solar term (Qingming) is shown.
enum class FixedKind : std::uint8_t { none, text, unlessLunar, solarTerm };
struct FixedFestival {
  FixedKind kind = FixedKind::none;
  std::string_view text;
};
constexpr std::array<std::array<FixedFestival, 32>, 13> kFixedFestivals = [] {
  std::array<std::array<FixedFestival, 32>, 13> table{};
  auto set = [&](int m, int d, FixedKind kind, std::string_view text) {
    table[static_cast<std::size_t>(m)][static_cast<std::size_t>(d)] = FixedFestival{kind, text};
  };
  set(1, 1, FixedKind::text, "元旦");
  set(2, 14, FixedKind::unlessLunar, "情人节");
  set(3, 8, FixedKind::text, "妇女节");
  set(4, 1, FixedKind::text, "愚人节");
  set(5, 1, FixedKind::text, "劳动节");
  set(6, 1, FixedKind::text, "儿童节");
  set(7, 1, FixedKind::text, "建党节");
  set(8, 1, FixedKind::text, "建军节");
  set(9, 10, FixedKind::unlessLunar, "教师节");
  set(10, 1, FixedKind::text, "国庆节");
  set(10, 31, FixedKind::text, "万圣夜");
  set(12, 24, FixedKind::text, "平安夜");
  set(12, 25, FixedKind::text, "圣诞节");
  for (int d = 3; d <= 6; ++d) set(4, d, FixedKind::solarTerm, {});
  return table;
}();

// The Chinese-mode festival text of a Gregorian day with its weekday, in the order of the rules:
// the fixed dates, Mother's Day, Father's Day and Thanksgiving by the week rule, the solar term of
// 3-6 April, then the lunar festival. `term()` gives the day's solar term and `lunarFestival()` its
// lunar festival, each asked only when the rules need it.
template <typename Term, typename LunarFestival>
std::string_view chineseFestivalText(const GregorianDate& g, int w, const Term& term,
                                     const LunarFestival& lunarFestival) {
  const int m = g.month;
  const int d = g.day;
  const FixedFestival& fixed =
      kFixedFestivals[static_cast<std::size_t>(m)][static_cast<std::size_t>(d)];
  if (fixed.kind == FixedKind::text) return fixed.text;
  if (fixed.kind == FixedKind::unlessLunar) {
    const std::string_view lunar = lunarFestival();
    return lunar.empty() ? fixed.text : lunar;
  }
  if (w == 1 && m == 5 && weekRule(d, w, 1, 2)) return "母亲节";
  if (w == 1 && m == 6 && weekRule(d, w, 1, 3)) return "父亲节";
  if (w == 5 && m == 11 && weekRule(d, w, 5, 4)) return "感恩节";
  if (fixed.kind == FixedKind::solarTerm) {
    const std::string_view name = term();
    if (!name.empty()) return name;
  }
  return lunarFestival();
}

// The day-cell text of a lunar date; `term()` gives the day's solar term.
template <typename Term>
std::string_view dayCellText(const LunarDate& lunar, bool solarTerm,
                             bool monthFirstDayShowMonthString, const Term& term) {
  if (lunar.day == 1 && monthFirstDayShowMonthString) return monthName(lunar.month);
  if (solarTerm) {
    const std::string_view name = term();
    if (!name.empty()) return name;
  }
  return dayName(lunar.day);
}

// The lunar year number in Chinese digits: the last digit is prepended while the rest is above
// 10, then the rest if it is a single digit (a rest of exactly 10 adds nothing).
std::string chineseYearNumber(int value) {
  std::string text;
  while (value > 10) {
    text.insert(0, kDigits[static_cast<std::size_t>(value % 10)]);
    value /= 10;
  }
  if (value < 10) text.insert(0, kDigits[static_cast<std::size_t>(value)]);
  return text;
}

std::string standaloneMonthText(const LunarDate& lunar) {
  std::string text = lunar.isLeapMonth ? "闰" : "";
  if (lunar.month >= 1 && lunar.month <= 12) {
    text += kStandaloneMonthNames[static_cast<std::size_t>(lunar.month - 1)];
  }
  return text;
}

std::string dayText(const LunarDate& lunar) {
  return convertToChineseDay(lunar.day);
}

// Lunar year of the Gregorian day of the date by the table converter; 0 outside its range.
int tableLunarYear(platform::Date date) {
  const std::optional<detail::CalendarDay> day =
      detail::calendarDay(platform::Calendar::currentGregorian(), date);
  if (!day) return 0;
  return solar_to_lunar(day->year, day->month, day->day).year;
}

}  // namespace

std::string convertToChineseMonth(int month) {
  if (month < 1 || month > 12) return {};
  return std::string(kMonthNames[static_cast<std::size_t>(month - 1)]);
}

std::string convertToChineseDay(int day) {
  if (day < 1 || day > 30) return {};
  return std::string(kDayNames[static_cast<std::size_t>(day - 1)]);
}

std::optional<LunarDate> lunarDateForDisplay(platform::Date date,
                                             const std::optional<platform::Calendar>& calendar) {
  return lunarOfDay(displayDay(date, calendar));
}

std::string displayMonthDayInLunarCalendar(platform::Date date,
                                           const std::optional<platform::Calendar>& calendar) {
  const std::optional<LunarDate> lunar = lunarDateForDisplay(date, calendar);
  if (!lunar) return {};
  std::string text(monthName(lunar->month));
  text += dayName(lunar->day);
  return text;
}

std::string displayMonthDayInLunarCalendar(const ReferenceDate& date,
                                           const std::optional<platform::Calendar>& calendar) {
  return date ? displayMonthDayInLunarCalendar(*date, calendar) : std::string();
}

std::string displayDayInLunarCalendar(platform::Date date,
                                      const std::optional<platform::Calendar>& calendar) {
  const std::optional<LunarDate> lunar = lunarDateForDisplay(date, calendar);
  return lunar ? std::string(dayName(lunar->day)) : std::string();
}

std::string displayDayInLunarCalendar(const ReferenceDate& date,
                                      const std::optional<platform::Calendar>& calendar) {
  return date ? displayDayInLunarCalendar(*date, calendar) : std::string();
}

std::string dayStringInLunarCalendar(platform::Date date,
                                     const std::optional<platform::Calendar>& calendar,
                                     bool solarTerm, bool monthFirstDayShowMonthString) {
  const std::optional<CivilDay> day = displayDay(date, calendar);
  const std::optional<LunarDate> lunar = lunarOfDay(day);
  if (!lunar) return {};
  return std::string(dayCellText(*lunar, solarTerm, monthFirstDayShowMonthString,
                                 [&] { return solarTermText(*day); }));
}

std::optional<std::string> festivalInLunarCalendar(
    platform::Date date, const std::optional<platform::Calendar>& calendar) {
  const std::optional<CivilDay> day = displayDay(date, calendar);
  if (!day) return std::nullopt;
  const std::string_view name = lunarFestivalText(lunarOfDay(day), lunarOfDay(*day + 1));
  if (name.empty()) return std::nullopt;
  return std::string(name);
}

std::string festivalOrLunarCalendar(platform::Date date, FestivalMode mode, int /*weekStart*/,
                                    const std::optional<platform::Calendar>& calendar,
                                    const HolidayNameBlock& holidayNameBlock) {
  if (mode == FestivalMode::none) return {};
  const platform::Calendar cal = calendar ? *calendar : platform::Calendar::autoupdatingCurrent();
  const std::optional<detail::CalendarDay> day = detail::calendarDay(cal, date);
  if (!day) return {};
  if (mode == FestivalMode::japanese) {
    if (!holidayNameBlock) return {};
    std::optional<std::string> name = holidayNameBlock(date, cal.timeZone());
    return name && !name->empty() ? *name : std::string();
  }
  const GregorianDate g{day->year, day->month, day->day};
  const CivilDay civil = civilDayFromGregorian(g.year, g.month, g.day);
  // The autoupdating calendar has the current zone's offset: no re-anchoring to do.
  std::optional<std::string> lunar;
  return std::string(chineseFestivalText(
      g, day->weekday, [&] { return solarTermText(civil); },
      [&] {
        if (!lunar) lunar = festivalInLunarCalendar(date, calendar).value_or("");
        return std::string_view(*lunar);
      }));
}

LunarMonthGrid lunarMonthGrid(int year, int month, int firstWeekday, bool solarTerm,
                              bool monthFirstDayShowMonthString) {
  if (firstWeekday < 1 || firstWeekday > 7) firstWeekday = 1;
  const CivilDay first = civilDayFromGregorian(year, month, 1);
  const CivilDay start = first - floorMod(detail::weekdayOfCivilDay(first) - firstWeekday, 7);
  // The lunar dates of the 42 days and the one after (for 除夕), walked through the table; a
  // month 0 marks a day without one.
  std::array<LunarDate, kLunarGridCellCount + 1> lunar;
  chineseLunarDatesOfDays(start, lunar);
  for (LunarDate& date : lunar) {
    if (date.month < 1 || date.month > 12 || date.day < 1 || date.day > 30) date.month = 0;
  }
  // The solar terms inside the grid, walked in day order beside the cells.
  const std::span<const NVSolarTermsManager::DayTerm> terms =
      NVSolarTermsManager::sharedManager().solarTermsBetween(start,
                                                             start + kLunarGridCellCount - 1);
  auto nextTerm = terms.begin();
  GregorianDate g = gregorianFromCivilDay(start);
  int weekday = detail::weekdayOfCivilDay(start);
  int monthLength = daysInGregorianMonth(g.year, g.month);
  LunarMonthGrid grid;
  for (std::size_t k = 0; k < grid.size(); ++k) {
    const CivilDay day = start + static_cast<CivilDay>(k);
    std::string_view term;
    if (nextTerm != terms.end() && nextTerm->first == day) term = (nextTerm++)->second;
    auto termOfDay = [term] { return term; };
    const LunarDate& lunarDay = lunar[k];
    auto lunarFestival = [&] {
      const LunarDate& next = lunar[k + 1];
      if (next.month == 1 && next.day == 1) return std::string_view("除夕");
      return lunarDay.month ? lunarFestivalText(lunarDay.month, lunarDay.day) : std::string_view();
    };
    LunarGridCell& cell = grid[k];
    cell.day = day;
    if (lunarDay.month) {
      cell.dayText = dayCellText(lunarDay, solarTerm, monthFirstDayShowMonthString, termOfDay);
    }
    cell.festival = chineseFestivalText(g, weekday, termOfDay, lunarFestival);
    // The next day's Gregorian date and weekday.
    weekday = weekday == 7 ? 1 : weekday + 1;
    if (++g.day > monthLength) {
      g.day = 1;
      if (++g.month > 12) {
        g.month = 1;
        ++g.year;
      }
      monthLength = daysInGregorianMonth(g.year, g.month);
    }
  }
  return grid;
}

std::vector<std::string> years_lunar(platform::Date date, bool includeNumber, bool includeZodiac) {
  std::vector<std::string> texts;
  const std::optional<LunarDate> lunar = lunarDateForDisplay(date);
  if (!lunar) return texts;
  texts.push_back(sexagenaryYearName(lunar->year) + "年");
  if (includeNumber) {
    const int year = tableLunarYear(date);
    if (year > 0) {
      std::string number = chineseYearNumber(year);
      if (!number.empty()) texts.push_back(std::move(number));
    }
  }
  if (includeZodiac) {
    // Position 1..60 in the sexagenary cycle; the animal follows the branch.
    const int cycleYear = floorMod(lunar->year - 4, 60) + 1;
    texts.emplace_back(kZodiacYears[static_cast<std::size_t>((cycleYear - 1) % 12)]);
  }
  return texts;
}

std::string monthDay_lunar(platform::Date date) {
  const std::optional<LunarDate> lunar = lunarDateForDisplay(date);
  if (!lunar) return {};
  return standaloneMonthText(*lunar) + dayText(*lunar);
}

std::string yearMonthDay_lunar(platform::Date date, bool includeNumber, bool needsSpaceInYear) {
  const std::optional<LunarDate> lunar = lunarDateForDisplay(date);
  if (!lunar) return {};
  std::string text = sexagenaryYearName(lunar->year) + "年";
  if (includeNumber) {
    text += '(';
    text += std::to_string(tableLunarYear(date));
    text += ')';
  } else if (needsSpaceInYear) {
    text += " ";
  }
  text += standaloneMonthText(*lunar);
  text += dayText(*lunar);
  return text;
}

}  // namespace norvik
