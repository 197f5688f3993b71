#pragma once
// The library's one way into SQLite: a key-value table in a database file of the application-group
// container, shared by every process of the application. The user-defaults suites and the settings
// cache both keep their rows through it and hold no SQLite code of their own.
//
// What it takes care of: the file and its directory (0600 files in 0700 directories), WAL mode, a
// busy timeout, prepared statements, durable commits, learning of other processes' commits (a
// counter in shared memory for the cheap check on every read, `PRAGMA data_version` for the exact
// one), a damaged or truncated file (set aside beside the original as `<file>.corrupt-<time>`, one
// line on standard error, a fresh database in its place), and a file replaced under an open
// connection (reopened). A failure to write is reported once per run of failures, as one line.
//
// A database that can be read but not written (a read-only container, a full disk, a file without
// write permission) is opened read-only, immutable where nothing can change it, so that reads still
// give what is stored; writes fail and are tried again read-write. No call waits longer than the
// busy timeout for another process: a read in WAL mode does not wait for a writer at all.
//
// A KeyValueTable is not thread-safe; its owner serialises every call.

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "norvik/platform/value.h"

struct sqlite3;
struct sqlite3_stmt;

namespace norvik::detail {

// A 64-bit counter in a small file that every process of a database maps shared. A writer adds one
// after each commit; a reader compares it with the value it last loaded at, so that learning of
// another process's write costs one atomic load. The file also serves as the database's lock file
// and tells writers when another process is waiting for the write lock.
class SharedChangeCounter {
 public:
  SharedChangeCounter() = default;
  ~SharedChangeCounter();
  SharedChangeCounter(const SharedChangeCounter&) = delete;
  SharedChangeCounter& operator=(const SharedChangeCounter&) = delete;

  // Opens or creates the file (mode 0600) and maps it, replacing any file mapped before; false
  // with errno set on failure, keeping the previous mapping. An existing file that cannot be
  // written is mapped read-only: load() works, bump() and noteWaiting() do nothing.
  bool open(const std::string& path);
  bool writable() const noexcept { return writable_; }
  // Forgets the file (after it could not be opened at all): load() gives 0 from then on.
  void close() noexcept;
  // Whether the file at `path` is no longer the one mapped (removed or replaced).
  bool replaced(const std::string& path) const;
  std::uint64_t load() const noexcept;
  // Adds one and returns the value before.
  std::uint64_t bump() noexcept;
  // Records that this process is waiting for another's write lock; a hint for fairness only.
  void noteWaiting() noexcept;
  // Whether a process other than this one waited for the write lock within the last 5 ms.
  bool anotherProcessWaiting() const noexcept;
  int fd() const noexcept { return fd_; }

 private:
  int fd_ = -1;
  std::uint64_t* word_ = nullptr;
  bool writable_ = false;
};

// The row codec of the key-value tables: a `kind` column says how the `value` column holds a Value
// (scalars, strings, dates and data natively, arrays and dictionaries as binary property lists).
// bindRowValue binds both columns and returns the SQLite result code (SQLITE_MISUSE for the null
// object, which is never stored). rowValue reads them back; std::nullopt for an unknown kind or a
// damaged blob, so such rows are left alone.
int bindRowValue(sqlite3_stmt* stmt, int kindIndex, int valueIndex, const platform::Value& value);
std::optional<platform::Value> rowValue(sqlite3_stmt* stmt, int kindColumn, int valueColumn);

// How a table is laid out and how hard its commits are pushed to disk.
struct KeyValueTableLayout {
  const char* logName;       // how messages name the store: "user defaults", "settings cache"
  const char* table;         // the table: key TEXT PRIMARY KEY, kind INTEGER, value
  bool withoutRowid;         // the table was created WITHOUT ROWID
  std::int32_t userVersion;  // `PRAGMA user_version` is raised to at least this; 0 leaves it
  bool fullSync;             // synchronous=FULL (a commit survives a power cut), else NORMAL
};

// Changes to commit: the null object removes the key.
using KeyValueChanges = std::map<std::string, platform::Value, std::less<>>;

// How long a writer waits for another process's lock before the write fails (5 s unless changed).
// Changing it affects connections opened afterwards; tests shorten it.
void setSqliteBusyTimeout(int milliseconds);
int sqliteBusyTimeout();

class KeyValueTable {
 public:
  enum class Status {
    Ok,         // done
    Recovered,  // done, but the file was damaged and is now a fresh, empty database: the owner
                // writes back what it holds
    Failed,     // nothing done; logged once per run of failures
  };

  KeyValueTable(std::string path, const KeyValueTableLayout& layout);
  ~KeyValueTable();
  KeyValueTable(const KeyValueTable&) = delete;
  KeyValueTable& operator=(const KeyValueTable&) = delete;

  // Bounds every wait for another process inside its scope (lock, busy database) by one busy
  // timeout in all; nested scopes share the outer one.
  class BoundedWait {
   public:
    explicit BoundedWait(KeyValueTable& table);
    // The same, ending at `deadline` rather than one busy timeout from now.
    BoundedWait(KeyValueTable& table, std::chrono::steady_clock::time_point deadline);
    ~BoundedWait();
    BoundedWait(const BoundedWait&) = delete;
    BoundedWait& operator=(const BoundedWait&) = delete;

   private:
    KeyValueTable& table_;
  };

  // Opens the database when no connection is open, or reopens it when its file was removed or
  // replaced since it was opened; otherwise does nothing.
  Status connect();
  bool isOpen() const noexcept { return db_ != nullptr; }
  // Whether the database is open read-only (or is missing and cannot be made): rows load, and
  // every commit first tries to open it read-write again.
  bool readOnly() const noexcept { return readOnly_; }
  // Why the last open, load or commit failed (empty when it did not).
  const std::string& lastError() const noexcept { return lastError_; }
  // Raises `PRAGMA user_version` to at least `version`: now when the database can be written at
  // once, else with the next commit.
  void raiseUserVersion(std::int32_t version);

  // Whether a commit of any process may have happened since the last load(): one atomic load.
  bool stale() const noexcept;
  // Marks the rows as stale when another connection committed since the last load (an exact
  // check with `PRAGMA data_version`, which also catches a writer that died before it could move
  // the shared counter). commit() makes the same check inside its transaction.
  void checkForeignCommits();

  // Reads every row (rows this version cannot read are left out). Connects first.
  Status load(platform::Dictionary& out);
  // Commits the changes in one durable transaction and tells the other processes (connecting
  // first only when no connection is open: call connect() to notice a replaced file). When no other
  // process committed since the last load, the rows loaded then with these changes applied are
  // still current and stale() stays false.
  Status commit(const KeyValueChanges& changes);

  const std::string& path() const noexcept { return path_; }
  // Writes one line "norvik: <logName> <path>: <what>[: <detail>]" to standard error.
  void log(std::string_view what, std::string_view detail = {}) const;

 private:
  struct Statements;
  enum class OpenResult { Ok, Corrupt, CannotWrite, Failed };

  OpenResult openConnection();
  OpenResult openReadOnly();
  OpenResult openUri(const std::string& uri, bool& hasTable);
  int setUpSchema(bool hasTable);
  int executeWithoutWaiting(const char* sql);
  void closeConnection();
  bool fileReplaced() const;
  Status reopen();
  Status recover();
  void setAsideDamagedFile();
  int writeChanges(const KeyValueChanges& changes);
  int readRows(platform::Dictionary& out);
  std::int64_t dataVersion();
  void reportFailure(bool& reported, std::string_view what, std::string_view detail);
  static int waitWhileBusy(void* self, int attempt);

  const std::string path_;
  const std::string counterPath_;
  KeyValueTableLayout layout_;
  SharedChangeCounter counter_;
  sqlite3* db_ = nullptr;
  Statements* statements_ = nullptr;
  dev_t device_ = 0;
  ino_t inode_ = 0;
  std::uint64_t loadedMark_ = ~std::uint64_t{0};  // counter value at the last load
  std::int64_t loadedDataVersion_ = -1;
  std::string lastError_;  // why the last open, load or commit failed
  bool readOnly_ = false;
  bool noDatabase_ = false;  // read-only and there is no file: nothing is stored
  bool versionRaisePending_ = false;
  bool lastLoadFailed_ = false;
  dev_t createdDevice_ = 0;  // the file this process made, still empty until set up
  ino_t createdInode_ = 0;
  int boundedWaitDepth_ = 0;
  std::chrono::steady_clock::time_point busyDeadline_;
  std::chrono::steady_clock::time_point retryOpenAfter_;  // after a failed open, for reads
  bool reportedReadFailure_ = false;
  bool reportedWriteFailure_ = false;
};

}  // namespace norvik::detail
