#include "norvik/platform/operation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <latch>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace norvik::platform {
namespace {

// Records every announced change as "will:key" / "did:key".
struct ChangeLog {
  std::mutex mutex;
  std::vector<std::string> entries;
  void attach(Operation& operation) {
    operation.addObserver([this](Operation&, std::string_view key, KeyValueChange change) {
      std::lock_guard lock(mutex);
      entries.push_back((change == KeyValueChange::willChange ? "will:" : "did:") +
                        std::string(key));
    });
  }
};

TEST(Operation, StartAnnouncesEachStateChangeAroundMainAndRunsTheCompletionOnce) {
  std::vector<std::string> order;
  auto operation = std::make_shared<BlockOperation>([&] { order.push_back("main"); });
  ChangeLog log;
  log.attach(*operation);
  operation->setCompletionBlock([&] { order.push_back("completion"); });

  EXPECT_TRUE(operation->isReady());
  operation->start();
  operation->start();  // a second start does nothing
  EXPECT_TRUE(operation->isFinished());
  EXPECT_FALSE(operation->isExecuting());
  EXPECT_EQ(order, (std::vector<std::string>{"main", "completion"}));
  EXPECT_EQ(log.entries,
            (std::vector<std::string>{"will:isExecuting", "will:isReady", "did:isReady",
                                      "did:isExecuting", "will:isFinished", "will:isExecuting",
                                      "did:isExecuting", "did:isFinished"}));
}

TEST(Operation, DependenciesGateReadinessAndCancellationLiftsIt) {
  auto first = std::make_shared<Operation>();
  auto second = std::make_shared<Operation>();
  second->addDependency(first);
  second->addDependency(first);   // ignored: already a dependency
  second->addDependency(second);  // ignored: itself
  EXPECT_EQ(second->dependencies().size(), 1u);
  EXPECT_FALSE(second->isReady());

  ChangeLog log;
  log.attach(*second);
  first->start();
  EXPECT_TRUE(second->isReady());
  // The dependent heard that its readiness changed when the dependency finished.
  EXPECT_EQ(log.entries, (std::vector<std::string>{"will:isReady", "did:isReady"}));

  auto blocked = std::make_shared<Operation>();
  blocked->addDependency(std::make_shared<Operation>());
  EXPECT_FALSE(blocked->isReady());
  bool ran = false;
  auto cancelled = std::make_shared<BlockOperation>([&] { ran = true; });
  cancelled->addDependency(blocked);
  cancelled->cancel();
  EXPECT_TRUE(cancelled->isReady());
  cancelled->start();
  EXPECT_TRUE(cancelled->isFinished());
  EXPECT_FALSE(ran);
}

TEST(OperationQueueConcurrency, RunsManyOperationsWithinTheLimitAndInDependencyOrder) {
  OperationQueue queue;
  queue.setMaxConcurrentOperationCount(3);
  std::atomic<int> running{0};
  std::atomic<int> peak{0};
  std::mutex mutex;
  std::vector<int> finishedOrder;

  constexpr int kCount = 300;
  std::vector<std::shared_ptr<Operation>> operations;
  for (int i = 0; i < kCount; ++i) {
    operations.push_back(std::make_shared<BlockOperation>([&, i] {
      int now = ++running;
      int seen = peak.load();
      while (now > seen && !peak.compare_exchange_weak(seen, now)) {
      }
      std::this_thread::yield();
      {
        std::lock_guard lock(mutex);
        finishedOrder.push_back(i);
      }
      --running;
    }));
  }
  // Every tenth operation waits for the one nine places after it, so a queue that ignored
  // dependencies would run them early.
  for (int i = 0; i + 9 < kCount; i += 10) operations[i]->addDependency(operations[i + 9]);
  queue.addOperations(operations, true);
  queue.waitUntilAllOperationsAreFinished();

  EXPECT_EQ(queue.operationCount(), 0u);
  ASSERT_EQ(finishedOrder.size(), static_cast<std::size_t>(kCount));
  EXPECT_LE(peak.load(), 3);
  auto position = [&](int i) {
    return std::find(finishedOrder.begin(), finishedOrder.end(), i) - finishedOrder.begin();
  };
  for (int i = 0; i + 9 < kCount; i += 10) EXPECT_GT(position(i), position(i + 9)) << i;
}

TEST(OperationQueueConcurrency,
     SuspendedQueueStartsNothingAndCancelledOperationsLeaveWithoutRunning) {
  OperationQueue queue;
  queue.setSuspended(true);
  std::atomic<int> ran{0};
  std::vector<std::shared_ptr<Operation>> operations;
  for (int i = 0; i < 20; ++i) operations.push_back(queue.addOperation([&] { ++ran; }));
  EXPECT_EQ(queue.operationCount(), 20u);
  EXPECT_FALSE(queue.addOperation(operations.front()));  // already in a queue

  for (int i = 0; i < 20; i += 2) operations[i]->cancel();
  queue.setSuspended(false);
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_EQ(ran.load(), 10);
  for (const auto& operation : operations) EXPECT_TRUE(operation->isFinished());

  OperationQueue other;
  EXPECT_FALSE(other.addOperation(operations.back()));  // finished
}

}  // namespace
}  // namespace norvik::platform
