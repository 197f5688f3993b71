#include "norvik/platform/barrier_queue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <map>
#include <memory>
#include <thread>
#include <vector>

using norvik::platform::BarrierQueue;

namespace {

TEST(BarrierQueueConcurrency, ReadAfterWriteOnOneThreadSeesTheWrite) {
  BarrierQueue queue("test.readAfterWrite");
  int value = 0;  // confined to the queue
  for (int i = 1; i <= 2000; ++i) {
    queue.asyncBarrier([&value, i] { value = i; });
    ASSERT_EQ(queue.sync([&] { return value; }), i);
  }
}

// Writers on several threads each push their own sequence; every barrier changes two fields that
// readers check for a half-done change. Each writer's entries must come out in its own order.
TEST(BarrierQueueConcurrency, BarriersAreExclusiveAndKeepSubmissionOrder) {
  BarrierQueue queue("test.order");
  struct Shared {
    long a = 0;
    long b = 0;
    std::vector<std::pair<int, int>> log;
  } shared;
  constexpr int kWriters = 3;
  constexpr int kPerWriter = 3000;
  std::atomic<bool> done{false};
  std::atomic<int> tornReads{0};

  std::vector<std::thread> readers;
  for (int r = 0; r < 3; ++r) {
    readers.emplace_back([&] {
      while (!done.load()) {
        bool torn = queue.sync([&] { return shared.a != shared.b; });
        if (torn) tornReads.fetch_add(1);
      }
    });
  }
  std::vector<std::thread> writers;
  for (int w = 0; w < kWriters; ++w) {
    writers.emplace_back([&, w] {
      for (int i = 0; i < kPerWriter; ++i) {
        queue.asyncBarrier([&shared, w, i] {
          ++shared.a;
          std::this_thread::yield();
          ++shared.b;
          shared.log.emplace_back(w, i);
        });
        if (i % 500 == 0) {
          std::size_t seen = queue.sync([&] { return shared.log.size(); });
          EXPECT_GE(seen, static_cast<std::size_t>(i + 1));
        }
      }
    });
  }
  for (auto& t : writers) t.join();
  queue.waitForBarriers();
  done = true;
  for (auto& t : readers) t.join();

  EXPECT_EQ(tornReads.load(), 0);
  ASSERT_EQ(shared.log.size(), static_cast<std::size_t>(kWriters * kPerWriter));
  std::map<int, int> next;
  for (auto [writer, index] : shared.log) {
    ASSERT_EQ(index, next[writer]) << "writer " << writer;
    ++next[writer];
  }
}

TEST(BarrierQueueConcurrency, ReadsRunAtTheSameTime) {
  BarrierQueue queue("test.parallelReads");
  std::atomic<int> inside{0};
  auto read = [&] {
    return queue.sync([&] {
      inside.fetch_add(1);
      auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
      while (inside.load() < 2 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
      }
      return inside.load() >= 2;
    });
  };
  bool first = false;
  std::thread other([&] { first = read(); });
  bool second = read();
  other.join();
  EXPECT_TRUE(first);
  EXPECT_TRUE(second);
}

TEST(BarrierQueueConcurrency, TasksHoldingAnObjectWeaklyDoNotKeepItAlive) {
  BarrierQueue queue("test.weak");
  auto object = std::make_shared<int>(1);
  std::weak_ptr<int> watcher = object;
  std::atomic<int> ranWithObject{0};
  std::atomic<int> ranWithout{0};
  queue.asyncBarrier([weak = std::weak_ptr<int>(object), &ranWithObject, &ranWithout] {
    if (weak.lock())
      ranWithObject++;
    else
      ranWithout++;
  });
  object.reset();
  EXPECT_TRUE(watcher.expired());
  queue.waitForBarriers();
  EXPECT_EQ(ranWithObject + ranWithout, 1);
}

TEST(BarrierQueueConcurrency, AFailingTaskDoesNotStopTheQueueAndWaitingTasksRunAtTheEnd) {
  int value = 0;
  {
    BarrierQueue queue("test.failing");
    queue.asyncBarrier([] { throw std::runtime_error("expected by the test"); });
    queue.asyncBarrier([&value] { value = 1; });
    EXPECT_EQ(queue.sync([&] { return value; }), 1);
    for (int i = 2; i < 50; ++i) queue.asyncBarrier([&value, i] { value = i; });
  }
  EXPECT_EQ(value, 49);
}

}  // namespace
