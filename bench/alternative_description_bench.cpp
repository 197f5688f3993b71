// Day texts and repeat descriptions on the other calendars: the conversion of an instant, the day
// text of a date per calendar, and the descriptions of a few typical rules.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "bench_support.h"
#include "norvik/calendar/calendar_types.h"
#include "norvik/platform/environment.h"
#include "norvik/recurrence/repeat_description.h"

namespace {

using namespace norvik;

// Noon UTC of days spread over 1950..2049, so that no cache sees the same month twice in a row.
platform::Date spreadNoon(std::int64_t i) {
  const double firstDay = -7305.0;  // 1950-01-01
  const double day = firstDay + static_cast<double>((i * 7919) % 36500);
  return platform::Date(day * 86400.0 + 43200.0);
}

// English in UTC with a private container (the chosen language is read from it), whatever the
// machine says.
void useFixedEnvironment() {
  static const bench::TempDirectory container;
  static const bool done = [] {
    platform::modifyEnvironment([](platform::Environment& env) {
      env.appGroupContainerDirectory = container.path();
      env.preferredLanguages = {"en-US"};
      env.localeIdentifier = "en_US";
      env.timeZoneIdentifier = "UTC";
    });
    return true;
  }();
  (void)done;
}

const NVCalendarDateTypePtr& typeArg(const benchmark::State& state) {
  return NVCalendarDateType::allCases()[static_cast<std::size_t>(state.range(0))];
}

void calendarArgs(benchmark::internal::Benchmark* bench) {
  for (int i = 1; i < 10; ++i) bench->Arg(i);
}

void BM_DayInCalendarType(benchmark::State& state) {
  useFixedEnvironment();
  const auto& type = typeArg(state);
  state.SetLabel(type->rawValue());
  std::int64_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(Repeat::dayInCalendarType(spreadNoon(i++), std::nullopt, type));
  }
}
BENCHMARK(BM_DayInCalendarType)->Apply(calendarArgs);

// The text a calendar cell shows: the day, or the month on the first day (second argument 0), or
// the month and day joined (1).
void BM_DayStringInCalendarType(benchmark::State& state) {
  useFixedEnvironment();
  const auto& type = typeArg(state);
  const bool showMonth = state.range(1) != 0;
  state.SetLabel(type->rawValue() + (showMonth ? " with month" : ""));
  std::int64_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(Repeat::dayStringInCalendarType(spreadNoon(i++), std::nullopt, type,
                                                             true, showMonth, true));
  }
}
BENCHMARK(BM_DayStringInCalendarType)->Apply([](benchmark::internal::Benchmark* bench) {
  for (int showMonth = 0; showMonth < 2; ++showMonth) {
    for (int i = 1; i < 10; ++i) bench->Args({i, showMonth});
  }
});

// The texts alone, of dates already converted.
void BM_DayStringInCalendarTypeYear(benchmark::State& state) {
  useFixedEnvironment();
  const auto& type = typeArg(state);
  state.SetLabel(type->rawValue());
  std::vector<CalendarDate> dates;
  for (std::int64_t i = 0; i < 1024; ++i) {
    dates.push_back(Repeat::dayInCalendarType(spreadNoon(i), std::nullopt, type));
  }
  std::size_t i = 0;
  for (auto _ : state) {
    const CalendarDate& d = dates[i++ % dates.size()];
    benchmark::DoNotOptimize(Repeat::dayStringInCalendarTypeYear(d.year, d.month, d.day, d.leap,
                                                                 std::nullopt, type, true, true));
  }
}
BENCHMARK(BM_DayStringInCalendarTypeYear)->Apply(calendarArgs);

void BM_GetCalendarTextLocal(benchmark::State& state) {
  useFixedEnvironment();
  for (auto _ : state) {
    benchmark::DoNotOptimize(Repeat::getCalendarTextLocal(NVCalendarDateType::HEBCAL()).get());
  }
}
BENCHMARK(BM_GetCalendarTextLocal);

const std::vector<std::string>& descriptionRules() {
  static const std::vector<std::string> rules = {
      "RSCALE=CHINESE;FREQ=YEARLY;BYMONTH=8;BYMONTHDAY=15",
      "RSCALE=CHINESE;FREQ=MONTHLY",
      "RSCALE=HEBREW;FREQ=YEARLY;BYMONTH=7;BYMONTHDAY=14",
      "RSCALE=ISLAMIC-UMALQURA;FREQ=MONTHLY;BYMONTHDAY=-1",
      "RSCALE=PERSIAN;FREQ=YEARLY",
  };
  return rules;
}

void BM_RepeatDescriptionWithLunarRRule(benchmark::State& state) {
  useFixedEnvironment();
  const std::string& text = descriptionRules()[static_cast<std::size_t>(state.range(0))];
  state.SetLabel(text);
  const auto rule = SVRecurrenceRule::ruleWithIcalString(text);
  if (!rule) {
    state.SkipWithError("rule does not parse");
    return;
  }
  std::int64_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(Repeat::repeatDescriptionWithLunarRRule(rule, spreadNoon(i++)));
  }
}
BENCHMARK(BM_RepeatDescriptionWithLunarRRule)->DenseRange(0, 4);

}  // namespace

BENCHMARK_MAIN();
