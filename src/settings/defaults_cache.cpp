#include "norvik/settings/defaults_cache.h"

#include <iostream>
#include <mutex>
#include <optional>

#include "norvik/platform/barrier_queue.h"
#include "norvik/platform/build_config.h"
#include "norvik/platform/environment.h"
#include "norvik/settings/file_utils.h"
#include "platform/user_defaults_store.h"

namespace norvik {

// ---- SVDatabaseUserDefaults ----

// The database of the environment generation it was resolved for.
struct SVDatabaseUserDefaults::Resolved {
  std::mutex mutex;
  std::uint64_t generation = 0;
  bool resolved = false;
  std::shared_ptr<detail::DefaultsStore> database;
};

SVDatabaseUserDefaults::SVDatabaseUserDefaults(std::string_view appGroupIdentifier,
                                               std::string_view databaseName, std::int32_t version)
    : appGroupIdentifier_(appGroupIdentifier),
      databaseName_(databaseName),
      version_(version),
      resolved_(std::make_unique<Resolved>()) {}

SVDatabaseUserDefaults::~SVDatabaseUserDefaults() = default;

std::string SVDatabaseUserDefaults::databasePath() const {
  if (appGroupIdentifier_ != kNVAppGroupIdentifier) return {};
  if (databaseName_.empty() || databaseName_.find('/') != std::string::npos ||
      databaseName_.find('\0') != std::string::npos || databaseName_ == "." ||
      databaseName_ == "..") {
    return {};
  }
  std::optional<std::string> container = NVFileUtils::groupContainerDirectoryPath();
  if (!container) return {};
  return *container + "/" + databaseName_ + ".sqlite";
}

std::shared_ptr<detail::DefaultsStore> SVDatabaseUserDefaults::database() {
  std::uint64_t generation = platform::environmentGeneration();
  std::lock_guard lock(resolved_->mutex);
  if (!resolved_->resolved || resolved_->generation != generation) {
    std::string path = databasePath();
    if (path.empty()) {
      std::cerr << "norvik: settings cache " << databaseName_
                << ": no application-group container for " << appGroupIdentifier_ << "\n";
      resolved_->database = nullptr;
    } else {
      // NORMAL: a committed row survives the death of its process; only a power cut can undo
      // the last few commits, which this second copy of the settings can afford.
      const detail::KeyValueTableLayout table{"settings cache", "custom_user_defaults", false,
                                              version_, false};
      resolved_->database = detail::defaultsStoreForPath(path, table);
    }
    resolved_->generation = generation;
    resolved_->resolved = true;
  }
  return resolved_->database;
}

void SVDatabaseUserDefaults::setObject(const platform::Value& value, std::string_view key) {
  try {
    if (auto database = this->database()) {
      // A write that cannot be saved now stays in memory, is read back from there, and is saved
      // with the next write (the table logs the failure once).
      database->set(key, value);
      database->synchronize();
    }
  } catch (const std::exception& error) {
    std::cerr << "norvik: settings cache: " << error.what() << "\n";
  }
}

platform::Value SVDatabaseUserDefaults::objectForKey(std::string_view key) {
  try {
    if (auto database = this->database()) return database->object(key);
  } catch (const std::exception& error) {
    std::cerr << "norvik: settings cache: " << error.what() << "\n";
  }
  return {};
}

platform::UserDefaults::StoreStatus SVDatabaseUserDefaults::storeStatus() {
  using Status = platform::UserDefaults::StoreStatus;
  try {
    if (auto database = this->database()) {
      switch (database->reach()) {
        case detail::DefaultsStore::Reach::readWrite:
          return Status::readWrite;
        case detail::DefaultsStore::Reach::readOnly:
          return Status::readOnly;
        case detail::DefaultsStore::Reach::unreadable:
          break;
      }
    }
  } catch (const std::exception& error) {
    std::cerr << "norvik: settings cache: " << error.what() << "\n";
  }
  return Status::unreadable;
}

bool SVDatabaseUserDefaults::hasUnsavedChanges() {
  auto database = this->database();
  return database && database->hasUnsavedChanges();
}

std::string SVDatabaseUserDefaults::storeProblem() {
  auto database = this->database();
  return database ? database->problem() : "no application-group container";
}

void SVDatabaseUserDefaults::removeObjectForKey(std::string_view key) {
  setObject(platform::Value(), key);
}

// ---- SVCustomUserDefaultsCacheManager ----

// The memory copy and the queue it is confined to: `entries` is touched only inside tasks of
// `queue` (reads through sync, changes as barriers).
struct SVCustomUserDefaultsCacheManager::Memory {
  Memory() : queue(std::string(kNVReverseDomainPrefix) + ".customUserDefaultsCacheQueue") {}
  platform::BarrierQueue queue;
  platform::Dictionary entries;
};

SVCustomUserDefaultsCacheManager::SVCustomUserDefaultsCacheManager()
    : inDatabaseCache_(std::make_unique<SVDatabaseUserDefaults>(kNVAppGroupIdentifier,
                                                                kDatabaseName, kDatabaseVersion)),
      isValid_(true),
      memory_(std::make_unique<Memory>()) {}

SVCustomUserDefaultsCacheManager::~SVCustomUserDefaultsCacheManager() = default;

SVCustomUserDefaultsCacheManager& SVCustomUserDefaultsCacheManager::shared() {
  static std::shared_ptr<SVCustomUserDefaultsCacheManager> instance = create();
  return *instance;
}

std::shared_ptr<SVCustomUserDefaultsCacheManager> SVCustomUserDefaultsCacheManager::create() {
  return std::shared_ptr<SVCustomUserDefaultsCacheManager>(new SVCustomUserDefaultsCacheManager());
}

const std::string& SVCustomUserDefaultsCacheManager::queueLabel() const noexcept {
  return memory_->queue.label();
}

void SVCustomUserDefaultsCacheManager::queueMemoryUpdate(platform::Value value, std::string key) {
  memory_->queue.asyncBarrier(
      [weak = weak_from_this(), value = std::move(value), key = std::move(key)] {
        auto self = weak.lock();
        if (!self || !self->isValid_) return;
        platform::Dictionary& entries = self->memory_->entries;
        if (value.isNull()) {
          if (auto found = entries.find(key); found != entries.end()) entries.erase(found);
        } else {
          entries.insert_or_assign(key, value);
        }
      });
}

void SVCustomUserDefaultsCacheManager::set(const platform::Value& value, std::string_view key) {
  if (!isValid_) return;
  inDatabaseCache_->setObject(value, key);
  queueMemoryUpdate(value, std::string(key));
}

void SVCustomUserDefaultsCacheManager::removeObject(std::string_view key) {
  if (!isValid_) return;
  inDatabaseCache_->removeObjectForKey(key);
  queueMemoryUpdate(platform::Value(), std::string(key));
}

void SVCustomUserDefaultsCacheManager::updateCacheInMemory(const platform::Value& value,
                                                           std::string_view key) {
  if (!isValid_) return;
  queueMemoryUpdate(value, std::string(key));
}

void SVCustomUserDefaultsCacheManager::clearCache() {
  if (!isValid_) return;
  memory_->queue.asyncBarrier([weak = weak_from_this()] {
    auto self = weak.lock();
    if (self && self->isValid_) self->memory_->entries.clear();
  });
}

platform::Value SVCustomUserDefaultsCacheManager::objectInMemory(std::string_view key) {
  if (!isValid_) return {};
  return memory_->queue.sync([&]() -> platform::Value {
    auto found = memory_->entries.find(key);
    return found == memory_->entries.end() ? platform::Value() : found->second;
  });
}

platform::Value SVCustomUserDefaultsCacheManager::objectInDB(std::string_view key) {
  platform::Value value = inDatabaseCache_->objectForKey(key);
  return value.data() ? value : platform::Value();
}

}  // namespace norvik
