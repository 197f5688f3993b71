#include "norvik/vocabulary/async_operation.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace norvik {
namespace {

using State = NVAsyncOperation::State;

// Counts main() calls; finishes only when told to.
class ManualOperation : public NVAsyncOperation {
 public:
  std::atomic<int> mainCalls{0};
  void main() override { ++mainCalls; }
};

TEST(NVAsyncOperation, StateChangesAnnounceNewThenOldKeysAroundTheChange) {
  ManualOperation operation;
  EXPECT_EQ(operation.state(), State::ready);
  EXPECT_TRUE(operation.isAsynchronous());
  EXPECT_EQ(NVAsyncOperation::rawValue(State::ready), "ready");
  EXPECT_EQ(NVAsyncOperation::rawValue(State::executing), "executing");
  EXPECT_EQ(NVAsyncOperation::rawValue(State::finished), "finished");

  std::vector<std::string> log;
  operation.addObserver(
      [&](platform::Operation& op, std::string_view key, platform::KeyValueChange change) {
        bool will = change == platform::KeyValueChange::willChange;
        // A will-change still sees the old state, a did-change the new one.
        auto* async = static_cast<NVAsyncOperation*>(&op);
        log.push_back(std::string(will ? "will:" : "did:") + std::string(key) + "@" +
                      std::string(NVAsyncOperation::rawValue(async->state())));
      });
  operation.start();
  EXPECT_EQ(operation.mainCalls.load(), 1);
  EXPECT_TRUE(operation.isExecuting());
  EXPECT_FALSE(operation.isReady());
  operation.setState(State::finished);
  EXPECT_EQ(log,
            (std::vector<std::string>{"will:isExecuting@ready", "will:isReady@ready",
                                      "did:isReady@executing", "did:isExecuting@executing",
                                      "will:isFinished@executing", "will:isExecuting@executing",
                                      "did:isExecuting@finished", "did:isFinished@finished"}));
  EXPECT_FALSE(operation.isReady());  // finished, although it has no dependencies
}

TEST(NVAsyncOperation, CancellationFinishesAtOnceBeforeAndDuringExecution) {
  auto before = std::make_shared<ManualOperation>();
  before->cancel();
  EXPECT_TRUE(before->isCancelled());
  EXPECT_EQ(before->state(), State::finished);
  before->start();
  EXPECT_EQ(before->mainCalls.load(), 0);
  EXPECT_EQ(before->state(), State::finished);

  auto during = std::make_shared<ManualOperation>();
  during->start();
  ASSERT_TRUE(during->isExecuting());
  during->cancel();
  EXPECT_TRUE(during->isFinished());
  EXPECT_EQ(during->mainCalls.load(), 1);

  // Readiness waits for the dependency and for the ready state.
  auto dependency = std::make_shared<ManualOperation>();
  auto dependent = std::make_shared<ManualOperation>();
  dependent->addDependency(dependency);
  EXPECT_FALSE(dependent->isReady());
  dependency->start();
  dependency->setState(State::finished);
  EXPECT_TRUE(dependent->isReady());
  dependent->start();
  EXPECT_FALSE(dependent->isReady());
}

// Hands its work to a thread of its own and finishes from there.
class BackgroundOperation : public NVAsyncOperation {
 public:
  BackgroundOperation(std::atomic<int>& running, std::atomic<int>& peak)
      : running_(running), peak_(peak) {}
  ~BackgroundOperation() override {
    // The last reference may go with the thread's own finishing announcement.
    if (worker_.get_id() == std::this_thread::get_id()) {
      worker_.detach();
    } else if (worker_.joinable()) {
      worker_.join();
    }
  }
  void main() override {
    int now = ++running_;
    for (int seen = peak_.load(); now > seen && !peak_.compare_exchange_weak(seen, now);) {
    }
    // The thread takes the mutex first, so it cannot finish (and let the queue release this
    // operation) before worker_ is assigned.
    std::lock_guard lock(mutex_);
    worker_ = std::thread([this] {
      { std::lock_guard wait(mutex_); }
      std::this_thread::yield();
      --running_;
      setState(State::finished);
    });
  }

 private:
  std::atomic<int>& running_;
  std::atomic<int>& peak_;
  std::mutex mutex_;
  std::thread worker_;
};

TEST(NVAsyncOperationConcurrency, QueueHoldsASlotUntilAnOperationFinishesOnItsOwnThread) {
  std::atomic<int> running{0};
  std::atomic<int> peak{0};
  std::vector<std::shared_ptr<platform::Operation>> operations;
  for (int i = 0; i < 100; ++i) {
    operations.push_back(std::make_shared<BackgroundOperation>(running, peak));
  }
  // Every second operation also waits for the one before it.
  for (std::size_t i = 1; i < operations.size(); i += 2) {
    operations[i]->addDependency(operations[i - 1]);
  }
  {
    platform::OperationQueue queue;
    queue.setMaxConcurrentOperationCount(3);
    queue.addOperations(operations, false);
  }  // the destructor waits for every operation
  for (const auto& operation : operations) EXPECT_TRUE(operation->isFinished());
  EXPECT_LE(peak.load(), 3);
  EXPECT_GE(peak.load(), 1);
}

TEST(NVAsyncOperationConcurrency, CancelledOperationsLeaveTheQueueWhileOthersRun) {
  platform::OperationQueue queue;
  queue.setMaxConcurrentOperationCount(1);
  std::latch blockerStarted(1);
  std::latch release(1);
  // Occupies the only slot until released.
  queue.addOperation([&] {
    blockerStarted.count_down();
    release.wait();
  });
  blockerStarted.wait();
  std::vector<std::shared_ptr<ManualOperation>> waiting;
  for (int i = 0; i < 10; ++i) {
    waiting.push_back(std::make_shared<ManualOperation>());
    queue.addOperation(waiting.back());
  }
  EXPECT_EQ(queue.operationCount(), 11u);
  queue.cancelAllOperations();
  // The cancelled operations have left although the slot is still taken.
  EXPECT_EQ(queue.operationCount(), 1u);
  release.count_down();
  queue.waitUntilAllOperationsAreFinished();
  for (const auto& operation : waiting) {
    EXPECT_EQ(operation->mainCalls.load(), 0);
    EXPECT_TRUE(operation->isFinished());
  }
}

}  // namespace
}  // namespace norvik
