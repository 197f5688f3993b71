// Cost of the operation machinery: running many small operations through a queue at several
// concurrency limits, chains of dependent operations, 10,000 operations chained or waiting for one,
// and the day-stamp conversions.
#include <benchmark/benchmark.h>

#include <atomic>
#include <memory>
#include <vector>

#include "norvik/calendar/date_utils.h"
#include "norvik/platform/operation.h"

using norvik::NVDateUtils;
using norvik::platform::BlockOperation;
using norvik::platform::Date;
using norvik::platform::Operation;
using norvik::platform::OperationQueue;

namespace {

// 1000 independent block operations per iteration, limit range(0).
void BM_QueueIndependent(benchmark::State& state) {
  std::atomic<long> ran{0};
  for (auto _ : state) {
    OperationQueue queue;
    queue.setMaxConcurrentOperationCount(static_cast<int>(state.range(0)));
    for (int i = 0; i < 1000; ++i) queue.addOperation([&] { ++ran; });
    queue.waitUntilAllOperationsAreFinished();
  }
  state.SetItemsProcessed(state.iterations() * 1000);
}
BENCHMARK(BM_QueueIndependent)->Arg(1)->Arg(2)->Arg(8)->UseRealTime();

// A chain of 1000 operations, each waiting for the one before.
void BM_QueueChain(benchmark::State& state) {
  for (auto _ : state) {
    std::vector<std::shared_ptr<Operation>> operations;
    operations.reserve(1000);
    for (int i = 0; i < 1000; ++i) {
      operations.push_back(std::make_shared<BlockOperation>([] {}));
      if (i > 0) operations[i]->addDependency(operations[i - 1]);
    }
    OperationQueue queue;
    queue.setMaxConcurrentOperationCount(4);
    queue.addOperations(operations, true);
  }
  state.SetItemsProcessed(state.iterations() * 1000);
}
BENCHMARK(BM_QueueChain)->UseRealTime();

// 10,000 operations in one chain, each waiting for the one before: finishing one touches only
// the next, so the whole chain costs linear time.
void BM_QueueChain10000(benchmark::State& state) {
  constexpr int kCount = 10000;
  for (auto _ : state) {
    std::vector<std::shared_ptr<Operation>> operations;
    operations.reserve(kCount);
    for (int i = 0; i < kCount; ++i) {
      operations.push_back(std::make_shared<BlockOperation>([] {}));
      if (i > 0) operations[i]->addDependency(operations[i - 1]);
    }
    OperationQueue queue;
    queue.setMaxConcurrentOperationCount(4);
    queue.addOperations(operations, true);
  }
  state.SetItemsProcessed(state.iterations() * kCount);
}
BENCHMARK(BM_QueueChain10000)->Unit(benchmark::kMillisecond);

// 10,000 operations that all wait for one: its end makes them ready at once.
void BM_QueueFanOut10000(benchmark::State& state) {
  constexpr int kCount = 10000;
  for (auto _ : state) {
    auto root = std::make_shared<BlockOperation>([] {});
    std::vector<std::shared_ptr<Operation>> operations;
    operations.reserve(kCount + 1);
    for (int i = 0; i < kCount; ++i) {
      operations.push_back(std::make_shared<BlockOperation>([] {}));
      operations.back()->addDependency(root);
    }
    operations.push_back(root);  // added last, so every dependent is waiting when it runs
    OperationQueue queue;
    queue.setMaxConcurrentOperationCount(4);
    queue.addOperations(operations, true);
  }
  state.SetItemsProcessed(state.iterations() * (kCount + 1));
}
BENCHMARK(BM_QueueFanOut10000)->Unit(benchmark::kMillisecond);

void BM_StampRoundTrip(benchmark::State& state) {
  double seconds = 1709596800.0;
  for (auto _ : state) {
    auto stamp = NVDateUtils::stampOfDate(Date(seconds));
    benchmark::DoNotOptimize(NVDateUtils::dateOfStamp(stamp));
    seconds += 86400;
  }
}
BENCHMARK(BM_StampRoundTrip);

void BM_TimelineLabel(benchmark::State& state) {
  int hour = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(NVDateUtils::formatTimeline(hour, 30));
    hour = (hour + 1) % 25;
  }
}
BENCHMARK(BM_TimelineLabel);

}  // namespace

BENCHMARK_MAIN();
