#pragma once
// NVAsyncOperation: the base of operations whose work finishes after main() returns. A subclass
// does its work in main() and sets the state to finished when the work is complete.

#include <atomic>
#include <string_view>

#include "norvik/platform/operation.h"

namespace norvik {

class NVAsyncOperation : public platform::Operation {
 public:
  enum class State { ready, executing, finished };
  // "ready", "executing", "finished".
  static std::string_view rawValue(State state);

  NVAsyncOperation() = default;

  // The state; a new operation is ready. Setting it announces, in this order, a will-change of
  // the new state's key ("isReady", "isExecuting", "isFinished"), a will-change of the old state's
  // key, then after the change a did-change of the old key and a did-change of the new key.
  State state() const { return state_.load(); }
  void setState(State state);

  bool isAsynchronous() const override { return true; }
  // The dependencies are done (or the operation is cancelled) and the state is ready.
  bool isReady() const override;
  bool isExecuting() const override { return state() == State::executing; }
  bool isFinished() const override { return state() == State::finished; }

  // A cancelled operation becomes finished without running main(); otherwise the state becomes
  // executing and main() runs. An operation that is no longer ready (already started, or finished
  // by cancel() meanwhile) is left as it is.
  void start() override;
  // Cancels and sets the state to finished at once, also while main() is still running, so the
  // operation leaves its queue immediately; main() must tolerate that.
  void cancel() override;

 private:
  // Not locked: a queue starts an operation once, and the subclass finishes it once. Atomic so
  // that the queue's threads read a whole value.
  std::atomic<State> state_{State::ready};
};

}  // namespace norvik
