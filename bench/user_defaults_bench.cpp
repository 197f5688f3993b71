// Costs of the shared key-value store: a read served from the process's copy, a write made durable
// and visible to other processes, and a fresh handle followed by a read (what every call of the
// application-group accessor does).

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

#include "bench_support.h"
#include "norvik/platform/environment.h"
#include "norvik/platform/user_defaults.h"

namespace {

using norvik::kNVAppGroupIdentifier;
using norvik::platform::UserDefaults;
using norvik::platform::Value;

void BM_CachedReadInteger(benchmark::State& state) {
  UserDefaults defaults(kNVAppGroupIdentifier);
  defaults.setInteger(42, "bench.integer");
  defaults.synchronize();
  for (auto _ : state) benchmark::DoNotOptimize(defaults.integerForKey("bench.integer"));
}
BENCHMARK(BM_CachedReadInteger);

void BM_CachedReadString(benchmark::State& state) {
  UserDefaults defaults(kNVAppGroupIdentifier);
  defaults.setObject(Value("a setting value longer than the small-string buffer"), "bench.string");
  defaults.synchronize();
  for (auto _ : state) benchmark::DoNotOptimize(defaults.stringForKey("bench.string"));
}
BENCHMARK(BM_CachedReadString);

void BM_NewHandleAndRead(benchmark::State& state) {
  UserDefaults(kNVAppGroupIdentifier).setBool(true, "bench.flag");
  for (auto _ : state) {
    benchmark::DoNotOptimize(UserDefaults(kNVAppGroupIdentifier).boolForKey("bench.flag"));
  }
}
BENCHMARK(BM_NewHandleAndRead);

// One setting written and synchronised, as the settings screens do: a durable commit each time.
void BM_WriteAndSynchronize(benchmark::State& state) {
  UserDefaults defaults(kNVAppGroupIdentifier);
  std::int64_t i = 0;
  for (auto _ : state) {
    defaults.setInteger(++i, "bench.counter");
    if (!defaults.synchronize()) state.SkipWithError("synchronize failed");
  }
}
BENCHMARK(BM_WriteAndSynchronize)->Unit(benchmark::kMicrosecond);

// Ten settings written, then one synchronisation.
void BM_TenWritesThenSynchronize(benchmark::State& state) {
  UserDefaults defaults(kNVAppGroupIdentifier);
  std::int64_t i = 0;
  for (auto _ : state) {
    for (int k = 0; k < 10; ++k) defaults.setInteger(++i, "bench.key" + std::to_string(k));
    if (!defaults.synchronize()) state.SkipWithError("synchronize failed");
  }
}
BENCHMARK(BM_TenWritesThenSynchronize)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
  return norvik::bench::runWithPrivateContainer(argc, argv, "norvik-bench");
}
