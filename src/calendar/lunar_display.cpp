#include "norvik/calendar/lunar_display.h"

#include <array>
#include <cmath>
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

// The civil day whose lunar date the texts show (see the header's re-anchoring).
std::optional<CivilDay> displayDay(platform::Date date,
                                   const std::optional<platform::Calendar>& calendar) {
  if (!std::isfinite(date.timeIntervalSince1970())) return std::nullopt;
  const platform::TimeZone current = platform::TimeZone::current();
  if (calendar) {
    const platform::Date now = platform::Date::now();
    if (detail::cachedSecondsFromGMT(calendar->timeZone(), now) !=
        detail::cachedSecondsFromGMT(current, now)) {
      const platform::Calendar currentCalendar = platform::Calendar::autoupdatingCurrent();
      if (calendar->identifier() == platform::CalendarIdentifier::gregorian &&
          currentCalendar.identifier() == platform::CalendarIdentifier::gregorian) {
        if (auto day = detail::calendarDay(*calendar, date)) {
          return civilDayFromGregorian(day->year, day->month, day->day);
        }
      } else {
        // The current calendar's fields with the given calendar's day, built back.
        platform::DateComponents fields = currentCalendar.components(date);
        const platform::DateComponents given = calendar->components(date);
        fields.era = given.era;
        fields.year = given.year;
        fields.month = given.month;
        fields.day = given.day;
        fields.weekday = given.weekday;
        if (auto moved = currentCalendar.dateFromComponents(fields)) date = *moved;
      }
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

// Name lists indexed by a month 1..12 or a day 1..30, which lunarOfDay guarantees.
std::string_view monthName(int month) {
  return kMonthNames.at(static_cast<std::size_t>(month - 1));
}
std::string_view dayName(int day) {
  return kDayNames.at(static_cast<std::size_t>(day - 1));
}

std::optional<std::string> lunarFestivalOfDay(CivilDay day) {
  const std::optional<LunarDate> next = lunarOfDay(day + 1);
  if (next && next->month == 1 && next->day == 1) return "除夕";
  const std::optional<LunarDate> lunar = lunarOfDay(day);
  if (!lunar) return std::nullopt;
  const int m = lunar->month;
  const int d = lunar->day;
  if (m == 1 && d == 15) return "元宵";
  if (m == 1 && d == 1) return "春节";
  if (m == 5 && d == 5) return "端午节";
  if (m == 7 && d == 15) return "中元节";
  if (m == 7 && d == 7) return "七夕";
  if (m == 8 && d == 15) return "中秋节";
  if (m == 9 && d == 9) return "重阳节";
  if (m == 12 && d == 23) return "北方小年";
  if (m == 12 && d == 24) return "南方小年";
  return std::nullopt;
}

// The n-th target weekday of the month by the week rule (see the header).
bool weekRule(int day, int weekday, int target, int n) {
  const int firstWeekday = floorMod(weekday - 1 - (day - 1), 7) + 1;
  const int o = floorMod(target - firstWeekday + 7, 7);
  if (o == 0) return day >= 7 * (n - 1) + 1 && day <= 7 * n;
  return day >= 8 - o && day >= 7 * n + 1 - o && day <= 7 * n + 7 - o;
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
  if (lunar->day == 1 && monthFirstDayShowMonthString) return std::string(monthName(lunar->month));
  if (solarTerm) {
    std::optional<std::string> term =
        NVSolarTermsManager::sharedManager().solarTermOfCivilDay(*day);
    if (term && !term->empty()) return *term;
  }
  return std::string(dayName(lunar->day));
}

std::optional<std::string> festivalInLunarCalendar(
    platform::Date date, const std::optional<platform::Calendar>& calendar) {
  const std::optional<CivilDay> day = displayDay(date, calendar);
  if (!day) return std::nullopt;
  return lunarFestivalOfDay(*day);
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
  const int m = day->month;
  const int d = day->day;
  const int w = day->weekday;
  // The autoupdating calendar has the current zone's offset: no re-anchoring to do.
  auto lunarFestival = [&]() { return festivalInLunarCalendar(date, calendar); };
  if (m == 1 && d == 1) return "元旦";
  if (m == 2 && d == 14) return lunarFestival().value_or("情人节");
  if (m == 3 && d == 8) return "妇女节";
  if (m == 4 && d == 1) return "愚人节";
  if (m == 5 && d == 1) return "劳动节";
  if (m == 6 && d == 1) return "儿童节";
  if (m == 7 && d == 1) return "建党节";
  if (m == 8 && d == 1) return "建军节";
  if (m == 9 && d == 10) return lunarFestival().value_or("教师节");
  if (m == 10 && d == 1) return "国庆节";
  if (m == 10 && d == 31) return "万圣夜";
  if (m == 12 && d == 24) return "平安夜";
  if (m == 12 && d == 25) return "圣诞节";
  if (m == 5 && w == 1 && weekRule(d, w, 1, 2)) return "母亲节";
  if (m == 6 && w == 1 && weekRule(d, w, 1, 3)) return "父亲节";
  if (m == 11 && w == 5 && weekRule(d, w, 5, 4)) return "感恩节";
  if (m == 4 && d >= 3 && d <= 6) {
    std::optional<std::string> term =
        NVSolarTermsManager::sharedManager().solarTermByDate(date, cal);
    if (term && !term->empty()) return *term;
  }
  return lunarFestival().value_or("");
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
