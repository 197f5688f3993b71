#include "norvik/vocabulary/async_operation.h"

namespace norvik {

namespace {
// The observed key of a state: "is" and the raw value with a capital first letter.
std::string_view keyOf(NVAsyncOperation::State state) {
  switch (state) {
    case NVAsyncOperation::State::ready:
      return "isReady";
    case NVAsyncOperation::State::executing:
      return "isExecuting";
    case NVAsyncOperation::State::finished:
      break;
  }
  return "isFinished";
}
}  // namespace

std::string_view NVAsyncOperation::rawValue(State state) {
  switch (state) {
    case State::ready:
      return "ready";
    case State::executing:
      return "executing";
    case State::finished:
      break;
  }
  return "finished";
}

void NVAsyncOperation::setState(State state) {
  State old = state_.load();
  willChangeValueForKey(keyOf(state));
  willChangeValueForKey(keyOf(old));
  state_.store(state);
  didChangeValueForKey(keyOf(old));
  didChangeValueForKey(keyOf(state));
}

bool NVAsyncOperation::isReady() const {
  return Operation::isReady() && state() == State::ready;
}

void NVAsyncOperation::start() {
  if (isCancelled()) {
    setState(State::finished);
    return;
  }
  State expected = State::ready;
  willChangeValueForKey(keyOf(State::executing));
  willChangeValueForKey(keyOf(State::ready));
  bool started = state_.compare_exchange_strong(expected, State::executing);
  didChangeValueForKey(keyOf(State::ready));
  didChangeValueForKey(keyOf(State::executing));
  // Another start(), or a cancel() that finished the operation meanwhile, got there first.
  if (!started) return;
  try {
    main();
  } catch (...) {
    // main() failed before handing its work on; nothing will finish the operation later.
    setState(State::finished);
  }
}

void NVAsyncOperation::cancel() {
  Operation::cancel();
  setState(State::finished);
}

}  // namespace norvik
