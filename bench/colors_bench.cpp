// Colour parsing with and without the process-wide cache, and the text of a colour: views that
// redraw often look a colour up once per text and alpha.
#include <benchmark/benchmark.h>

#include "norvik/vocabulary/colors.h"

namespace {

using norvik::NVColor;

void BM_ColorWithHexString(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(NVColor::colorWithHexString("#5992F8", 0.8));
}
BENCHMARK(BM_ColorWithHexString);

void BM_CachedColorWithHexString(benchmark::State& state) {
  NVColor::cached_colorWithHexString("#5992F8", 0.8);
  for (auto _ : state) benchmark::DoNotOptimize(NVColor::cached_colorWithHexString("#5992F8", 0.8));
}
BENCHMARK(BM_CachedColorWithHexString);

void BM_CachedPalette(benchmark::State& state) {
  const auto palette = norvik::projectColors();
  std::size_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(NVColor::cached_colorWithHexString(palette[i++ % palette.size()]));
  }
}
BENCHMARK(BM_CachedPalette);

void BM_HexStringFromColor(benchmark::State& state) {
  const NVColor color = NVColor::colorWithHexString("#5992F8");
  for (auto _ : state) benchmark::DoNotOptimize(norvik::hexStringFromColor(color));
}
BENCHMARK(BM_HexStringFromColor);

}  // namespace
BENCHMARK_MAIN();
