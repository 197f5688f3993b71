#include "norvik/platform/operation.h"

#include <algorithm>
#include <deque>
#include <thread>

namespace norvik::platform {

namespace {
constexpr std::string_view kIsReady = "isReady";
constexpr std::string_view kIsExecuting = "isExecuting";
constexpr std::string_view kIsFinished = "isFinished";
constexpr std::string_view kIsCancelled = "isCancelled";
}  // namespace

Operation::Operation() = default;
Operation::~Operation() = default;

void Operation::start() {
  if (started_.exchange(true)) return;
  if (state_.load() != BuiltinState::ready) return;
  if (isCancelled()) {
    setBuiltinState(BuiltinState::finished);
    return;
  }
  setBuiltinState(BuiltinState::executing);
  try {
    main();
  } catch (...) {
    // An exception leaving main() ends the work; the operation still finishes.
  }
  setBuiltinState(BuiltinState::finished);
}

void Operation::main() {}

void Operation::cancel() {
  if (cancelled_.load()) return;
  willChangeValueForKey(kIsCancelled);
  bool already = cancelled_.exchange(true);
  didChangeValueForKey(kIsCancelled);
  if (already) return;
  // A cancelled operation no longer waits for its dependencies.
  willChangeValueForKey(kIsReady);
  didChangeValueForKey(kIsReady);
}

bool Operation::isReady() const {
  return isCancelled() || dependenciesFinished();
}
bool Operation::isExecuting() const {
  return state_.load() == BuiltinState::executing;
}
bool Operation::isFinished() const {
  return state_.load() == BuiltinState::finished;
}
bool Operation::isAsynchronous() const {
  return false;
}
bool Operation::isCancelled() const {
  return cancelled_.load();
}

bool Operation::dependenciesFinished() const {
  std::vector<std::shared_ptr<Operation>> dependencies;
  {
    std::lock_guard lock(mutex_);
    dependencies = dependencies_;
  }
  return std::all_of(dependencies.begin(), dependencies.end(),
                     [](const auto& dependency) { return dependency->isFinished(); });
}

void Operation::addDependency(const std::shared_ptr<Operation>& operation) {
  if (!operation || operation.get() == this) return;
  {
    std::lock_guard lock(mutex_);
    if (std::find(dependencies_.begin(), dependencies_.end(), operation) != dependencies_.end()) {
      return;
    }
  }
  willChangeValueForKey(kIsReady);
  {
    std::lock_guard lock(mutex_);
    dependencies_.push_back(operation);
  }
  {
    std::lock_guard lock(operation->mutex_);
    operation->dependents_.push_back(weak_from_this());
  }
  didChangeValueForKey(kIsReady);
}

void Operation::removeDependency(const std::shared_ptr<Operation>& operation) {
  if (!operation) return;
  {
    std::lock_guard lock(mutex_);
    auto it = std::find(dependencies_.begin(), dependencies_.end(), operation);
    if (it == dependencies_.end()) return;
  }
  willChangeValueForKey(kIsReady);
  {
    std::lock_guard lock(mutex_);
    std::erase(dependencies_, operation);
  }
  {
    std::lock_guard lock(operation->mutex_);
    std::erase_if(operation->dependents_, [this](const std::weak_ptr<Operation>& weak) {
      auto dependent = weak.lock();
      return !dependent || dependent.get() == this;
    });
  }
  didChangeValueForKey(kIsReady);
}

std::vector<std::shared_ptr<Operation>> Operation::dependencies() const {
  std::lock_guard lock(mutex_);
  return dependencies_;
}

void Operation::setCompletionBlock(std::function<void()> block) {
  std::lock_guard lock(mutex_);
  completionBlock_ = std::move(block);
}

void Operation::waitUntilFinished() const {
  std::unique_lock lock(mutex_);
  finishedCondition_.wait(lock, [this] { return isFinished(); });
}

std::uint64_t Operation::addObserver(Observer observer) {
  if (!observer) return 0;
  std::lock_guard lock(mutex_);
  std::uint64_t token = nextObserver_++;
  observers_.emplace_back(token, std::make_shared<Observer>(std::move(observer)));
  return token;
}

void Operation::removeObserver(std::uint64_t token) {
  std::lock_guard lock(mutex_);
  std::erase_if(observers_, [token](const auto& entry) { return entry.first == token; });
}

void Operation::announce(std::string_view key, KeyValueChange change) {
  std::vector<std::shared_ptr<Observer>> observers;
  {
    std::lock_guard lock(mutex_);
    observers.reserve(observers_.size());
    for (const auto& entry : observers_) observers.push_back(entry.second);
  }
  for (const auto& observer : observers) {
    try {
      (*observer)(*this, key, change);
    } catch (...) {
      // An observer's failure does not stop the others from hearing of the change.
    }
  }
}

void Operation::willChangeValueForKey(std::string_view key) {
  announce(key, KeyValueChange::willChange);
}

void Operation::didChangeValueForKey(std::string_view key) {
  // A queue lets go of an operation when it hears that it finished; keep it alive until the
  // announcement is over.
  std::shared_ptr<Operation> self = weak_from_this().lock();
  announce(key, KeyValueChange::didChange);
  if (key != kIsFinished || !isFinished()) return;

  std::function<void()> completion;
  std::vector<std::weak_ptr<Operation>> dependents;
  {
    std::lock_guard lock(mutex_);
    finishedCondition_.notify_all();
    if (!completionRan_) {
      completionRan_ = true;
      completion = std::move(completionBlock_);
      completionBlock_ = nullptr;
    }
    dependents = dependents_;
  }
  if (completion) {
    try {
      completion();
    } catch (...) {
      // A failing completion block is dropped; the operation is finished regardless.
    }
  }
  for (const auto& weak : dependents) {
    if (auto dependent = weak.lock()) dependent->dependencyFinished();
  }
}

void Operation::dependencyFinished() {
  willChangeValueForKey(kIsReady);
  didChangeValueForKey(kIsReady);
}

void Operation::setBuiltinState(BuiltinState state) {
  auto keyOf = [](BuiltinState s) {
    switch (s) {
      case BuiltinState::ready:
        return kIsReady;
      case BuiltinState::executing:
        return kIsExecuting;
      case BuiltinState::finished:
        break;
    }
    return kIsFinished;
  };
  BuiltinState old = state_.load();
  willChangeValueForKey(keyOf(state));
  willChangeValueForKey(keyOf(old));
  state_.store(state);
  didChangeValueForKey(keyOf(old));
  didChangeValueForKey(keyOf(state));
}

// ---------------------------------------------------------------------------------------------

struct OperationQueue::State : std::enable_shared_from_this<OperationQueue::State> {
  struct Entry {
    std::shared_ptr<Operation> operation;
    std::uint64_t observer = 0;
    bool started = false;
  };

  // Guards every field below; the conditions wait on it.
  mutable std::mutex mutex;
  std::condition_variable workAvailable;
  mutable std::condition_variable changed;
  std::vector<Entry> entries;  // in the order added
  std::deque<std::shared_ptr<Operation>> toStart;
  std::vector<std::thread> workers;
  std::size_t idleWorkers = 0;
  int running = 0;
  int maxConcurrent = kDefaultMaxConcurrentOperationCount;
  bool suspended = false;
  bool stopping = false;

  int limit() const {
    if (maxConcurrent != kDefaultMaxConcurrentOperationCount) return maxConcurrent;
    return static_cast<int>(std::max(2u, std::thread::hardware_concurrency()));
  }

  // Moves ready operations to the workers while the limit allows. Called with the lock held.
  void schedule() {
    if (suspended || stopping) return;
    for (Entry& entry : entries) {
      if (running >= limit()) break;
      if (entry.started || entry.operation->isFinished() || !entry.operation->isReady()) continue;
      entry.started = true;
      ++running;
      toStart.push_back(entry.operation);
    }
    if (toStart.empty()) return;
    while (idleWorkers < toStart.size() && workers.size() < static_cast<std::size_t>(limit())) {
      workers.emplace_back([self = shared_from_this()] { self->work(); });
      ++idleWorkers;
    }
    workAvailable.notify_all();
  }

  void work() {
    std::unique_lock lock(mutex);
    for (;;) {
      workAvailable.wait(lock, [this] { return stopping || !toStart.empty(); });
      if (toStart.empty()) return;
      std::shared_ptr<Operation> operation = std::move(toStart.front());
      toStart.pop_front();
      --idleWorkers;
      lock.unlock();
      try {
        operation->start();
      } catch (...) {
        // start() of a subclass failed; the operation leaves the queue below if it is finished.
      }
      // An operation that finished without announcing it still leaves the queue.
      if (operation->isFinished()) retire(*operation);
      operation.reset();
      lock.lock();
      ++idleWorkers;
    }
  }

  void retire(Operation& operation) {
    std::uint64_t observer = 0;
    std::shared_ptr<Operation> keep;
    {
      std::lock_guard lock(mutex);
      auto it = std::find_if(entries.begin(), entries.end(),
                             [&](const Entry& e) { return e.operation.get() == &operation; });
      if (it == entries.end()) return;
      if (it->started) --running;
      observer = it->observer;
      keep = std::move(it->operation);
      entries.erase(it);
      schedule();
      changed.notify_all();
    }
    keep->removeObserver(observer);
  }

  void operationChanged(Operation& operation, std::string_view key) {
    if (key == kIsFinished) {
      if (operation.isFinished()) retire(operation);
    } else if (key == kIsReady) {
      std::lock_guard lock(mutex);
      schedule();
    }
  }
};

OperationQueue::OperationQueue() : state_(std::make_shared<State>()) {}

OperationQueue::~OperationQueue() {
  waitUntilAllOperationsAreFinished();
  std::vector<std::thread> workers;
  {
    std::lock_guard lock(state_->mutex);
    state_->stopping = true;
    workers = std::move(state_->workers);
    state_->workAvailable.notify_all();
  }
  for (std::thread& worker : workers) {
    // The last owner of a queue may be one of its own operations.
    if (worker.get_id() == std::this_thread::get_id()) {
      worker.detach();
    } else {
      worker.join();
    }
  }
}

bool OperationQueue::addOperation(const std::shared_ptr<Operation>& operation) {
  if (!operation || operation->isExecuting() || operation->isFinished()) return false;
  if (operation->enqueued_.exchange(true)) return false;
  std::weak_ptr<State> weak = state_;
  std::uint64_t observer =
      operation->addObserver([weak](Operation& op, std::string_view key, KeyValueChange change) {
        if (change != KeyValueChange::didChange) return;
        if (auto state = weak.lock()) state->operationChanged(op, key);
      });
  {
    std::lock_guard lock(state_->mutex);
    state_->entries.push_back({operation, observer, false});
    state_->schedule();
  }
  // Finished (by a cancel() on another thread) before its entry existed: leave at once.
  if (operation->isFinished()) state_->retire(*operation);
  return true;
}

std::shared_ptr<Operation> OperationQueue::addOperation(std::function<void()> block) {
  if (!block) return nullptr;
  auto operation = std::make_shared<BlockOperation>(std::move(block));
  addOperation(operation);
  return operation;
}

void OperationQueue::addOperations(const std::vector<std::shared_ptr<Operation>>& operations,
                                   bool waitUntilFinished) {
  for (const auto& operation : operations) addOperation(operation);
  if (!waitUntilFinished) return;
  for (const auto& operation : operations) {
    if (operation) operation->waitUntilFinished();
  }
}

std::vector<std::shared_ptr<Operation>> OperationQueue::operations() const {
  std::lock_guard lock(state_->mutex);
  std::vector<std::shared_ptr<Operation>> result;
  result.reserve(state_->entries.size());
  for (const auto& entry : state_->entries) result.push_back(entry.operation);
  return result;
}

std::size_t OperationQueue::operationCount() const {
  std::lock_guard lock(state_->mutex);
  return state_->entries.size();
}

void OperationQueue::setMaxConcurrentOperationCount(int count) {
  std::lock_guard lock(state_->mutex);
  state_->maxConcurrent = count == kDefaultMaxConcurrentOperationCount ? count : std::max(count, 1);
  state_->schedule();
}

int OperationQueue::maxConcurrentOperationCount() const {
  std::lock_guard lock(state_->mutex);
  return state_->maxConcurrent;
}

void OperationQueue::setSuspended(bool suspended) {
  std::lock_guard lock(state_->mutex);
  state_->suspended = suspended;
  state_->schedule();
}

bool OperationQueue::isSuspended() const {
  std::lock_guard lock(state_->mutex);
  return state_->suspended;
}

void OperationQueue::cancelAllOperations() {
  for (const auto& operation : operations()) operation->cancel();
}

void OperationQueue::waitUntilAllOperationsAreFinished() const {
  std::unique_lock lock(state_->mutex);
  state_->changed.wait(lock, [this] { return state_->entries.empty(); });
}

}  // namespace norvik::platform
