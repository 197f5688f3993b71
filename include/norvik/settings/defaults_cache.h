#pragma once
// The database-backed copy of wrapped settings, with an in-memory copy in front of it.
//
// SVDatabaseUserDefaults is a key-value table in a SQLite database in the application-group
// container, shared by every process of the application. SVCustomUserDefaultsCacheManager keeps
// the values of the settings stored as CustomUserDefatuls blobs there and in memory; the typed
// settings store (typed_defaults.h) decides which copy to trust.
//
// In both classes the null object stands for "no value": storing it removes the key, and reading
// a missing key gives it.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "norvik/platform/user_defaults.h"
#include "norvik/platform/value.h"

namespace norvik {

namespace detail {
class DefaultsStore;
}

// A key-value table in the database file "<container>/<databaseName>.sqlite" of the current
// environment's application-group container (followed when a test or the program replaces the
// environment). Writes are committed before they return and are then visible to every process;
// a process learns of another's writes through a change counter in shared memory beside the file,
// so reads do not query the database unless something changed. Any thread may call any operation.
// Without a container, reads give nothing, writes are dropped and a message goes to standard
// error. When the database cannot be written (a full disk, a read-only container, a lock held past
// the busy timeout), a write stays in memory, is read back from there and is saved with the next
// write; one line goes to standard error per run of failures. A database that can be read but not
// written is still read (storeStatus() says readOnly). A damaged or empty file is set aside as
// "<file>.corrupt-<time>" and replaced by a fresh one.
class SVDatabaseUserDefaults {
 public:
  // `appGroupIdentifier` must be kNVAppGroupIdentifier (the only group the environment names a
  // container for; any other gives a table that holds nothing). A database whose stored version is
  // lower than `version` is brought up to it (also when another handle of this process opened it
  // with a lower one); the table keeps its rows.
  SVDatabaseUserDefaults(std::string_view appGroupIdentifier, std::string_view databaseName,
                         std::int32_t version);
  ~SVDatabaseUserDefaults();
  SVDatabaseUserDefaults(const SVDatabaseUserDefaults&) = delete;
  SVDatabaseUserDefaults& operator=(const SVDatabaseUserDefaults&) = delete;

  // Stores `value` under `key`, replacing an earlier value; the null object removes the key.
  void setObject(const platform::Value& value, std::string_view key);
  // The value stored under `key`; the null object when there is none.
  platform::Value objectForKey(std::string_view key);
  void removeObjectForKey(std::string_view key);

  // How the database could be reached when it was last needed, as UserDefaults::storeStatus()
  // says it; unreadable without a container. storeProblem() says why, as one line.
  platform::UserDefaults::StoreStatus storeStatus();
  std::string storeProblem();
  // Whether a write is held in memory because the database could not take it (it is saved with
  // the next write, or tried once more when the process exits).
  bool hasUnsavedChanges();

  // Path of the database file in the current environment; empty when there is no container.
  std::string databasePath() const;
  std::int32_t version() const noexcept { return version_; }

 private:
  std::shared_ptr<detail::DefaultsStore> database();

  std::string appGroupIdentifier_;
  std::string databaseName_;
  std::int32_t version_;
  struct Resolved;
  std::unique_ptr<Resolved> resolved_;  // the database of the current environment, under a mutex
};

class SVCustomUserDefaultsCacheManager
    : public std::enable_shared_from_this<SVCustomUserDefaultsCacheManager> {
 public:
  // The database every manager uses.
  static constexpr std::string_view kDatabaseName = "Norvik_CustomUserDefaults";
  static constexpr std::int32_t kDatabaseVersion = 1;

  // The process's manager, made on first use.
  static SVCustomUserDefaultsCacheManager& shared();
  // A manager of its own (tests and tools); the queued memory updates hold it weakly.
  static std::shared_ptr<SVCustomUserDefaultsCacheManager> create();
  ~SVCustomUserDefaultsCacheManager();

  bool isValid() const noexcept { return isValid_; }
  // The label of the queue that guards the memory copy: the reverse-domain prefix followed by
  // ".customUserDefaultsCacheQueue".
  const std::string& queueLabel() const noexcept;

  // Writes the database row now (the null object removes it) and queues the memory update.
  void set(const platform::Value& value, std::string_view key);
  // Removes the database row now and queues the memory removal.
  void removeObject(std::string_view key);
  // Queues the emptying of the memory copy; database rows stay.
  void clearCache();
  // The memory copy under `key`, after every update queued before this call; null when none.
  platform::Value objectInMemory(std::string_view key);
  // The database row under `key` when it is a data blob; the null object otherwise.
  platform::Value objectInDB(std::string_view key);
  // Queues a memory update (the null object removes the key) without touching the database.
  void updateCacheInMemory(const platform::Value& value, std::string_view key);

  SVDatabaseUserDefaults& inDatabaseCache() noexcept { return *inDatabaseCache_; }

 private:
  SVCustomUserDefaultsCacheManager();
  void queueMemoryUpdate(platform::Value value, std::string key);

  struct Memory;
  std::unique_ptr<SVDatabaseUserDefaults> inDatabaseCache_;
  bool isValid_ = true;
  std::unique_ptr<Memory> memory_;  // the memory copy, confined to its barrier queue
};

}  // namespace norvik
