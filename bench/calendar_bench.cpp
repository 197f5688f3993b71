// Cost of the calendar and formatter calls the application makes for every visible day.
#include <benchmark/benchmark.h>

#include "norvik/platform/calendar.h"
#include "norvik/platform/date_formatter.h"

namespace {

using namespace norvik::platform;

const Date kStart(1704067200.0);  // 2024-01-01T00:00Z

// Steps through a year of days so that ICU cannot reuse the previous result.
Date dayAt(std::int64_t i) {
  return Date(kStart.timeIntervalSince1970() + (i % 366) * 86400.0 + 3600);
}

Calendar fixed(CalendarIdentifier identifier) {
  return Calendar(identifier, TimeZone::withIdentifier("Asia/Shanghai").value(), Locale("zh_CN"));
}

void BM_ComponentsGregorian(benchmark::State& state) {
  Calendar calendar = fixed(CalendarIdentifier::gregorian);
  std::int64_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(calendar.components(dayAt(i++)));
}
BENCHMARK(BM_ComponentsGregorian)->ThreadRange(1, 2);

void BM_ComponentsChinese(benchmark::State& state) {
  Calendar calendar = fixed(CalendarIdentifier::chinese);
  std::int64_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(calendar.components(dayAt(i++)));
}
BENCHMARK(BM_ComponentsChinese)->ThreadRange(1, 2);

// Days never asked for before: ICU computes the Chinese date astronomically.
void BM_ComponentsChineseFirstTimeForEachDay(benchmark::State& state) {
  Calendar calendar = fixed(CalendarIdentifier::chinese);
  calendar.setMinimumDaysInFirstWeek(3);  // a configuration no other benchmark has used
  std::int64_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        calendar.components(Date(-2.0e9 + 86400.0 * static_cast<double>(i++))));
  }
}
BENCHMARK(BM_ComponentsChineseFirstTimeForEachDay)->Iterations(20000);

void BM_ComponentsSharedAutoupdating(benchmark::State& state) {
  Calendar calendar = Calendar::autoupdatingCurrent();
  std::int64_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(calendar.components(dayAt(i++)));
}
BENCHMARK(BM_ComponentsSharedAutoupdating)->ThreadRange(1, 2);

void BM_ComponentsSharedChinese(benchmark::State& state) {
  Calendar calendar = Calendar::sharedChinese();
  std::int64_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(calendar.components(dayAt(i++)));
}
BENCHMARK(BM_ComponentsSharedChinese);

void BM_StartOfDay(benchmark::State& state) {
  Calendar calendar = fixed(CalendarIdentifier::gregorian);
  std::int64_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(calendar.startOfDay(dayAt(i++)));
}
BENCHMARK(BM_StartOfDay);

void BM_DateFromComponents(benchmark::State& state) {
  Calendar calendar = fixed(CalendarIdentifier::gregorian);
  DateComponents components;
  components.year = 2024;
  components.month = 5;
  std::int64_t i = 0;
  for (auto _ : state) {
    components.day = static_cast<int>(1 + i++ % 31);
    benchmark::DoNotOptimize(calendar.dateFromComponents(components));
  }
}
BENCHMARK(BM_DateFromComponents);

void BM_NewCalendarThenComponents(benchmark::State& state) {
  TimeZone zone = TimeZone::withIdentifier("Asia/Shanghai").value();
  Locale locale("zh_CN");
  std::int64_t i = 0;
  for (auto _ : state) {
    Calendar calendar(CalendarIdentifier::gregorian, zone, locale);
    benchmark::DoNotOptimize(calendar.components(dayAt(i++)));
  }
}
BENCHMARK(BM_NewCalendarThenComponents);

void BM_FormatChineseYearAndMonth(benchmark::State& state) {
  DateFormatter formatter("U年LLLL", Locale("zh_CN"), fixed(CalendarIdentifier::chinese));
  std::int64_t i = 0;
  for (auto _ : state) benchmark::DoNotOptimize(formatter.format(dayAt(i++)));
}
BENCHMARK(BM_FormatChineseYearAndMonth)->ThreadRange(1, 2);

void BM_FormatNewFormatterEachCall(benchmark::State& state) {
  std::int64_t i = 0;
  for (auto _ : state) {
    DateFormatter formatter("yyyy-MM-dd", Locale("en_US"), fixed(CalendarIdentifier::gregorian));
    benchmark::DoNotOptimize(formatter.format(dayAt(i++)));
  }
}
BENCHMARK(BM_FormatNewFormatterEachCall);

}  // namespace

BENCHMARK_MAIN();
