#include "norvik/settings/defaults_cache.h"

#include <sqlite3.h>
#include <sys/stat.h>

#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <iostream>
#include <map>
#include <mutex>
#include <optional>

#include "norvik/platform/barrier_queue.h"
#include "norvik/platform/build_config.h"
#include "norvik/platform/environment.h"
#include "norvik/platform/property_list.h"
#include "norvik/settings/file_utils.h"
#include "platform/user_defaults_store.h"

namespace norvik {
namespace detail {
namespace {

using platform::Value;

constexpr int kBusyTimeoutMilliseconds = 5000;

void report(const std::string& path, std::string_view what, std::string_view why) {
  std::cerr << "norvik: settings cache " << path << ": " << what;
  if (!why.empty()) std::cerr << " (" << why << ")";
  std::cerr << "\n";
}

int execute(sqlite3* db, const char* sql) {
  return sqlite3_exec(db, sql, nullptr, nullptr, nullptr);
}

}  // namespace

// One database file as this process holds it: the connection, its prepared statements, and the
// table's rows as last loaded. Everything is guarded by mutex_.
class KeyValueDatabase {
 public:
  static std::shared_ptr<KeyValueDatabase> open(const std::string& path, std::int32_t version) {
    auto database = std::shared_ptr<KeyValueDatabase>(new KeyValueDatabase(path));
    if (!database->openLocked(version)) return nullptr;
    return database;
  }

  ~KeyValueDatabase() {
    for (sqlite3_stmt* s : {select_, upsert_, remove_, begin_, commit_, rollback_}) {
      sqlite3_finalize(s);
    }
    sqlite3_close_v2(db_);
  }

  Value object(std::string_view key) {
    std::lock_guard lock(mutex_);
    refreshLocked();
    auto found = rows_.find(key);
    return found == rows_.end() ? Value() : found->second;
  }

  void set(std::string_view key, const Value& value) {
    std::lock_guard lock(mutex_);
    int rc = sqlite3_step(begin_);
    sqlite3_reset(begin_);
    sqlite3_stmt* change = value.isNull() ? remove_ : upsert_;
    if (rc == SQLITE_DONE) {
      sqlite3_bind_text64(change, 1, key.data(), key.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
      rc = value.isNull() ? SQLITE_OK : bindRowValue(change, 2, 3, value);
      if (rc == SQLITE_OK) rc = sqlite3_step(change);
      sqlite3_reset(change);
      sqlite3_clear_bindings(change);
      if (rc == SQLITE_DONE) {
        rc = sqlite3_step(commit_);
        sqlite3_reset(commit_);
      }
      if (rc != SQLITE_DONE) {
        sqlite3_step(rollback_);
        sqlite3_reset(rollback_);
      }
    }
    if (rc != SQLITE_DONE) {
      report(path_, "a write failed and was dropped", sqlite3_errmsg(db_));
      return;
    }
    // Other processes reload once they see the counter move. This process keeps its rows when no
    // other write came in between; otherwise the next read reloads everything.
    std::uint64_t before = counter_.bump();
    if (loaded_ && before == loadedCounter_) {
      loadedCounter_ = before + 1;
      if (value.isNull()) {
        if (auto found = rows_.find(key); found != rows_.end()) rows_.erase(found);
      } else {
        rows_.insert_or_assign(std::string(key), value);
      }
    } else {
      loaded_ = false;
    }
  }

 private:
  explicit KeyValueDatabase(std::string path) : path_(std::move(path)) {}

  bool openLocked(std::int32_t version) {
    if (!counter_.open(path_ + ".counter")) {
      report(path_, "cannot open the change counter", std::strerror(errno));
      return false;
    }
    int rc =
        sqlite3_open_v2(path_.c_str(), &db_,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
    if (rc == SQLITE_OK) ::chmod(path_.c_str(), 0600);  // its journal files inherit the mode
    if (rc == SQLITE_OK) rc = sqlite3_busy_timeout(db_, kBusyTimeoutMilliseconds);
    if (rc == SQLITE_OK) rc = execute(db_, "PRAGMA journal_mode = WAL");
    // A committed write survives the death of its process; NORMAL leaves only a power cut able
    // to undo the last few commits, which this copy of the settings can afford.
    if (rc == SQLITE_OK) rc = execute(db_, "PRAGMA synchronous = NORMAL");
    if (rc == SQLITE_OK) rc = execute(db_, "BEGIN IMMEDIATE");
    if (rc == SQLITE_OK) {
      rc = execute(db_,
                   "CREATE TABLE IF NOT EXISTS custom_user_defaults ("
                   "key TEXT PRIMARY KEY NOT NULL, kind INTEGER NOT NULL, value)");
      sqlite3_stmt* stmt = nullptr;
      int stored = 0;
      if (rc == SQLITE_OK) rc = sqlite3_prepare_v2(db_, "PRAGMA user_version", -1, &stmt, nullptr);
      if (rc == SQLITE_OK && sqlite3_step(stmt) == SQLITE_ROW) stored = sqlite3_column_int(stmt, 0);
      sqlite3_finalize(stmt);
      if (rc == SQLITE_OK && stored < version) {
        std::string sql = "PRAGMA user_version = " + std::to_string(version);
        rc = execute(db_, sql.c_str());
      }
      execute(db_, rc == SQLITE_OK ? "COMMIT" : "ROLLBACK");
    }
    const std::pair<sqlite3_stmt**, const char*> statements[] = {
        {&select_, "SELECT key, kind, value FROM custom_user_defaults"},
        {&upsert_,
         "INSERT OR REPLACE INTO custom_user_defaults (key, kind, value) VALUES (?1, ?2, ?3)"},
        {&remove_, "DELETE FROM custom_user_defaults WHERE key = ?1"},
        {&begin_, "BEGIN IMMEDIATE"},
        {&commit_, "COMMIT"},
        {&rollback_, "ROLLBACK"},
    };
    for (const auto& [stmt, sql] : statements) {
      if (rc == SQLITE_OK)
        rc = sqlite3_prepare_v3(db_, sql, -1, SQLITE_PREPARE_PERSISTENT, stmt, nullptr);
    }
    if (rc != SQLITE_OK) {
      report(path_, "cannot open the database", db_ ? sqlite3_errmsg(db_) : sqlite3_errstr(rc));
      return false;
    }
    return true;
  }

  // Reloads the rows when a process (this one included, after a failed bookkeeping) has committed
  // since they were loaded. The counter is read before the rows, so a write that lands during
  // the load is noticed again by the next read.
  void refreshLocked() {
    std::uint64_t current = counter_.load();
    if (loaded_ && current == loadedCounter_) return;
    std::map<std::string, Value, std::less<>> rows;
    int rc;
    while ((rc = sqlite3_step(select_)) == SQLITE_ROW) {
      const auto* key = reinterpret_cast<const char*>(sqlite3_column_text(select_, 0));
      if (!key) continue;
      std::optional<Value> value = rowValue(select_, 1, 2);
      if (value) {
        rows.insert_or_assign(
            std::string(key, static_cast<std::size_t>(sqlite3_column_bytes(select_, 0))),
            std::move(*value));
      }
    }
    sqlite3_reset(select_);
    if (rc != SQLITE_DONE) {
      if (!reportedLoadFailure_) report(path_, "cannot read the table", sqlite3_errmsg(db_));
      reportedLoadFailure_ = true;
      return;  // keep what was loaded before; try again on the next read
    }
    reportedLoadFailure_ = false;
    rows_ = std::move(rows);
    loaded_ = true;
    loadedCounter_ = current;
  }

  const std::string path_;
  std::mutex mutex_;
  detail::SharedChangeCounter counter_;
  sqlite3* db_ = nullptr;
  sqlite3_stmt* select_ = nullptr;
  sqlite3_stmt* upsert_ = nullptr;
  sqlite3_stmt* remove_ = nullptr;
  sqlite3_stmt* begin_ = nullptr;
  sqlite3_stmt* commit_ = nullptr;
  sqlite3_stmt* rollback_ = nullptr;
  std::map<std::string, Value, std::less<>> rows_;
  bool loaded_ = false;
  std::uint64_t loadedCounter_ = 0;
  bool reportedLoadFailure_ = false;
};

namespace {

// One open database per file for the whole process, kept for the life of the process.
std::shared_ptr<KeyValueDatabase> databaseForPath(const std::string& path, std::int32_t version) {
  static std::mutex mutex;
  static std::map<std::string, std::shared_ptr<KeyValueDatabase>>* open =
      new std::map<std::string, std::shared_ptr<KeyValueDatabase>>();  // never destroyed
  std::lock_guard lock(mutex);
  auto found = open->find(path);
  if (found != open->end()) return found->second;
  auto database = KeyValueDatabase::open(path, version);
  if (database) open->emplace(path, database);
  return database;
}

}  // namespace
}  // namespace detail

// ---- SVDatabaseUserDefaults ----

// The database of the environment generation it was resolved for.
struct SVDatabaseUserDefaults::Resolved {
  std::mutex mutex;
  std::uint64_t generation = 0;
  bool resolved = false;
  std::shared_ptr<detail::KeyValueDatabase> database;
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

std::shared_ptr<detail::KeyValueDatabase> SVDatabaseUserDefaults::database() {
  std::uint64_t generation = platform::environmentGeneration();
  std::lock_guard lock(resolved_->mutex);
  if (!resolved_->resolved || resolved_->generation != generation) {
    std::string path = databasePath();
    if (path.empty()) {
      std::cerr << "norvik: settings cache " << databaseName_
                << ": no application-group container for " << appGroupIdentifier_ << "\n";
      resolved_->database = nullptr;
    } else {
      resolved_->database = detail::databaseForPath(path, version_);
    }
    resolved_->generation = generation;
    resolved_->resolved = true;
  }
  return resolved_->database;
}

void SVDatabaseUserDefaults::setObject(const platform::Value& value, std::string_view key) {
  try {
    if (auto database = this->database()) database->set(key, value);
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
