#pragma once
// A concurrent queue with barrier semantics, for state that many threads read and few change.
//
// Reads run synchronously on the calling thread, several at once. Changes are submitted as barrier
// tasks that run later, one at a time, never alongside a read, in the order they were submitted. A
// read waits for every barrier submitted before it (by any thread) to finish, so a thread always
// reads what it wrote before. Barriers are run by a worker thread that the queue starts on the
// first submission, or by a reader that finds barriers waiting, whichever comes first.
//
// A task must not call sync() or waitForBarriers() of its own queue (it would wait for itself).
// Tasks that refer to an object which may go away should hold it weakly: the queue keeps a task,
// and everything it captured, until the task has run.

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

namespace norvik::platform {

class BarrierQueue {
 public:
  explicit BarrierQueue(std::string_view label);
  // Runs the barriers still waiting, then stops the worker. When the queue is destroyed by one of
  // its own tasks, the worker runs the rest and ends by itself.
  ~BarrierQueue();
  BarrierQueue(const BarrierQueue&) = delete;
  BarrierQueue& operator=(const BarrierQueue&) = delete;

  const std::string& label() const noexcept;

  // Runs `read` on the calling thread once every earlier barrier has finished, while no barrier
  // runs, and returns its result. Other reads may run at the same time.
  template <class F>
  std::invoke_result_t<F&> sync(F&& read) {
    ReadScope scope(*this);
    return read();
  }

  // Queues `task` as a barrier and returns at once. A task that throws is reported on standard
  // error and the queue carries on.
  void asyncBarrier(std::function<void()> task);

  // Returns once every barrier submitted before the call has finished.
  void waitForBarriers();

 private:
  struct State;
  class ReadScope {
   public:
    explicit ReadScope(BarrierQueue& queue);
    ~ReadScope();
    ReadScope(const ReadScope&) = delete;
    ReadScope& operator=(const ReadScope&) = delete;

   private:
    State& state_;
  };

  std::shared_ptr<State> state_;  // shared with the worker thread
};

}  // namespace norvik::platform
