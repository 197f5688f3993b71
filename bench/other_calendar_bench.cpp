// One Gregorian -> calendar conversion per calendar type through KMAOtherCalendar, the way back,
// and ICU's conversion of the same dates for comparison.
#include <benchmark/benchmark.h>

#include <memory>

#include "norvik/calendar/other_calendar.h"
#include "norvik/platform/calendar.h"
#include "norvik/platform/locale.h"
#include "norvik/platform/time_zone.h"

namespace {

using namespace norvik;

const char* const kTypes[] = {"lunar",   "korean-lunar", "hijri",         "hebcal",     "shaka",
                              "persian", "vietnam",      "hijri-kuwaiti", "hijri-saudi"};

const platform::CalendarIdentifier kIcu[] = {
    platform::CalendarIdentifier::chinese,        platform::CalendarIdentifier::dangi,
    platform::CalendarIdentifier::islamicCivil,   platform::CalendarIdentifier::hebrew,
    platform::CalendarIdentifier::indian,         platform::CalendarIdentifier::persian,
    platform::CalendarIdentifier::chinese,  // no Vietnamese calendar in ICU: the Chinese one
    platform::CalendarIdentifier::islamicTabular, platform::CalendarIdentifier::islamicUmmAlQura,
};

// Days spread over 1901..2099 so that no cache sees the same year twice in a row.
CivilDay spreadDay(std::int64_t i) {
  return civilDayFromGregorian(1901, 3, 1) + (i * 7919) % 72000;
}

void wire() {
  KMACalendarWrapperUtils::shared().setDateConvertIfUnset(std::make_shared<KMADateConvert>());
}

void BM_GregorianToCalendar(benchmark::State& state) {
  wire();
  const char* type = kTypes[state.range(0)];
  state.SetLabel(type);
  const KMAOtherCalendar& module = KMAOtherCalendar::shared();
  // Warm the calendar (the Korean one reads each year from ICU once).
  for (std::int64_t i = 0; i < 72000 / 7919 + 200; ++i) {
    const GregorianDate g = gregorianFromCivilDay(spreadDay(i));
    benchmark::DoNotOptimize(module.gregorianToCalendarType(type, g.year, g.month, g.day));
  }
  std::int64_t i = 0;
  for (auto _ : state) {
    const GregorianDate g = gregorianFromCivilDay(spreadDay(i++));
    benchmark::DoNotOptimize(module.gregorianToCalendarType(type, g.year, g.month, g.day));
  }
}
BENCHMARK(BM_GregorianToCalendar)->DenseRange(0, 8);

void BM_CalendarToGregorian(benchmark::State& state) {
  wire();
  const char* type = kTypes[state.range(0)];
  state.SetLabel(type);
  const KMAOtherCalendar& module = KMAOtherCalendar::shared();
  std::vector<CalendarDate> dates;
  for (std::int64_t i = 0; i < 512; ++i) {
    const GregorianDate g = gregorianFromCivilDay(spreadDay(i));
    dates.push_back(*module.gregorianToCalendarType(type, g.year, g.month, g.day));
  }
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(module.calendarTypeToGregorian(type, dates[i++ % dates.size()]));
  }
}
BENCHMARK(BM_CalendarToGregorian)->DenseRange(0, 8);

void BM_IcuGregorianToCalendar(benchmark::State& state) {
  const int index = static_cast<int>(state.range(0));
  state.SetLabel(kTypes[index]);
  const platform::Calendar calendar(kIcu[index], platform::TimeZone::utc(),
                                    platform::Locale("en_US_POSIX"));
  std::int64_t i = 0;
  for (auto _ : state) {
    const platform::Date noon(static_cast<double>(spreadDay(i++)) * 86400.0 + 43200.0);
    benchmark::DoNotOptimize(calendar.components(noon));
  }
}
BENCHMARK(BM_IcuGregorianToCalendar)->DenseRange(0, 8);

}  // namespace

BENCHMARK_MAIN();
