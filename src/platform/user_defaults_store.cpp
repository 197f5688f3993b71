#include "platform/user_defaults_store.h"

#include <unordered_map>
#include <utility>

namespace norvik::detail {

const KeyValueTableLayout kUserDefaultsTable{"user defaults", "defaults", true, 0, true};

DefaultsStore::DefaultsStore(std::string path, const KeyValueTableLayout& layout)
    : table_(std::move(path), layout) {
  std::lock_guard guard(mutex_);
  refreshLocked();
}

DefaultsStore::~DefaultsStore() {
  std::lock_guard guard(mutex_);
  if (pending_.empty()) return;
  KeyValueTable::BoundedWait wait(table_);
  if (table_.connect() == KeyValueTable::Status::Recovered) adoptRecoveredLocked();
  if (!pending_.empty() && table_.commit(pending_) == KeyValueTable::Status::Failed) {
    table_.log("unsaved changes lost at exit");
  }
}

void DefaultsStore::revalidate() {
  std::lock_guard guard(mutex_);
  KeyValueTable::BoundedWait wait(table_);
  if (table_.connect() == KeyValueTable::Status::Recovered) adoptRecoveredLocked();
}

void DefaultsStore::raiseVersion(std::int32_t version) {
  std::lock_guard guard(mutex_);
  table_.raiseUserVersion(version);
}

DefaultsStore::Reach DefaultsStore::reach() {
  std::lock_guard guard(mutex_);
  refreshLocked();
  if (!loaded_) return Reach::unreadable;
  return table_.readOnly() ? Reach::readOnly : Reach::readWrite;
}

std::string DefaultsStore::problem() {
  std::lock_guard guard(mutex_);
  return table_.lastError();
}

// The table is a fresh, empty database in place of a damaged one: what this process holds (the
// loaded copy with its unsaved changes) becomes the table's content, now or at the next save.
void DefaultsStore::adoptRecoveredLocked() {
  for (const auto& [key, value] : cache_) pending_.insert_or_assign(key, value);
  if (table_.commit(pending_) != KeyValueTable::Status::Failed) pending_.clear();
  loaded_ = false;
}

void DefaultsStore::refreshLocked() {
  if (loaded_ && !table_.stale()) return;
  KeyValueTable::BoundedWait wait(table_);
  platform::Dictionary fresh;
  KeyValueTable::Status status = table_.load(fresh);
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

platform::Value DefaultsStore::object(std::string_view key) {
  std::lock_guard guard(mutex_);
  refreshLocked();
  auto it = cache_.find(key);
  return it == cache_.end() ? platform::Value() : it->second;
}

void DefaultsStore::set(std::string_view key, platform::Value value) {
  std::lock_guard guard(mutex_);
  refreshLocked();
  if (value.isNull()) {
    if (auto it = cache_.find(key); it != cache_.end()) cache_.erase(it);
  } else {
    cache_.insert_or_assign(std::string(key), value);
  }
  pending_.insert_or_assign(std::string(key), std::move(value));
}

platform::Dictionary DefaultsStore::snapshot() {
  std::lock_guard guard(mutex_);
  refreshLocked();
  return cache_;
}

bool DefaultsStore::synchronize() {
  std::lock_guard guard(mutex_);
  // One busy timeout for the whole save, however many steps it takes.
  KeyValueTable::BoundedWait wait(table_);
  if (table_.connect() == KeyValueTable::Status::Recovered) adoptRecoveredLocked();
  if (!pending_.empty()) {
    KeyValueTable::Status status = table_.commit(pending_);
    if (status == KeyValueTable::Status::Failed) return false;
    pending_.clear();
    if (status == KeyValueTable::Status::Recovered) {
      // The commit found the file damaged and wrote the changes to a fresh one; the rest of
      // what this process holds follows.
      adoptRecoveredLocked();
      if (!pending_.empty()) return false;
    }
  } else {
    table_.checkForeignCommits();  // a commit checks this inside its own transaction
  }
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
