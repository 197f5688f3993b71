// The table converter and the lunar texts of a month grid against the same work done through
// ICU's Chinese calendar. BM_MonthGrid (the whole grid at once) against BM_MonthGridTextsICU is
// the ratio a month view gains; run with --benchmark_repetitions=5
// --benchmark_report_aggregates_only=true and compare the medians of one run.
#include <benchmark/benchmark.h>

#include <array>

#include "norvik/calendar/lunar_converter.h"
#include "norvik/calendar/lunar_display.h"
#include "norvik/calendar/lunisolar.h"
#include "norvik/calendar/solar_terms.h"
#include "norvik/platform/calendar.h"
#include "norvik/platform/date_formatter.h"
#include "norvik/platform/environment.h"

namespace {

using namespace norvik;
using namespace norvik::platform;

// Days spread over 1901..2099 so that no cache sees the same year twice in a row.
CivilDay spreadDay(std::int64_t i) {
  const CivilDay first = civilDayFromGregorian(1901, 3, 1);
  return first + (i * 7919) % 72000;
}

void useShanghai() {
  static bool done = [] {
    modifyEnvironment([](Environment& env) { env.timeZoneIdentifier = "Asia/Shanghai"; });
    return true;
  }();
  (void)done;
}

// ICU's Chinese calendar caches the new moons and solstices of every year it has worked out, for
// the life of the process. This measures the conversion an application pays the first time it
// shows a year: one day in each of 1901..2099, each year touched once, in a process where nothing
// has used ICU's Chinese calendar yet (so it is registered before every other ICU benchmark and is
// only meaningful in a run that includes it first).
void BM_ToLunarICUFirstOfYear(benchmark::State& state) {
  const Calendar chinese(CalendarIdentifier::chinese, *TimeZone::withSecondsFromGMT(28800),
                         Locale("zh_CN"));
  for (auto _ : state) {
    for (int year = 1901; year <= 2099; ++year) {
      const Date noon(static_cast<double>(civilDayFromGregorian(year, 6, 15)) * 86400.0 + 14400.0);
      benchmark::DoNotOptimize(chinese.components(noon));
    }
  }
  state.SetItemsProcessed(state.iterations() * 199);
}
BENCHMARK(BM_ToLunarICUFirstOfYear)->Iterations(1);

void BM_ToLunarTable(benchmark::State& state) {
  std::int64_t i = 0;
  for (auto _ : state) {
    const GregorianDate g = gregorianFromCivilDay(spreadDay(i++));
    benchmark::DoNotOptimize(solar_to_lunar(g.year, g.month, g.day));
  }
}
BENCHMARK(BM_ToLunarTable);

void BM_ToLunarICU(benchmark::State& state) {
  const Calendar chinese(CalendarIdentifier::chinese, *TimeZone::withSecondsFromGMT(28800),
                         Locale("zh_CN"));
  std::int64_t i = 0;
  for (auto _ : state) {
    const Date noon(static_cast<double>(spreadDay(i++)) * 86400.0 + 14400.0);
    benchmark::DoNotOptimize(chinese.components(noon));
  }
}
BENCHMARK(BM_ToLunarICU);

void BM_ComputedCalendarTableLookup(benchmark::State& state) {
  std::int64_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(chineseLunarDateOfCivilDay(spreadDay(i++)));
}
BENCHMARK(BM_ComputedCalendarTableLookup);

// The 42 cells of the grid of a month, starting on the Sunday on or before the 1st.
std::array<Date, 42> gridOf(std::int64_t monthIndex) {
  const int year = 1950 + static_cast<int>(monthIndex % 1800) / 12;
  const int month = static_cast<int>(monthIndex % 12) + 1;
  const CivilDay first = civilDayFromGregorian(year, month, 1);
  const CivilDay start = first - ((first + 4) % 7 + 7) % 7;
  std::array<Date, 42> cells{};
  for (std::size_t k = 0; k < cells.size(); ++k) {
    cells[k] =
        Date((static_cast<double>(start) + static_cast<double>(k)) * 86400.0 - 28800.0 + 43200.0);
  }
  return cells;
}

void BM_MonthGridTexts(benchmark::State& state) {
  useShanghai();
  NVSolarTermsManager::sharedManager();
  std::int64_t i = 0;
  for (auto _ : state) {
    for (const Date& date : gridOf(i++)) {
      benchmark::DoNotOptimize(dayStringInLunarCalendar(date, std::nullopt, true, true));
      benchmark::DoNotOptimize(
          festivalOrLunarCalendar(date, FestivalMode::chinese, 1, std::nullopt, nullptr));
    }
  }
  state.SetItemsProcessed(state.iterations() * 42);
}
BENCHMARK(BM_MonthGridTexts);

// The same 42 cells (days, texts and festivals) from lunarMonthGrid(): one table read and a walk.
void BM_MonthGrid(benchmark::State& state) {
  useShanghai();
  NVSolarTermsManager::sharedManager();
  std::int64_t i = 0;
  for (auto _ : state) {
    const int year = 1950 + static_cast<int>(i % 1800) / 12;
    const int month = static_cast<int>(i % 12) + 1;
    ++i;
    benchmark::DoNotOptimize(lunarMonthGrid(year, month, 1, true, true));
  }
  state.SetItemsProcessed(state.iterations() * kLunarGridCellCount);
}
BENCHMARK(BM_MonthGrid);

// The same texts computed the way a platform implementation does them: lunar numbers from ICU's
// Chinese calendar, Gregorian fields from ICU's Gregorian calendar, and the solar-term keys made
// by a "yyyy-MM-dd" date formatter for 1 January and for the day.
struct IcuGrid {
  Calendar chinese{CalendarIdentifier::chinese, *TimeZone::withIdentifier("Asia/Shanghai"),
                   Locale("zh_CN")};
  Calendar gregorian{CalendarIdentifier::gregorian, *TimeZone::withIdentifier("Asia/Shanghai"),
                     Locale("zh_CN")};
  DateFormatter keys{"yyyy-MM-dd", Locale("en_US_POSIX"), gregorian};
  const Dictionary& table = *NVSolarTermsManager::sharedManager().yearToSolarTerms();

  std::optional<std::string> solarTerm(Date date) const {
    DateComponents c = gregorian.components(date);
    c = DateComponents{.year = c.year, .month = 1, .day = 1};
    const std::optional<Date> january = gregorian.dateFromComponents(c);
    if (!january) return std::nullopt;
    auto year = table.find(keys.format(*january));
    if (year == table.end() || !year->second.dictionary()) return std::nullopt;
    auto term = year->second.dictionary()->find(keys.format(date));
    if (term == year->second.dictionary()->end() || !term->second.string()) return std::nullopt;
    return *term->second.string();
  }

  std::string dayString(Date date) const {
    const DateComponents c = chinese.components(date);
    if (!c.month || !c.day) return {};
    if (*c.day == 1) return convertToChineseMonth(*c.month);
    if (auto term = solarTerm(date)) return *term;
    return convertToChineseDay(*c.day);
  }

  std::optional<std::string> lunarFestival(Date date) const {
    const std::optional<Date> next = gregorian.dateByAdding(CalendarUnit::day, 1, date);
    const DateComponents n = chinese.components(next.value_or(date));
    if (n.month == 1 && n.day == 1) return "除夕";
    const DateComponents c = chinese.components(date);
    if (c.month == 1 && c.day == 15) return "元宵";
    if (c.month == 1 && c.day == 1) return "春节";
    if (c.month == 8 && c.day == 15) return "中秋节";
    return std::nullopt;
  }

  std::string festival(Date date) const {
    const DateComponents g = gregorian.components(date);
    if (g.month == 1 && g.day == 1) return "元旦";
    if (g.month == 10 && g.day == 1) return "国庆节";
    if (g.month == 5 && g.weekday == 1) {
      benchmark::DoNotOptimize(
          gregorian.component(CalendarUnit::weekday, gregorian.startOfMonth(date)));
    }
    if (g.month == 4 && g.day >= 3 && g.day <= 6) {
      if (auto term = solarTerm(date)) return *term;
    }
    return lunarFestival(date).value_or("");
  }
};

void BM_MonthGridTextsICU(benchmark::State& state) {
  useShanghai();
  const IcuGrid grid;
  std::int64_t i = 0;
  for (auto _ : state) {
    for (const Date& date : gridOf(i++)) {
      benchmark::DoNotOptimize(grid.dayString(date));
      benchmark::DoNotOptimize(grid.festival(date));
    }
  }
  state.SetItemsProcessed(state.iterations() * 42);
}
BENCHMARK(BM_MonthGridTextsICU);

}  // namespace

BENCHMARK_MAIN();
