// Cost of posting through the notification centre: delivery to the observers of one name, lookup
// among many registered names, posts from several threads, and registration churn.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "norvik/platform/notification_center.h"

using norvik::platform::Dictionary;
using norvik::platform::Notification;
using norvik::platform::NotificationCenter;
using norvik::platform::ObserverToken;
using norvik::platform::Value;

namespace {

// Posts one name that `range(0)` observers watch, while 1000 observers watch other names.
void BM_PostToObservers(benchmark::State& state) {
  NotificationCenter center;
  long delivered = 0;
  for (int i = 0; i < 1000; ++i) {
    center.addObserver("Other" + std::to_string(i), nullptr, [&](const Notification&) {});
  }
  for (int i = 0; i < state.range(0); ++i) {
    center.addObserver("NVTaskDidChangeNotification", nullptr,
                       [&](const Notification&) { ++delivered; });
  }
  for (auto _ : state) center.post("NVTaskDidChangeNotification");
  benchmark::DoNotOptimize(delivered);
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_PostToObservers)->Arg(0)->Arg(1)->Arg(10)->Arg(100);

void BM_PostWithUserInfo(benchmark::State& state) {
  NotificationCenter center;
  center.addObserver("refreshProjects", nullptr,
                     [](const Notification& n) { benchmark::DoNotOptimize(n.userInfo->size()); });
  for (auto _ : state) {
    center.post("refreshProjects", nullptr, Dictionary{{"kNVSceneID", Value("scene")}});
  }
}
BENCHMARK(BM_PostWithUserInfo);

// All threads post to the same ten observers.
void BM_PostFromThreads(benchmark::State& state) {
  static NotificationCenter* center = nullptr;
  static std::vector<ObserverToken> tokens;
  if (state.thread_index() == 0) {
    center = new NotificationCenter();
    for (int i = 0; i < 10; ++i) {
      tokens.push_back(center->addObserver("N", nullptr, [](const Notification&) {}));
    }
  }
  for (auto _ : state) center->post("N");
  if (state.thread_index() == 0) {
    delete center;
    tokens.clear();
  }
}
BENCHMARK(BM_PostFromThreads)->Threads(1)->Threads(2)->Threads(4)->UseRealTime();

void BM_AddAndRemove(benchmark::State& state) {
  NotificationCenter center;
  for (int i = 0; i < 100; ++i) center.addObserver("N", nullptr, [](const Notification&) {});
  for (auto _ : state) {
    ObserverToken token = center.addObserver("N", nullptr, [](const Notification&) {});
    center.removeObserver(token);
  }
}
BENCHMARK(BM_AddAndRemove);

}  // namespace

BENCHMARK_MAIN();
