#include "norvik/platform/barrier_queue.h"

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <exception>
#include <iostream>
#include <mutex>
#include <shared_mutex>
#include <thread>

namespace norvik::platform {

// `gate` is held shared by reads and exclusively by whoever runs barriers. `mutex` guards
// `pending`, `stopping` and the worker's start; the counters are atomics so that a read can tell
// without a lock whether barriers are outstanding.
struct BarrierQueue::State {
  std::string label;
  std::shared_mutex gate;
  std::mutex mutex;
  std::condition_variable wake;
  std::deque<std::function<void()>> pending;
  std::atomic<std::uint64_t> submitted{0};
  std::atomic<std::uint64_t> completed{0};
  bool stopping = false;
  std::thread worker;

  // Runs waiting barriers in submission order until none is left. Tasks are taken off the list
  // only while the gate is held exclusively, so two drainers never run tasks out of order, and
  // once the gate is ours every task taken earlier has finished.
  void drain() {
    std::unique_lock exclusive(gate);
    while (true) {
      std::function<void()> task;
      {
        std::lock_guard lock(mutex);
        if (pending.empty()) return;
        task = std::move(pending.front());
        pending.pop_front();
      }
      try {
        task();
      } catch (const std::exception& error) {
        std::cerr << "norvik: a task of queue " << label << " failed: " << error.what() << "\n";
      } catch (...) {
        std::cerr << "norvik: a task of queue " << label << " failed\n";
      }
      task = nullptr;  // captured state goes before the task counts as done
      completed.fetch_add(1, std::memory_order_release);
    }
  }

  void runWorker() {
    std::unique_lock lock(mutex);
    while (true) {
      wake.wait(lock, [this] { return stopping || !pending.empty(); });
      if (pending.empty() && stopping) return;
      lock.unlock();
      drain();
      lock.lock();
    }
  }

  // Waits until every barrier counted in `ticket` has finished, helping to run them.
  void waitFor(std::uint64_t ticket) {
    if (completed.load(std::memory_order_acquire) >= ticket) return;
    drain();
  }
};

BarrierQueue::BarrierQueue(std::string_view label) : state_(std::make_shared<State>()) {
  state_->label = std::string(label);
}

BarrierQueue::~BarrierQueue() {
  {
    std::lock_guard lock(state_->mutex);
    state_->stopping = true;
  }
  state_->wake.notify_all();
  if (state_->worker.joinable() && state_->worker.get_id() == std::this_thread::get_id()) {
    // The queue's last owner went away inside one of its own tasks: the worker finishes the
    // remaining tasks and ends on its own, keeping the state alive until then.
    state_->worker.detach();
    return;
  }
  if (state_->worker.joinable()) state_->worker.join();
  state_->drain();
}

const std::string& BarrierQueue::label() const noexcept {
  return state_->label;
}

void BarrierQueue::asyncBarrier(std::function<void()> task) {
  if (!task) return;
  {
    std::lock_guard lock(state_->mutex);
    state_->pending.push_back(std::move(task));
    state_->submitted.fetch_add(1, std::memory_order_release);
    if (!state_->worker.joinable() && !state_->stopping) {
      try {
        state_->worker = std::thread([state = state_] { state->runWorker(); });
      } catch (const std::system_error& error) {
        // Without a worker the barriers still run, at the next read or wait.
        std::cerr << "norvik: queue " << state_->label << " has no worker: " << error.what()
                  << "\n";
      }
    }
  }
  state_->wake.notify_one();
}

void BarrierQueue::waitForBarriers() {
  state_->waitFor(state_->submitted.load(std::memory_order_acquire));
}

BarrierQueue::ReadScope::ReadScope(BarrierQueue& queue) : state_(*queue.state_) {
  state_.waitFor(state_.submitted.load(std::memory_order_acquire));
  state_.gate.lock_shared();
}

BarrierQueue::ReadScope::~ReadScope() {
  state_.gate.unlock_shared();
}

}  // namespace norvik::platform
