#pragma once
// The short Chinese texts shown under a day in calendar views: lunar month and day names, the
// lunar year (sexagenary name, number, zodiac animal), Chinese and Western festivals and solar
// terms. Texts are simplified Chinese whatever the user's language.
//
// Lunar month and day numbers are those of the Chinese calendar on the calendar day that the date
// names in the device's current time zone (computed astronomically, see lunisolar.h). Leap months
// are named like the ordinary month of the same number, except in the "LLLL" month texts, which
// mark them ("闰二月") as the platform's formatter does. The lunar year number comes from the table
// converter (solar_to_lunar). Solar terms come from NVSolarTermsManager::sharedManager().
//
// Re-anchoring: when a calendar is given and its time zone's offset from GMT now differs from that
// of the current time zone, the date is first moved to the day it names in that calendar (so a
// cell of a calendar shown in another zone gets the texts of its own day). That day is the civil
// (Gregorian) day in the calendar's zone whatever the calendar's type: a Persian, Buddhist,
// Japanese, Hebrew or Islamic calendar names the same day as a Gregorian one.
//
// All functions are callable from any thread. None throws; missing data gives the empty string.
#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "norvik/calendar/lunisolar.h"
#include "norvik/platform/calendar.h"
#include "norvik/platform/date.h"
#include "norvik/platform/time_zone.h"

namespace norvik {

// The reference date type: a shared, possibly null date (null gives the empty string).
using ReferenceDate = std::shared_ptr<const platform::Date>;

// Optional holiday names (the Japanese mode): given the date and the calendar's time zone, a name
// or std::nullopt.
using HolidayNameBlock =
    std::function<std::optional<std::string>(platform::Date date, const platform::TimeZone& zone)>;

// "正月" .. "腊月" for 1..12, "初一" .. "三十" for 1..30; the empty string for anything else.
std::string convertToChineseMonth(int month);
std::string convertToChineseDay(int day);

// Lunar month name then day name ("正月初一"); empty when the lunar date is unknown.
std::string displayMonthDayInLunarCalendar(
    platform::Date date, const std::optional<platform::Calendar>& calendar = std::nullopt);
std::string displayMonthDayInLunarCalendar(
    const ReferenceDate& date, const std::optional<platform::Calendar>& calendar = std::nullopt);
// The lunar day name alone ("廿一").
std::string displayDayInLunarCalendar(
    platform::Date date, const std::optional<platform::Calendar>& calendar = std::nullopt);
std::string displayDayInLunarCalendar(
    const ReferenceDate& date, const std::optional<platform::Calendar>& calendar = std::nullopt);

// The text of a day cell: the month name on lunar day 1 when `monthFirstDayShowMonthString`;
// otherwise the day's solar term when `solarTerm` and there is one; otherwise the day name.
std::string dayStringInLunarCalendar(platform::Date date,
                                     const std::optional<platform::Calendar>& calendar,
                                     bool solarTerm, bool monthFirstDayShowMonthString);

// "除夕" (the day before lunar 1/1), "元宵", "春节", "端午节", "中元节", "七夕", "中秋节",
// "重阳节", "北方小年", "南方小年", or std::nullopt.
std::optional<std::string> festivalInLunarCalendar(
    platform::Date date, const std::optional<platform::Calendar>& calendar = std::nullopt);

enum class FestivalMode {
  none,      // no festival texts
  chinese,   // Gregorian festivals, week-rule days, Qingming, then lunar festivals
  japanese,  // only the holiday name callback
};

// The festival text of a day cell in the given mode, or the empty string. `weekStart` is accepted
// and not used. The Gregorian month, day and weekday are those of the date in the time zone of the
// calendar (else of the shared autoupdating current calendar), converted from the instant, never
// the calendar's own fields (a Persian current calendar still gives "国庆节" on 1 October).
// Mother's Day (second Sunday of May), Father's Day (third Sunday of June) and Thanksgiving (fourth
// Thursday of November) use a week rule that picks the week after when the month starts one to
// three days after the target weekday (May 2021: the 16th).
std::string festivalOrLunarCalendar(platform::Date date, FestivalMode mode, int weekStart,
                                    const std::optional<platform::Calendar>& calendar,
                                    const HolidayNameBlock& holidayNameBlock);

// The lunar year texts: the sexagenary year ("甲辰年"), then with `includeNumber` the lunar year
// number in Chinese digits ("二零二四"), then with `includeZodiac` the animal ("龙年").
std::vector<std::string> years_lunar(platform::Date date, bool includeNumber, bool includeZodiac);
// The month text ("LLLL": "正月", "闰二月", "十一月", "腊月") followed by the day name.
std::string monthDay_lunar(platform::Date date);
// "甲辰年(2024)正月初一" with `includeNumber`, "甲辰年 正月初一" with `needsSpaceInYear` alone,
// "甲辰年正月初一" with neither.
std::string yearMonthDay_lunar(platform::Date date, bool includeNumber, bool needsSpaceInYear);

// ---- The texts of a whole month view at once
// -----------------------------------------------------

// One cell of a month grid: a civil day (in the current time zone) and its two texts, equal to
// dayStringInLunarCalendar(noon of the day, std::nullopt, solarTerm, monthFirstDayShowMonthString)
// and festivalOrLunarCalendar(noon of the day, FestivalMode::chinese, ...) without a calendar.
// The views point into constant name lists and the shared solar-term table (NVSolarTermsManager;
// valid until its table is replaced).
struct LunarGridCell {
  CivilDay day = 0;
  std::string_view dayText;   // empty when the lunar date is unknown
  std::string_view festival;  // empty when none
};
inline constexpr int kLunarGridCellCount = 42;
using LunarMonthGrid = std::array<LunarGridCell, kLunarGridCellCount>;

// The 42 cells (six weeks) of the Gregorian month `year`-`month`, starting on the last
// `firstWeekday` (1 = Sunday .. 7 = Saturday; anything else counts as Sunday) on or before the
// 1st. Computed from a few table reads for the whole grid, with no calendar, formatter or
// allocation per cell. A month outside the lunar table's years gives the texts the per-day
// functions give (through the platform's Chinese calendar), or empty ones.
LunarMonthGrid lunarMonthGrid(int year, int month, int firstWeekday, bool solarTerm,
                              bool monthFirstDayShowMonthString);

// The lunar date behind these texts: the Chinese lunar date of the calendar day the date names in
// the current time zone, after re-anchoring to `calendar` as described above.
std::optional<LunarDate> lunarDateForDisplay(
    platform::Date date, const std::optional<platform::Calendar>& calendar = std::nullopt);

}  // namespace norvik
