// The texts of one date per alternative calendar, in the locale a reader of that calendar would
// most likely use. The name tables are built before timing starts, as they are once per process.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <string_view>

#include "norvik/calendar/other_calendar.h"

namespace {

using namespace norvik;

struct Case {
  std::string_view type;
  std::string_view locale;
  int year;
  int month;
  bool leap;
};

constexpr Case kCases[] = {
    {"lunar", "zh-rCN", 2024, 4, true},     {"korean-lunar", "ko", 2024, 4, true},
    {"vietnam", "zh-rHK", 2024, 12, false}, {"hebcal", "iw", 5784, 6, false},
    {"hijri", "ar", 1445, 9, false},        {"hijri-kuwaiti", "ar", 1445, 12, false},
    {"hijri-saudi", "ar", 1445, 10, false}, {"persian", "fa", 1403, 1, false},
    {"shaka", "en", 1946, 6, false},
};

void BM_FormatCalendarType(benchmark::State& state) {
  const Case& c = kCases[state.range(0)];
  state.SetLabel(std::string(c.type) + "/" + std::string(c.locale));
  const KMAOtherCalendar& calendar = KMAOtherCalendar::shared();
  benchmark::DoNotOptimize(
      calendar.formatCalendarType(c.type, c.year, c.month, 1, c.leap, c.locale));
  int day = 0;
  for (auto _ : state) {
    day = day % 29 + 1;
    benchmark::DoNotOptimize(
        calendar.formatCalendarType(c.type, c.year, c.month, day, c.leap, c.locale));
  }
}
BENCHMARK(BM_FormatCalendarType)->DenseRange(0, static_cast<int>(std::size(kCases)) - 1);

// The one-time cost: building every table of one locale from ICU.
void BM_FirstUseOfAHostLocale(benchmark::State& state) {
  class Fresh : public KMAConvert {
   public:
    std::string localeIdentifier(std::string_view) const override { return name; }
    std::string name;
  };
  auto fresh = std::make_shared<Fresh>();
  KMADarwinUtils::shared().setConvert(fresh);
  int n = 0;
  for (auto _ : state) {
    // A locale not seen before each round ("he_IL_0", "he_IL_1", ...; Hebrew: the largest table),
    // so every round builds.
    fresh->name = "he_IL_" + std::to_string(n++);
    benchmark::DoNotOptimize(
        KMAOtherCalendar::shared().formatCalendarType("hebcal", 5784, 6, 15, false, "x"));
  }
  KMADarwinUtils::shared().setConvert(nullptr);
}
BENCHMARK(BM_FirstUseOfAHostLocale)->Iterations(20)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
