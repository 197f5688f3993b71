#pragma once
// Operations and operation queues: units of work with readiness, dependencies and cancellation,
// run by a queue on its worker threads.
//
// An Operation passes through ready -> executing -> finished. It is ready when every operation it
// depends on has finished (or when it was cancelled, so that its queue can start it and let it
// leave at once). Its state changes are announced to its observers as key-value changes of the
// keys "isReady", "isExecuting", "isFinished" and "isCancelled": a will-change before the change
// and a did-change after it, called on the thread that made the change.
//
// Subclasses put their work in main(). A synchronous operation (the default) is finished when
// start() returns. An asynchronous one overrides start(), isExecuting(), isFinished() and
// isAsynchronous(), keeps its own state, and announces its changes with willChangeValueForKey()
// and didChangeValueForKey(); its queue counts it as running until it announces that it finished.
//
// Threads: every member function may be called from any thread. Observers and completion blocks
// run on the thread that made the change, with no lock of the operation held. A queue releases an
// operation once it hears that the operation finished: code that goes on using an operation after
// announcing its end holds a shared pointer to it (shared_from_this()) first.

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace norvik::platform {

// The two halves of an announced change.
enum class KeyValueChange { willChange, didChange };

class Operation : public std::enable_shared_from_this<Operation> {
 public:
  using Observer =
      std::function<void(Operation& operation, std::string_view key, KeyValueChange change)>;

  Operation();
  virtual ~Operation();
  Operation(const Operation&) = delete;
  Operation& operator=(const Operation&) = delete;

  // Runs the operation on the calling thread: a cancelled operation becomes finished without
  // running main(); otherwise it is executing while main() runs and finished afterwards. Calling
  // start() on an operation that is executing or finished does nothing.
  virtual void start();
  // The work. The default does nothing.
  virtual void main();
  // Marks the operation cancelled (it stays so) and makes it ready. It does not stop a main() that
  // is running; main() may look at isCancelled() and return early.
  virtual void cancel();

  // Every dependency has finished, or the operation is cancelled.
  virtual bool isReady() const;
  virtual bool isExecuting() const;
  virtual bool isFinished() const;
  // False: the operation is finished when start() returns.
  virtual bool isAsynchronous() const;
  bool isCancelled() const;

  // This operation will not be ready before `operation` has finished. A null operation, the
  // operation itself, or one already a dependency is ignored. Dependencies are held strongly.
  void addDependency(const std::shared_ptr<Operation>& operation);
  void removeDependency(const std::shared_ptr<Operation>& operation);
  std::vector<std::shared_ptr<Operation>> dependencies() const;

  // Called once, on the thread that finished the operation, after it became finished.
  void setCompletionBlock(std::function<void()> block);

  // Blocks until the operation is finished. Do not call it from the operation's own main().
  void waitUntilFinished() const;

  // Registers an observer of the announced changes; returns its token (0 for an empty callback).
  std::uint64_t addObserver(Observer observer);
  // Removes an observer; a call in progress on another thread may still run to its end.
  void removeObserver(std::uint64_t token);

  // Announce a change of `key` ("isExecuting", "isFinished", ...) to the observers. Subclasses that
  // keep their own state call these around each change. A did-change of "isFinished" that finds
  // the operation finished also wakes waitUntilFinished(), runs the completion block, and tells
  // the operations that depend on this one that their readiness may have changed.
  void willChangeValueForKey(std::string_view key);
  void didChangeValueForKey(std::string_view key);

 private:
  enum class BuiltinState { ready, executing, finished };
  void setBuiltinState(BuiltinState state);
  void announce(std::string_view key, KeyValueChange change);
  void dependencyFinished();
  bool dependenciesFinished() const;
  // Tells the dependents, once, that this operation has finished.
  void notifyDependentsOnce();
  friend class OperationQueue;

  // Guards every field below except the atomics.
  mutable std::mutex mutex_;
  mutable std::condition_variable finishedCondition_;
  std::atomic<BuiltinState> state_{BuiltinState::ready};
  std::atomic<bool> cancelled_{false};
  std::atomic<bool> started_{false};
  std::atomic<bool> enqueued_{false};  // set once by the queue that takes the operation
  std::vector<std::shared_ptr<Operation>> dependencies_;
  // Dependents still to be told that this operation finished; each entry stands for one count in
  // the dependent's unfinishedDependencies_.
  std::vector<std::weak_ptr<Operation>> dependents_;
  bool dependentsNotified_ = false;
  // Dependencies that have not told this operation that they finished: readiness is one load.
  std::atomic<int> unfinishedDependencies_{0};
  // Set when this operation is not owned by a shared pointer, so its dependencies cannot tell it
  // that they finished: readiness then looks at every dependency.
  std::atomic<bool> pollsDependencies_{false};
  std::vector<std::pair<std::uint64_t, std::shared_ptr<Observer>>> observers_;
  std::uint64_t nextObserver_ = 1;
  std::function<void()> completionBlock_;
  bool completionRan_ = false;
};

// An operation that runs one function.
class BlockOperation : public Operation {
 public:
  explicit BlockOperation(std::function<void()> block) : block_(std::move(block)) {}
  void main() override {
    if (block_) block_();
  }

 private:
  std::function<void()> block_;
};

// Runs operations on worker threads of its own. At most maxConcurrentOperationCount operations
// are executing at a time (an asynchronous operation counts until it finishes); among the waiting
// operations, the earliest added that is ready starts first. Finished operations leave the queue.
//
// Threads: every member function may be called from any thread, also from inside an operation.
class OperationQueue {
 public:
  // The default limit: as many operations at once as the machine has cores (at least two).
  static constexpr int kDefaultMaxConcurrentOperationCount = -1;

  OperationQueue();
  // Waits until every operation added has finished, then stops the worker threads. An operation
  // that never finishes keeps the destructor waiting.
  ~OperationQueue();
  OperationQueue(const OperationQueue&) = delete;
  OperationQueue& operator=(const OperationQueue&) = delete;

  // Adds an operation. Returns false (and adds nothing) for a null operation or one that is already
  // in a queue, executing or finished.
  bool addOperation(const std::shared_ptr<Operation>& operation);
  // Adds a BlockOperation running `block` and returns it (null for an empty block).
  std::shared_ptr<Operation> addOperation(std::function<void()> block);
  // Adds every operation; when `waitUntilFinished` is true, returns after all of them finished.
  void addOperations(const std::vector<std::shared_ptr<Operation>>& operations,
                     bool waitUntilFinished);

  // The operations in the queue (waiting or executing), in the order they were added.
  std::vector<std::shared_ptr<Operation>> operations() const;
  std::size_t operationCount() const;

  // Values below 1 other than kDefaultMaxConcurrentOperationCount are taken as 1.
  void setMaxConcurrentOperationCount(int count);
  int maxConcurrentOperationCount() const;

  // A suspended queue starts no operation; those executing go on.
  void setSuspended(bool suspended);
  bool isSuspended() const;

  // Cancels every operation in the queue.
  void cancelAllOperations();
  // Blocks until the queue is empty. Do not call it from an operation of this queue.
  void waitUntilAllOperationsAreFinished() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace norvik::platform
