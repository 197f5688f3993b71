// Speed of the format engine on typical localized texts. The target: a repeat description such as
// "Every %d weeks on %@" formats in well under a microsecond.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>
#include <vector>

#include "norvik/platform/format.h"

namespace {

using norvik::platform::FormatArgument;
using norvik::platform::Value;

void BM_EveryWeeksOn(benchmark::State& state) {
  const std::string day = "Monday";
  int weeks = 3;
  for (auto _ : state) {
    benchmark::DoNotOptimize(weeks);
    std::string text = norvik::platform::format("Every %d weeks on %@", weeks, day);
    benchmark::DoNotOptimize(text);
  }
}
BENCHMARK(BM_EveryWeeksOn);

// The same text through the C library, for scale (no typing, no %@).
void BM_EveryWeeksOnSnprintf(benchmark::State& state) {
  const std::string day = "Monday";
  int weeks = 3;
  for (auto _ : state) {
    benchmark::DoNotOptimize(weeks);
    char buffer[64];
    int n = std::snprintf(buffer, sizeof buffer, "Every %d weeks on %s", weeks, day.c_str());
    std::string text(buffer, static_cast<std::size_t>(n));
    benchmark::DoNotOptimize(text);
  }
}
BENCHMARK(BM_EveryWeeksOnSnprintf);

void BM_PositionalWithFallback(benchmark::State& state) {
  const Value first("Monday");
  const std::string second = "Wednesday";
  for (auto _ : state) {
    std::string text =
        norvik::platform::formatWithFallback("%2$@ und %1$@", "%@ and %@", first, second);
    benchmark::DoNotOptimize(text);
  }
}
BENCHMARK(BM_PositionalWithFallback);

// A broken translation: the mismatch is found and the English key is formatted instead.
void BM_MismatchFallsBack(benchmark::State& state) {
  for (auto _ : state) {
    std::string text = norvik::platform::formatWithFallback("Alle %s Wochen", "Every %d weeks", 2);
    benchmark::DoNotOptimize(text);
  }
}
BENCHMARK(BM_MismatchFallsBack);

void BM_PaddedNumbersAndReal(benchmark::State& state) {
  const std::vector<FormatArgument> args = {9, 5, 72.456, "中文"};
  for (auto _ : state) {
    auto text = norvik::platform::tryFormat("%02d:%02d %.1f%% %-6@|", args);
    benchmark::DoNotOptimize(text);
  }
}
BENCHMARK(BM_PaddedNumbersAndReal);

}  // namespace

BENCHMARK_MAIN();
