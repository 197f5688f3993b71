#pragma once
// One store of settings as a process holds it: the in-memory copy of a key-value table, the changes
// not yet saved, and the table itself (sqlite_table.h). The user-defaults suites and the settings
// cache's table are both DefaultsStores; every handle on one file in this process shares one.

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "norvik/platform/value.h"
#include "platform/sqlite_table.h"

namespace norvik::detail {

// The layout of a user-defaults suite: table "defaults", every commit synced to disk.
extern const KeyValueTableLayout kUserDefaultsTable;

class DefaultsStore {
 public:
  // A store of the database at `path` (made with its directories, mode 0700, when missing). The
  // file is opened at once; when that fails the store still keeps what is set in memory and tries
  // again at every synchronize().
  DefaultsStore(std::string path, const KeyValueTableLayout& layout);
  // Saves the changes still buffered, so that nothing set in a process that exits is lost.
  ~DefaultsStore();
  DefaultsStore(const DefaultsStore&) = delete;
  DefaultsStore& operator=(const DefaultsStore&) = delete;

  // Reopens the database when its file was removed or replaced since it was opened.
  void revalidate();
  // Raises the database's stored version to at least `version` (now, or with the next commit).
  void raiseVersion(std::int32_t version);

  // How the database could be reached when it was last needed (a read refreshes first).
  enum class Reach {
    readWrite,   // reads give what is stored
    readOnly,    // reads give what is stored; changes cannot be saved
    unreadable,  // nothing could be read: reads give only this process's own changes
  };
  Reach reach();
  // Why the database cannot be read or written; empty when nothing failed.
  std::string problem();
  // Whether changes are buffered that the database has not taken yet.
  bool hasUnsavedChanges();

  platform::Value object(std::string_view key);
  // Sets `key` in the in-memory copy and buffers the change; the null object removes the key.
  void set(std::string_view key, platform::Value value);
  platform::Dictionary snapshot();
  // Commits the buffered changes durably, tells the other processes and takes in what they have
  // committed. False when the changes could not be saved: they stay in memory (and are read back
  // from there) and are tried again by the next synchronize(). Returns within the busy timeout,
  // a wait for another thread's save included.
  bool synchronize();

  const std::string& path() const noexcept { return table_.path(); }

 private:
  void refreshLocked();
  void refreshIfFreeLocked();
  void adoptRecoveredLocked();
  void noteTableLocked();

  // Two locks, always taken in this order: tableMutex_ guards table_ (held while it waits for
  // another process), mutex_ the memory copy below (held briefly). A read that finds the table
  // busy answers from the memory copy instead of waiting.
  std::mutex tableMutex_;
  KeyValueTable table_;
  std::mutex mutex_;
  // The table as last loaded with pending_ applied over it.
  platform::Dictionary cache_;
  // Changes not yet saved; the null object stands for a removal.
  KeyValueChanges pending_;
  bool loaded_ = false;
  bool readOnly_ = false;            // the table's readOnly() when last used
  std::string problem_;              // the table's lastError() when last used
  std::int32_t versionToRaise_ = 0;  // asked for while the table was busy
};

// The process-wide store of the database file at `path`, made on first use and kept for the life
// of the process so that new handles cost only a lookup.
std::shared_ptr<DefaultsStore> defaultsStoreForPath(const std::string& path,
                                                    const KeyValueTableLayout& layout);

}  // namespace norvik::detail
