#include "norvik/platform/operation.h"

#include <algorithm>
#include <deque>
#include <map>
#include <set>
#include <thread>
#include <unordered_map>

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
  if (!pollsDependencies_.load()) return unfinishedDependencies_.load() <= 0;
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
  bool added = false;
  {
    std::lock_guard lock(mutex_);
    if (std::find(dependencies_.begin(), dependencies_.end(), operation) == dependencies_.end()) {
      dependencies_.push_back(operation);
      // Counted before the dependency can tell us that it finished, so the count never dips
      // below what is still outstanding.
      ++unfinishedDependencies_;
      added = true;
    }
  }
  if (added) {
    std::weak_ptr<Operation> self = weak_from_this();
    if (self.expired()) pollsDependencies_.store(true);
    bool counted = false;
    {
      std::lock_guard lock(operation->mutex_);
      if (!operation->dependentsNotified_ && !self.expired()) {
        operation->dependents_.push_back(std::move(self));
        counted = true;
      }
    }
    // Already finished and announced: it will not tell us again.
    if (!counted) --unfinishedDependencies_;
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
  bool removed = false;
  {
    std::lock_guard lock(mutex_);
    auto it = std::find(dependencies_.begin(), dependencies_.end(), operation);
    if (it != dependencies_.end()) {
      dependencies_.erase(it);
      removed = true;
    }
  }
  if (removed) {
    std::weak_ptr<Operation> self = weak_from_this();
    bool wasCounted = false;
    {
      std::lock_guard lock(operation->mutex_);
      auto& dependents = operation->dependents_;
      auto it = std::find_if(dependents.begin(), dependents.end(), [&](const auto& weak) {
        return !weak.owner_before(self) && !self.owner_before(weak);
      });
      if (it != dependents.end()) {
        dependents.erase(it);
        wasCounted = true;
      }
    }
    // Not found: it finished and has told us (or is telling us right now) already.
    if (wasCounted) --unfinishedDependencies_;
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
  {
    std::lock_guard lock(mutex_);
    finishedCondition_.notify_all();
    if (!completionRan_) {
      completionRan_ = true;
      completion = std::move(completionBlock_);
      completionBlock_ = nullptr;
    }
  }
  if (completion) {
    try {
      completion();
    } catch (...) {
      // A failing completion block is dropped; the operation is finished regardless.
    }
  }
  notifyDependentsOnce();
}

void Operation::notifyDependentsOnce() {
  std::vector<std::weak_ptr<Operation>> dependents;
  {
    std::lock_guard lock(mutex_);
    if (dependentsNotified_) return;
    dependentsNotified_ = true;
    dependents.swap(dependents_);
  }
  // Only the operations that wait for this one hear of it: finishing costs one step per
  // dependent, however many operations there are.
  for (const auto& weak : dependents) {
    if (auto dependent = weak.lock()) dependent->dependencyFinished();
  }
}

void Operation::dependencyFinished() {
  willChangeValueForKey(kIsReady);
  --unfinishedDependencies_;
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
  // The operations in the queue by the sequence number they were added with, so in the order
  // added.
  std::map<std::uint64_t, Entry> entries;
  std::unordered_map<const Operation*, std::uint64_t> sequenceOf;
  // Waiting operations that said they were ready, by sequence number: the first is the earliest
  // added. An operation enters when it announces readiness (or is added ready), so starting one
  // never looks at the operations that are still waiting for something.
  std::set<std::uint64_t> ready;
  std::uint64_t nextSequence = 0;
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

  // Notes whether a waiting operation is ready now. Called with the lock held.
  void noteReadiness(std::uint64_t sequence, const Entry& entry) {
    if (entry.started) return;
    if (!entry.operation->isFinished() && entry.operation->isReady()) {
      ready.insert(sequence);
    } else {
      ready.erase(sequence);
    }
  }

  // Moves ready operations to the workers while the limit allows. Called with the lock held.
  void schedule() {
    if (suspended || stopping) return;
    std::size_t queued = 0;
    while (running < limit() && !ready.empty()) {
      auto first = ready.begin();
      auto found = entries.find(*first);
      ready.erase(first);
      if (found == entries.end()) continue;
      Entry& entry = found->second;
      // Readiness can be withdrawn (a dependency added later); the operation comes back when
      // it announces readiness again.
      if (entry.started || entry.operation->isFinished() || !entry.operation->isReady()) continue;
      entry.started = true;
      ++running;
      toStart.push_back(entry.operation);
      ++queued;
    }
    if (toStart.empty()) return;
    while (idleWorkers < toStart.size() && workers.size() < static_cast<std::size_t>(limit())) {
      workers.emplace_back([self = shared_from_this()] { self->work(); });
      ++idleWorkers;
    }
    // One worker per operation queued: waking them all for one operation (a chain) costs a
    // context switch each.
    for (std::size_t i = 0; i < queued; ++i) workAvailable.notify_one();
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
      // An operation that finished without announcing it still leaves the queue, and the
      // operations that wait for it still hear of it.
      if (operation->isFinished()) {
        operation->notifyDependentsOnce();
        retire(*operation);
      }
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
      auto sequence = sequenceOf.find(&operation);
      if (sequence == sequenceOf.end()) return;
      auto it = entries.find(sequence->second);
      ready.erase(sequence->second);
      sequenceOf.erase(sequence);
      if (it->second.started) --running;
      observer = it->second.observer;
      keep = std::move(it->second.operation);
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
      auto sequence = sequenceOf.find(&operation);
      if (sequence == sequenceOf.end()) return;
      noteReadiness(sequence->second, entries.at(sequence->second));
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
    std::uint64_t sequence = state_->nextSequence++;
    const State::Entry& entry =
        state_->entries.emplace(sequence, State::Entry{operation, observer, false}).first->second;
    state_->sequenceOf.emplace(operation.get(), sequence);
    state_->noteReadiness(sequence, entry);
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
  for (const auto& [sequence, entry] : state_->entries) result.push_back(entry.operation);
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
