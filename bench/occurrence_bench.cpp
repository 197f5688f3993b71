// The first occurrence of typical rules and 100,000 daily occurrences: the library's engine beside
// libical alone on the same rule, start and search (libical's RSCALE expansion for the
// Chinese-calendar rule).
#include <benchmark/benchmark.h>
#include <libical/ical.h>

#include <cstdint>
#include <string>
#include <vector>

#include "norvik/calendar/lunisolar.h"
#include "norvik/recurrence/recurrence_assistant.h"

namespace {

using norvik::SVRecurrenceAssistant;
using norvik::SVSimpleRecurringObject;
using norvik::platform::Date;

// A start of 2024-03-12 09:30 in the objects' zone, UTC.
constexpr int kYear = 2024, kMonth = 3, kDay = 12, kHour = 9, kMinute = 30;

Date startDate() {
  return Date(static_cast<double>(norvik::civilDayFromGregorian(kYear, kMonth, kDay)) * 86400.0 +
              kHour * 3600.0 + kMinute * 60.0);
}

const char* const kRules[] = {
    "RSCALE=CHINESE;FREQ=YEARLY;BYMONTH=8;BYMONTHDAY=15",
    "FREQ=WEEKLY;BYDAY=MO,WE,FR",
    "FREQ=MONTHLY;BYMONTHDAY=-1",
    "FREQ=MONTHLY;BYDAY=-1FR",
    "FREQ=YEARLY;BYMONTH=10;BYMONTHDAY=1",
    "FREQ=YEARLY;BYMONTH=11;BYDAY=4TH",
};
constexpr int kLastRule = 5;

// The first occurrence of a due-date object, as the application asks for it.
void BM_FirstOccurrence(benchmark::State& state) {
  SVSimpleRecurringObject object;
  object.setRuleString(kRules[state.range(0)]);
  object.setFrom(norvik::SVRecurrenceFromDueDate);
  object.setStartDate(startDate());
  object.setTimeZoneIdentifier("UTC");
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        SVRecurrenceAssistant::firstOccurenceDateForRecurringObjectIfExists(object));
  }
  state.SetLabel(kRules[state.range(0)]);
}
BENCHMARK(BM_FirstOccurrence)->DenseRange(0, kLastRule);

// libical alone: parse the text, start an iterator a day before the start and read up to the
// first result at or after the start, in UTC as above.
void BM_LibicalFirstOccurrence(benchmark::State& state) {
  const char* text = kRules[state.range(0)];
  struct icaltimetype start = icaltime_null_time();
  start.year = kYear;
  start.month = kMonth;
  start.day = kDay - 1;
  start.hour = kHour;
  start.minute = kMinute;
  struct icaltimetype from = start;
  from.day = kDay;
  for (auto _ : state) {
    struct icalrecurrencetype rule = icalrecurrencetype_from_string(text);
    icalrecur_iterator* it = icalrecur_iterator_new(rule, start);
    struct icaltimetype t = icaltime_null_time();
    if (it) {
      do {
        t = icalrecur_iterator_next(it);
      } while (!icaltime_is_null_time(t) && icaltime_compare(t, from) < 0);
      icalrecur_iterator_free(it);
    }
    benchmark::DoNotOptimize(t);
  }
  state.SetLabel(text);
}
BENCHMARK(BM_LibicalFirstOccurrence)->DenseRange(0, kLastRule);

// Ten occurrences of the same rules from the engine.
void BM_TenOccurrences(benchmark::State& state) {
  SVSimpleRecurringObject object;
  object.setRuleString(kRules[state.range(0)]);
  object.setStartDate(startDate());
  object.setTimeZoneIdentifier("UTC");
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        SVRecurrenceAssistant::occurrenceDatesForRecurringObject(object, startDate(), 10, true));
  }
  state.SetLabel(kRules[state.range(0)]);
}
BENCHMARK(BM_TenOccurrences)->DenseRange(0, kLastRule);

// 100,000 daily occurrences, the engine and libical's iterator (per occurrence: the items count).
constexpr std::size_t kDailyCount = 100000;

void BM_DailyOccurrences(benchmark::State& state) {
  SVSimpleRecurringObject object;
  object.setRuleString("FREQ=DAILY");
  object.setStartDate(startDate());
  object.setTimeZoneIdentifier("UTC");
  for (auto _ : state) {
    benchmark::DoNotOptimize(SVRecurrenceAssistant::occurrenceDatesForRecurringObject(
        object, startDate(), kDailyCount, true));
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kDailyCount));
}
BENCHMARK(BM_DailyOccurrences)->Unit(benchmark::kMillisecond);

void BM_LibicalDailyOccurrences(benchmark::State& state) {
  struct icaltimetype start = icaltime_null_time();
  start.year = kYear;
  start.month = kMonth;
  start.day = kDay;
  start.hour = kHour;
  start.minute = kMinute;
  for (auto _ : state) {
    struct icalrecurrencetype rule = icalrecurrencetype_from_string("FREQ=DAILY");
    icalrecur_iterator* it = icalrecur_iterator_new(rule, start);
    std::vector<struct icaltimetype> found;
    found.reserve(kDailyCount);
    while (it && found.size() < kDailyCount) {
      const struct icaltimetype t = icalrecur_iterator_next(it);
      if (icaltime_is_null_time(t)) break;
      found.push_back(t);
    }
    if (it) icalrecur_iterator_free(it);
    benchmark::DoNotOptimize(found);
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * kDailyCount));
}
BENCHMARK(BM_LibicalDailyOccurrences)->Unit(benchmark::kMillisecond);

// The repair of a monthly rule's weekday from a date.
void BM_RepairRuleString(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(SVRecurrenceAssistant::byDay_fixedRecurrenceRuleString(
        "FREQ=MONTHLY;BYDAY=-1FR", norvik::SVRecurrenceFromDefault, startDate()));
  }
}
BENCHMARK(BM_RepairRuleString);

}  // namespace

BENCHMARK_MAIN();
