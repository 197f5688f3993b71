#pragma once
// One suite of the user-defaults store as a process holds it: the database connection, the
// in-memory copy of the suite, the changes not yet written, and the change counter shared with the
// other processes. Every handle on the suite in this process shares one DefaultsStore.

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "norvik/platform/value.h"

struct sqlite3;
struct sqlite3_stmt;

struct sqlite3_stmt;

namespace norvik::detail {

// A 64-bit counter in a small file that every process of the suite maps shared. A writer adds one
// after each commit; a reader compares it with the value it last loaded at, so that learning of
// another process's write costs one atomic load. The file also serves as the suite's lock file.
class SharedChangeCounter {
 public:
  SharedChangeCounter() = default;
  ~SharedChangeCounter();
  SharedChangeCounter(const SharedChangeCounter&) = delete;
  SharedChangeCounter& operator=(const SharedChangeCounter&) = delete;

  // Opens or creates the file (mode 0600) and maps it, replacing any file mapped before; false
  // with errno set on failure, keeping the previous mapping.
  bool open(const std::string& path);
  // Whether the file at `path` is no longer the one mapped (removed or replaced).
  bool replaced(const std::string& path) const;
  std::uint64_t load() const noexcept;
  // Adds one and returns the value before.
  std::uint64_t bump() noexcept;
  int fd() const noexcept { return fd_; }

 private:
  int fd_ = -1;
  std::uint64_t* word_ = nullptr;
};

class DefaultsStore {
 public:
  // Opens the database at `path` (creating it and its directories, mode 0700) with its counter file
  // `<path>.counter`. A damaged database is set aside as `<path>.corrupt-<time>` and replaced by an
  // empty one. Returns nullptr, with a message on standard error, when the files cannot be opened.
  static std::shared_ptr<DefaultsStore> open(const std::string& path);

  // Writes the changes still buffered, so that nothing set in a process that exits is lost.
  ~DefaultsStore();
  DefaultsStore(const DefaultsStore&) = delete;
  DefaultsStore& operator=(const DefaultsStore&) = delete;

  // Reopens the database when its file was removed or replaced since it was opened; false when it
  // cannot be reopened.
  bool revalidate();

  platform::Value object(std::string_view key);
  // Sets `key` in the in-memory copy and buffers the change; the null object removes the key.
  void set(std::string_view key, platform::Value value);
  platform::Dictionary snapshot();
  // Commits the buffered changes durably and tells the other processes; false on failure.
  bool synchronize();

  const std::string& path() const noexcept { return path_; }

 private:
  struct Statements;
  enum class OpenResult { Ok, Corrupt, Failed };

  explicit DefaultsStore(std::string path);

  OpenResult openConnectionLocked();
  void closeConnectionLocked();
  bool openOrRecoverLocked();
  void setAsideDamagedFileLocked();
  bool recoverFromCorruptionLocked();
  bool databaseFileReplacedLocked() const;
  bool reopenLocked();
  void refreshLocked();
  int loadLocked(platform::Dictionary& out);
  int writeLocked(const std::map<std::string, platform::Value, std::less<>>& changes);
  void noteCommitLocked();

  const std::string path_;
  const std::string counterPath_;

  // Everything below is guarded by mutex_; the database connection is used only under it.
  std::mutex mutex_;
  SharedChangeCounter counter_;
  sqlite3* db_ = nullptr;
  std::unique_ptr<Statements> statements_;
  dev_t device_ = 0;
  ino_t inode_ = 0;
  // The suite as last loaded from the database with pending_ applied over it.
  platform::Dictionary cache_;
  // Changes not yet written; the null object stands for a removal.
  std::map<std::string, platform::Value, std::less<>> pending_;
  bool loaded_ = false;
  std::uint64_t loadedCounter_ = 0;
  bool reportedLoadFailure_ = false;
};

// The process-wide store of the database file at `path`, opened on first use and kept open for the
// life of the process so that new handles cost only a lookup. nullptr when it cannot be opened.
std::shared_ptr<DefaultsStore> defaultsStoreForPath(const std::string& path);

// The row codec shared by the application's key-value tables: a `kind` column says how the
// `value` column holds a Value (scalars, strings, dates and data natively, arrays and
// dictionaries as binary property lists). bindRowValue binds both columns and returns the SQLite
// result code (SQLITE_MISUSE for the null object, which is never stored). rowValue reads them
// back; std::nullopt for an unknown kind or a damaged blob, so such rows are left alone.
int bindRowValue(sqlite3_stmt* stmt, int kindIndex, int valueIndex, const platform::Value& value);
std::optional<platform::Value> rowValue(sqlite3_stmt* stmt, int kindColumn, int valueColumn);

}  // namespace norvik::detail
