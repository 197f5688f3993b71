// The official calendar: the kind of a day (through the static lookup, which also watches the
// override file, and on a table already in hand) beside a lunar day lookup, and a year of official
// working days from the occurrence engine beside a year of Monday-to-Friday days from libical.
#include <benchmark/benchmark.h>

#include "norvik/calendar/lunisolar.h"
#include "norvik/calendar/official_calendar.h"
#include "norvik/recurrence/recurrence_assistant.h"

namespace {

using norvik::CivilDay;
using norvik::NVOfficialCalendar;

// Days spread over published and projected years, 2004-01-01 onwards in steps of 37 days.
CivilDay dayAt(std::size_t i) {
  static const CivilDay first = norvik::civilDayFromGregorian(2004, 1, 1);
  return first + static_cast<CivilDay>((i * 37) % (30 * 365));
}

void BM_DayKind(benchmark::State& state) {
  std::size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(NVOfficialCalendar::dayOfCivilDay(dayAt(i++)));
}
BENCHMARK(BM_DayKind);

void BM_DayKindOnTable(benchmark::State& state) {
  const NVOfficialCalendar::Table& table = NVOfficialCalendar::current();
  std::size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(table.dayOfCivilDay(dayAt(i++)));
}
BENCHMARK(BM_DayKindOnTable);

// The anchor: the lunar date of a day from the month-start table.
void BM_LunarDay(benchmark::State& state) {
  std::size_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(norvik::chineseLunarDateOfCivilDay(dayAt(i++)));
}
BENCHMARK(BM_LunarDay);

// Every occurrence of 2024 (up to 262) of a rule started on 2024-01-01 09:00 UTC.
void yearOfOccurrences(benchmark::State& state, const char* rule) {
  norvik::SVSimpleRecurringObject object;
  object.setRuleString(rule);
  object.setFrom(norvik::SVRecurrenceFromDefault);
  const double start = static_cast<double>(norvik::civilDayFromGregorian(2024, 1, 1)) * 86400.0;
  object.setStartDate(norvik::platform::Date(start + 9 * 3600.0));
  object.setTimeZoneIdentifier("UTC");
  std::size_t count = 0;
  for (auto _ : state) {
    const auto dates = norvik::SVRecurrenceAssistant::occurrenceDatesForRecurringObject(
        object, norvik::platform::Date(start), 1000, true);
    count = dates.size();
    benchmark::DoNotOptimize(dates.data());
  }
  state.counters["occurrences"] = static_cast<double>(count);
}

void BM_YearOfOfficialWorkingDays(benchmark::State& state) {
  yearOfOccurrences(state, "FREQ=DAILY;UNTIL=20241231T235959Z;X-NV-OFFICIAL=WORKDAY");
}
BENCHMARK(BM_YearOfOfficialWorkingDays);

void BM_YearOfWeekdaysLibical(benchmark::State& state) {
  yearOfOccurrences(state, "FREQ=WEEKLY;UNTIL=20241231T235959Z;BYDAY=MO,TU,WE,TH,FR");
}
BENCHMARK(BM_YearOfWeekdaysLibical);

}  // namespace

BENCHMARK_MAIN();
