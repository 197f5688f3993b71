// Costs of typed settings: plain reads and writes, wrapped reads through the confirmed memory
// copy and through the database row, wrapped writes (database row committed, store buffered).

#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

#include "bench_support.h"
#include "norvik/platform/environment.h"
#include "norvik/settings/registry.h"

namespace {

using norvik::DefaultsKeys;
using norvik::NVUserDefaultManager;
using norvik::NVUserDefaults;
using norvik::platform::Data;
using norvik::platform::Value;

Value blob(std::string_view text) {
  return Value(Data(text.begin(), text.end()));
}

void BM_PlainRead(benchmark::State& state) {
  NVUserDefaults::shared().set(DefaultsKeys::timetableScale(), 1.5);
  for (auto _ : state) {
    benchmark::DoNotOptimize(NVUserDefaults::shared().get(DefaultsKeys::timetableScale()));
  }
}
BENCHMARK(BM_PlainRead);

// A per-user key first reads the current user (a wrapped read) to make its key.
void BM_PlainPerUserRead(benchmark::State& state) {
  NVUserDefaultManager::shared().setShouldPushDailyReminder(true);
  for (auto _ : state) {
    benchmark::DoNotOptimize(NVUserDefaultManager::shared().shouldPushDailyReminder());
  }
}
BENCHMARK(BM_PlainPerUserRead);

void BM_WrappedReadConfirmedMemory(benchmark::State& state) {
  NVUserDefaultManager::shared().setCurrentInboxID("inbox-for-the-benchmark");
  for (auto _ : state) benchmark::DoNotOptimize(NVUserDefaultManager::shared().currentInboxID());
}
BENCHMARK(BM_WrappedReadConfirmedMemory);

// The store disagrees with the database row, so every read is answered from the row (and queues
// a refresh of the memory copy).
void BM_WrappedReadDatabasePath(benchmark::State& state) {
  NVUserDefaultManager::shared().setCurrentUserToken("row token");
  NVUserDefaults::shared().store().setObject(blob(R"({"content":"store token"})"),
                                             "currentUserToken");
  for (auto _ : state) {
    benchmark::DoNotOptimize(NVUserDefaultManager::shared().currentUserToken());
  }
}
BENCHMARK(BM_WrappedReadDatabasePath);

void BM_PlainWrite(benchmark::State& state) {
  double i = 0;
  for (auto _ : state) NVUserDefaults::shared().set(DefaultsKeys::timelineScale(), ++i);
}
BENCHMARK(BM_PlainWrite);

void BM_WrappedWrite(benchmark::State& state) {
  long i = 0;
  for (auto _ : state) {
    NVUserDefaultManager::shared().setCurrentInboxID("inbox " + std::to_string(++i));
  }
}
BENCHMARK(BM_WrappedWrite);

}  // namespace

int main(int argc, char** argv) {
  return norvik::bench::runWithPrivateContainer(argc, argv, "norvik-settings-bench");
}
