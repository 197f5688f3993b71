#include "platform/user_defaults_store.h"

#include <algorithm>
#include <thread>
#include <unordered_map>
#include <utility>

namespace norvik::detail {

const KeyValueTableLayout kUserDefaultsTable{"user defaults", "defaults", true, 0, true};

namespace {
std::chrono::steady_clock::time_point busyDeadline() {
  return std::chrono::steady_clock::now() + std::chrono::milliseconds(sqliteBusyTimeout());
}
}  // namespace

DefaultsStore::DefaultsStore(std::string path, const KeyValueTableLayout& layout)
    : table_(std::move(path), layout) {
  std::lock_guard tableGuard(tableMutex_);
  std::lock_guard guard(mutex_);
  refreshLocked();
}

DefaultsStore::~DefaultsStore() {
  std::lock_guard tableGuard(tableMutex_);
  std::lock_guard guard(mutex_);
  if (pending_.empty()) return;
  KeyValueTable::BoundedWait wait(table_);
  if (table_.connect() == KeyValueTable::Status::Recovered) adoptRecoveredLocked();
  if (!pending_.empty() && table_.commit(pending_) == KeyValueTable::Status::Failed) {
    table_.log("unsaved changes lost at exit");
  }
}

void DefaultsStore::revalidate() {
  std::unique_lock tableGuard(tableMutex_, std::try_to_lock);
  if (!tableGuard.owns_lock()) return;  // busy saving; the save notices a replaced file itself
  KeyValueTable::BoundedWait wait(table_);
  KeyValueTable::Status status = table_.connect();
  std::lock_guard guard(mutex_);
  if (status == KeyValueTable::Status::Recovered) adoptRecoveredLocked();
  noteTableLocked();
}

void DefaultsStore::raiseVersion(std::int32_t version) {
  std::unique_lock tableGuard(tableMutex_, std::try_to_lock);
  if (tableGuard.owns_lock()) {
    table_.raiseUserVersion(version);
  } else {
    // Busy saving: the version is raised when the table is next used.
    std::lock_guard guard(mutex_);
    versionToRaise_ = std::max(versionToRaise_, version);
  }
}

// Called with both locks held.
void DefaultsStore::noteTableLocked() {
  if (versionToRaise_ > 0) {
    table_.raiseUserVersion(versionToRaise_);
    versionToRaise_ = 0;
  }
  readOnly_ = table_.readOnly();
  problem_ = table_.lastError();
}

DefaultsStore::Reach DefaultsStore::reach() {
  std::lock_guard guard(mutex_);
  refreshIfFreeLocked();
  if (!loaded_) return Reach::unreadable;
  return readOnly_ ? Reach::readOnly : Reach::readWrite;
}

bool DefaultsStore::hasUnsavedChanges() {
  std::lock_guard guard(mutex_);
  return !pending_.empty();
}

std::string DefaultsStore::problem() {
  std::lock_guard guard(mutex_);
  return problem_;
}

// The table is a fresh, empty database in place of a damaged one: what this process holds (the
// loaded copy with its unsaved changes) becomes the table's content, now or at the next save.
// Called with both locks held.
void DefaultsStore::adoptRecoveredLocked() {
  for (const auto& [key, value] : cache_) pending_.insert_or_assign(key, value);
  if (table_.commit(pending_) != KeyValueTable::Status::Failed) pending_.clear();
  loaded_ = false;
}

// Called with both locks held.
void DefaultsStore::refreshLocked() {
  if (loaded_ && !table_.stale()) return;
  KeyValueTable::BoundedWait wait(table_);
  platform::Dictionary fresh;
  KeyValueTable::Status status = table_.load(fresh);
  noteTableLocked();
  if (status == KeyValueTable::Status::Failed) return;  // keep serving the copy already held
  if (status == KeyValueTable::Status::Recovered) {
    adoptRecoveredLocked();
    fresh.clear();
    if (table_.load(fresh) == KeyValueTable::Status::Failed) return;
  }
  for (const auto& [key, value] : pending_) {
    if (value.isNull()) {
      fresh.erase(key);
    } else {
      fresh.insert_or_assign(key, value);
    }
  }
  cache_ = std::move(fresh);
  loaded_ = true;
}

// A read refreshes the copy unless another thread is saving: it then answers from the copy it
// holds rather than wait for the save, which may be waiting for another process's lock.
void DefaultsStore::refreshIfFreeLocked() {
  std::unique_lock tableGuard(tableMutex_, std::try_to_lock);
  if (tableGuard.owns_lock()) refreshLocked();
}

platform::Value DefaultsStore::object(std::string_view key) {
  std::lock_guard guard(mutex_);
  refreshIfFreeLocked();
  auto it = cache_.find(key);
  return it == cache_.end() ? platform::Value() : it->second;
}

void DefaultsStore::set(std::string_view key, platform::Value value) {
  std::lock_guard guard(mutex_);
  refreshIfFreeLocked();
  if (value.isNull()) {
    if (auto it = cache_.find(key); it != cache_.end()) cache_.erase(it);
  } else {
    cache_.insert_or_assign(std::string(key), value);
  }
  pending_.insert_or_assign(std::string(key), std::move(value));
}

platform::Dictionary DefaultsStore::snapshot() {
  std::lock_guard guard(mutex_);
  refreshIfFreeLocked();
  return cache_;
}

bool DefaultsStore::synchronize() {
  // One busy timeout for the whole save, the wait for another thread's save included. The
  // memory copy stays unlocked while the table waits, so reads and sets go on meanwhile.
  auto deadline = busyDeadline();
  std::unique_lock tableGuard(tableMutex_, std::defer_lock);
  // Tried with naps rather than a timed lock, which thread checkers do not follow.
  while (!tableGuard.try_lock()) {
    if (std::chrono::steady_clock::now() >= deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  KeyValueTable::BoundedWait wait(table_, deadline);
  KeyValueTable::Status status = table_.connect();
  KeyValueChanges changes;
  {
    std::lock_guard guard(mutex_);
    if (status == KeyValueTable::Status::Recovered) adoptRecoveredLocked();
    noteTableLocked();
    changes = pending_;
  }
  if (!changes.empty()) {
    status = table_.commit(changes);
    std::lock_guard guard(mutex_);
    noteTableLocked();
    if (status == KeyValueTable::Status::Failed) return false;
    // What was set again while the save ran stays for the next save.
    for (const auto& [key, value] : changes) {
      auto it = pending_.find(key);
      if (it != pending_.end() && it->second == value) pending_.erase(it);
    }
    if (status == KeyValueTable::Status::Recovered) {
      // The commit found the file damaged and wrote the changes to a fresh one; the rest of
      // what this process holds follows.
      adoptRecoveredLocked();
      if (!pending_.empty()) return false;
    }
  } else {
    table_.checkForeignCommits();  // a commit checks this inside its own transaction
  }
  std::lock_guard guard(mutex_);
  refreshLocked();
  return true;
}

std::shared_ptr<DefaultsStore> defaultsStoreForPath(const std::string& path,
                                                    const KeyValueTableLayout& layout) {
  // Guarded by `mutex`; stores stay open until the process exits.
  struct Registry {
    std::mutex mutex;
    std::unordered_map<std::string, std::shared_ptr<DefaultsStore>> stores;
  };
  static Registry registry;
  std::lock_guard guard(registry.mutex);
  auto it = registry.stores.find(path);
  if (it != registry.stores.end()) {
    // A removed container (or database) is made afresh; if that fails the store still serves
    // what the process holds, and synchronize() reports the failure.
    it->second->revalidate();
    // A handle that asks for a higher version than the store was opened with raises it.
    it->second->raiseVersion(layout.userVersion);
    return it->second;
  }
  auto store = std::make_shared<DefaultsStore>(path, layout);
  registry.stores.emplace(path, store);
  return store;
}

}  // namespace norvik::detail
