#include "platform/sqlite_table.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <limits>
#include <thread>
#include <utility>
#include <vector>

#include "norvik/platform/environment.h"
#include "norvik/platform/property_list.h"

namespace norvik::detail {
namespace {

using platform::Value;

static_assert(std::atomic_ref<std::uint64_t>::is_always_lock_free,
              "the shared change counter needs a lock-free 64-bit atomic");

// How a value is kept in the `kind` column. Scalars and dates are stored natively in `value`;
// arrays and dictionaries as a binary property list. The numbers are part of the file format.
enum Kind : int {
  kKindBoolean = 1,
  kKindInteger = 2,
  kKindReal = 3,  // a NULL value column is NaN, which SQLite cannot store as a REAL
  kKindString = 4,
  kKindDate = 5,  // seconds since 1970
  kKindData = 6,
  kKindPropertyList = 7,
};

// Guarded by being atomic; read when a connection opens.
std::atomic<int> gBusyTimeoutMilliseconds{5000};

bool isCorruption(int rc) {
  int primary = rc & 0xff;
  return primary == SQLITE_CORRUPT || primary == SQLITE_NOTADB;
}

// Runs one constant statement to completion; returns the SQLite result code.
int execute(sqlite3* db, const char* sql) {
  sqlite3_stmt* stmt = nullptr;
  int rc = sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr);
  if (rc != SQLITE_OK) return rc;
  do {
    rc = sqlite3_step(stmt);
  } while (rc == SQLITE_ROW);
  sqlite3_finalize(stmt);
  return rc == SQLITE_DONE ? SQLITE_OK : rc;
}

// The first column of the first row of a constant statement, or the error code.
int queryText(sqlite3* db, const char* sql, std::string& out) {
  sqlite3_stmt* stmt = nullptr;
  int rc = sqlite3_prepare_v2(db, sql, -1, &stmt, nullptr);
  if (rc != SQLITE_OK) return rc;
  rc = sqlite3_step(stmt);
  if (rc == SQLITE_ROW) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0));
    out = text ? text : "";
    rc = SQLITE_OK;
  } else if (rc == SQLITE_DONE) {
    out.clear();
    rc = SQLITE_OK;
  }
  sqlite3_finalize(stmt);
  return rc;
}

// A quick integrity check of an open database, then whether it holds `table`: SQLITE_CORRUPT
// when the check fails, else the first error met.
int checkDatabase(sqlite3* db, const std::string& table, bool& hasTable) {
  hasTable = false;
  std::string check;
  int rc = queryText(db, "PRAGMA quick_check", check);
  if (rc == SQLITE_OK && check != "ok") rc = SQLITE_CORRUPT;
  std::string count;
  if (rc == SQLITE_OK) {
    const std::string sql =
        "SELECT count(*) FROM sqlite_master WHERE type = 'table' AND name = '" + table + "'";
    rc = queryText(db, sql.c_str(), count);
  }
  hasTable = count == "1";
  return rc;
}

// Resets a statement when it goes out of scope, so that no read transaction stays open.
class StatementUse {
 public:
  explicit StatementUse(sqlite3_stmt* stmt) : stmt_(stmt) {}
  ~StatementUse() {
    sqlite3_reset(stmt_);
    sqlite3_clear_bindings(stmt_);
  }
  StatementUse(const StatementUse&) = delete;
  StatementUse& operator=(const StatementUse&) = delete;

 private:
  sqlite3_stmt* stmt_;
};

// An exclusive advisory lock on the counter file: opening, setting aside and replacing the database
// happen under it, so that two processes never replace each other's fresh database. Taking it
// waits until `deadline` at most; held() says whether it was taken.
class FileLock {
 public:
  FileLock(int fd, std::chrono::steady_clock::time_point deadline) : fd_(fd) {
    if (fd_ < 0) return;
    for (int attempt = 0;; ++attempt) {
      if (flock(fd_, LOCK_EX | LOCK_NB) == 0) {
        held_ = true;
        return;
      }
      if (errno != EWOULDBLOCK && errno != EINTR) return;
      if (std::chrono::steady_clock::now() >= deadline) return;
      std::this_thread::sleep_for(std::chrono::microseconds(500 + (attempt * 7919) % 1500));
    }
  }
  ~FileLock() {
    if (held_) flock(fd_, LOCK_UN);
  }
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;
  bool held() const noexcept { return held_; }

 private:
  int fd_;
  bool held_ = false;
};

// Whether the database's log is missing or empty: then the main file holds everything committed.
bool logIsEmpty(const std::string& path) {
  struct stat st;
  return stat((path + "-wal").c_str(), &st) != 0 || st.st_size == 0;
}

// Whether nothing can change files in the directory of `path`: its file system is mounted
// read-only.
bool onReadOnlyFileSystem(const std::string& path) {
  std::size_t slash = path.rfind('/');
  std::string directory = slash == std::string::npos ? "." : path.substr(0, slash ? slash : 1);
  struct statvfs fs;
  return statvfs(directory.c_str(), &fs) == 0 && (fs.f_flag & ST_RDONLY) != 0;
}

// A file name as a URI path: the characters that URIs reserve are escaped.
std::string uriPath(const std::string& path) {
  std::string out;
  for (unsigned char c : path) {
    if (c == '%' || c == '?' || c == '#' || c <= ' ' || c >= 0x7f) {
      char escaped[4];
      std::snprintf(escaped, sizeof escaped, "%%%02X", c);
      out += escaped;
    } else {
      out += static_cast<char>(c);
    }
  }
  return out;
}

// Renames `from` to `to` unless `to` exists; false with errno EEXIST when it does.
bool renameNoReplace(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS) return false;
  // A file system without the flag: a hard link fails when the name is taken.
  if (link(from.c_str(), to.c_str()) != 0) return false;
  ::unlink(from.c_str());
  return true;
}

std::string timestampSuffix() {
  auto seconds = static_cast<std::time_t>(platform::currentEnvironment()->nowSeconds());
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  char buffer[32];
  std::strftime(buffer, sizeof buffer, "%Y%m%dT%H%M%SZ", &parts);
  return buffer;
}

// Creates `path` and any missing parents with mode 0700; true when it exists as a directory.
bool makeDirectories(const std::string& path) {
  struct stat st;
  if (stat(path.c_str(), &st) == 0) return S_ISDIR(st.st_mode);
  for (std::size_t slash = path.find('/', 1);; slash = path.find('/', slash + 1)) {
    std::string prefix = path.substr(0, slash);
    if (mkdir(prefix.c_str(), 0700) != 0 && errno != EEXIST) return false;
    if (slash == std::string::npos) break;
  }
  return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool makeParentDirectories(const std::string& path) {
  std::size_t slash = path.rfind('/');
  return slash == std::string::npos || slash == 0 || makeDirectories(path.substr(0, slash));
}

bool pathExists(const std::string& path) {
  struct stat st;
  return lstat(path.c_str(), &st) == 0;
}

}  // namespace

int bindRowValue(sqlite3_stmt* stmt, int kindIndex, int valueIndex, const Value& value) {
  static const std::uint8_t kEmpty = 0;  // a non-null pointer stores an empty blob, not NULL
  switch (value.type()) {
    case Value::Type::Boolean:
      sqlite3_bind_int(stmt, kindIndex, kKindBoolean);
      return sqlite3_bind_int(stmt, valueIndex, value.boolValue().value_or(false) ? 1 : 0);
    case Value::Type::Integer:
      sqlite3_bind_int(stmt, kindIndex, kKindInteger);
      return sqlite3_bind_int64(stmt, valueIndex, value.int64Value().value_or(0));
    case Value::Type::Real: {
      sqlite3_bind_int(stmt, kindIndex, kKindReal);
      double d = value.doubleValue().value_or(0.0);
      return std::isnan(d) ? sqlite3_bind_null(stmt, valueIndex)
                           : sqlite3_bind_double(stmt, valueIndex, d);
    }
    case Value::Type::String: {
      sqlite3_bind_int(stmt, kindIndex, kKindString);
      const std::string& s = *value.string();
      return sqlite3_bind_text64(stmt, valueIndex, s.data(), s.size(), SQLITE_TRANSIENT,
                                 SQLITE_UTF8);
    }
    case Value::Type::Date:
      sqlite3_bind_int(stmt, kindIndex, kKindDate);
      return sqlite3_bind_double(stmt, valueIndex, value.date()->timeIntervalSince1970());
    case Value::Type::Data: {
      sqlite3_bind_int(stmt, kindIndex, kKindData);
      const platform::Data& d = *value.data();
      return sqlite3_bind_blob64(stmt, valueIndex, d.empty() ? &kEmpty : d.data(), d.size(),
                                 SQLITE_TRANSIENT);
    }
    case Value::Type::Array:
    case Value::Type::Dictionary: {
      sqlite3_bind_int(stmt, kindIndex, kKindPropertyList);
      platform::Data bytes =
          platform::encodePropertyList(value, platform::PropertyListFormat::Binary);
      return sqlite3_bind_blob64(stmt, valueIndex, bytes.empty() ? &kEmpty : bytes.data(),
                                 bytes.size(), SQLITE_TRANSIENT);
    }
    case Value::Type::Null:
      break;
  }
  return SQLITE_MISUSE;
}

// The value of one row; std::nullopt for a kind this version does not know or a damaged blob, so
// that such rows are left alone rather than misread.
std::optional<Value> rowValue(sqlite3_stmt* stmt, int kindColumn, int valueColumn) {
  bool isNull = sqlite3_column_type(stmt, valueColumn) == SQLITE_NULL;
  switch (sqlite3_column_int(stmt, kindColumn)) {
    case kKindBoolean:
      return Value(sqlite3_column_int64(stmt, valueColumn) != 0);
    case kKindInteger:
      return Value(static_cast<long long>(sqlite3_column_int64(stmt, valueColumn)));
    case kKindReal:
      return Value(isNull ? std::numeric_limits<double>::quiet_NaN()
                          : sqlite3_column_double(stmt, valueColumn));
    case kKindString: {
      const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt, valueColumn));
      int size = sqlite3_column_bytes(stmt, valueColumn);
      return Value(std::string(text ? text : "", text ? static_cast<std::size_t>(size) : 0));
    }
    case kKindDate:
      return Value(platform::Date(sqlite3_column_double(stmt, valueColumn)));
    case kKindData: {
      const auto* bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(stmt, valueColumn));
      int size = sqlite3_column_bytes(stmt, valueColumn);
      return Value(bytes ? platform::Data(bytes, bytes + size) : platform::Data());
    }
    case kKindPropertyList: {
      const auto* bytes = static_cast<const char*>(sqlite3_column_blob(stmt, valueColumn));
      int size = sqlite3_column_bytes(stmt, valueColumn);
      if (!bytes) return std::nullopt;
      auto decoded =
          platform::decodePropertyList(std::string_view(bytes, static_cast<std::size_t>(size)));
      if (!decoded || !(decoded->isArray() || decoded->isDictionary())) return std::nullopt;
      return decoded;
    }
    default:
      return std::nullopt;
  }
}

// ---- SharedChangeCounter ----

// The mapped words: the commit counter, then when (CLOCK_MONOTONIC nanoseconds) and by which
// process a writer last had to wait for the lock. Files of one word from earlier versions grow.
constexpr std::size_t kMappedBytes = 3 * sizeof(std::uint64_t);

SharedChangeCounter::~SharedChangeCounter() {
  if (word_) munmap(word_, kMappedBytes);
  if (fd_ >= 0) ::close(fd_);
}

bool SharedChangeCounter::open(const std::string& path) {
  bool writable = true;
  int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (fd < 0 && (errno == EACCES || errno == EROFS || errno == EPERM)) {
    // A container that cannot be written: another process may still move the counter.
    writable = false;
    fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  }
  if (fd < 0) return false;
  struct stat st;
  bool ok = fstat(fd, &st) == 0;
  if (ok && writable && (st.st_mode & 07777) != 0600 && st.st_uid == geteuid()) fchmod(fd, 0600);
  // A new (or truncated) file grows to its zeroed words. The blocks are allocated rather than
  // left sparse: on a full disk the mapping would otherwise fault when first written.
  if (ok && st.st_size < static_cast<off_t>(kMappedBytes)) {
    int error = writable ? posix_fallocate(fd, 0, kMappedBytes) : EROFS;
    if (error != 0) errno = error;
    ok = error == 0;
  }
  void* map = ok ? mmap(nullptr, kMappedBytes, writable ? PROT_READ | PROT_WRITE : PROT_READ,
                        MAP_SHARED, fd, 0)
                 : MAP_FAILED;
  if (map == MAP_FAILED) {
    int saved = errno;
    ::close(fd);
    errno = saved;
    return false;
  }
  close();
  fd_ = fd;
  word_ = static_cast<std::uint64_t*>(map);
  writable_ = writable;
  return true;
}

void SharedChangeCounter::close() noexcept {
  if (word_) munmap(word_, kMappedBytes);
  if (fd_ >= 0) ::close(fd_);
  word_ = nullptr;
  fd_ = -1;
  writable_ = false;
}

bool SharedChangeCounter::replaced(const std::string& path) const {
  struct stat onDisk, mapped;
  if (fd_ < 0 || fstat(fd_, &mapped) != 0 || stat(path.c_str(), &onDisk) != 0) return true;
  return onDisk.st_dev != mapped.st_dev || onDisk.st_ino != mapped.st_ino;
}

std::uint64_t SharedChangeCounter::load() const noexcept {
  if (!word_) return 0;
  return std::atomic_ref<std::uint64_t>(*word_).load(std::memory_order_acquire);
}

std::uint64_t SharedChangeCounter::bump() noexcept {
  if (!word_ || !writable_) return load();
  return std::atomic_ref<std::uint64_t>(*word_).fetch_add(1, std::memory_order_acq_rel);
}

namespace {
std::uint64_t monotonicNanoseconds() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1000000000u +
         static_cast<std::uint64_t>(now.tv_nsec);
}
}  // namespace

void SharedChangeCounter::noteWaiting() noexcept {
  if (!word_ || !writable_) return;
  std::atomic_ref<std::uint64_t>(word_[2]).store(static_cast<std::uint64_t>(getpid()),
                                                 std::memory_order_relaxed);
  std::atomic_ref<std::uint64_t>(word_[1]).store(monotonicNanoseconds(), std::memory_order_release);
}

bool SharedChangeCounter::anotherProcessWaiting() const noexcept {
  if (!word_) return false;
  std::uint64_t since = std::atomic_ref<std::uint64_t>(word_[1]).load(std::memory_order_acquire);
  if (since == 0 || monotonicNanoseconds() - since >= 5000000)
    return false;  // not in the last 5 ms
  std::uint64_t pid = std::atomic_ref<std::uint64_t>(word_[2]).load(std::memory_order_relaxed);
  return pid != static_cast<std::uint64_t>(getpid());
}

// ---- KeyValueTable ----

void setSqliteBusyTimeout(int milliseconds) {
  gBusyTimeoutMilliseconds.store(milliseconds, std::memory_order_relaxed);
}

int sqliteBusyTimeout() {
  return gBusyTimeoutMilliseconds.load(std::memory_order_relaxed);
}

struct KeyValueTable::Statements {
  sqlite3_stmt* selectAll = nullptr;
  sqlite3_stmt* upsert = nullptr;
  sqlite3_stmt* remove = nullptr;
  sqlite3_stmt* begin = nullptr;
  sqlite3_stmt* commit = nullptr;
  sqlite3_stmt* rollback = nullptr;
  sqlite3_stmt* dataVersion = nullptr;

  ~Statements() {
    for (sqlite3_stmt* s : {selectAll, upsert, remove, begin, commit, rollback, dataVersion}) {
      sqlite3_finalize(s);
    }
  }

  // A read-only connection prepares the reading statements only, and none of the table's when
  // the database has no table yet (it then reads as empty).
  int prepare(sqlite3* db, const std::string& table, bool readOnly, bool hasTable) {
    const std::string selectSql = "SELECT key, kind, value FROM " + table;
    const std::string upsertSql =
        "INSERT OR REPLACE INTO " + table + " (key, kind, value) VALUES (?1, ?2, ?3)";
    const std::string removeSql = "DELETE FROM " + table + " WHERE key = ?1";
    const std::pair<sqlite3_stmt**, const char*> all[] = {
        {&dataVersion, "PRAGMA data_version"},
        {&selectAll, selectSql.c_str()},
        {&upsert, upsertSql.c_str()},
        {&remove, removeSql.c_str()},
        {&begin, "BEGIN IMMEDIATE"},
        {&commit, "COMMIT"},
        {&rollback, "ROLLBACK"},
    };
    std::size_t count = readOnly ? (hasTable ? 2 : 1) : std::size(all);
    for (std::size_t i = 0; i < count; ++i) {
      int rc = sqlite3_prepare_v3(db, all[i].second, -1, SQLITE_PREPARE_PERSISTENT, all[i].first,
                                  nullptr);
      if (rc != SQLITE_OK) return rc;
    }
    return SQLITE_OK;
  }
};

KeyValueTable::BoundedWait::BoundedWait(KeyValueTable& table) : table_(table) {
  if (table_.boundedWaitDepth_++ == 0) {
    table_.busyDeadline_ =
        std::chrono::steady_clock::now() +
        std::chrono::milliseconds(gBusyTimeoutMilliseconds.load(std::memory_order_relaxed));
  }
}

KeyValueTable::BoundedWait::BoundedWait(KeyValueTable& table,
                                        std::chrono::steady_clock::time_point deadline)
    : table_(table) {
  if (table_.boundedWaitDepth_++ == 0) table_.busyDeadline_ = deadline;
}

KeyValueTable::BoundedWait::~BoundedWait() {
  --table_.boundedWaitDepth_;
}

KeyValueTable::KeyValueTable(std::string path, const KeyValueTableLayout& layout)
    : path_(std::move(path)), counterPath_(path_ + ".counter"), layout_(layout) {}

KeyValueTable::~KeyValueTable() {
  closeConnection();
}

void KeyValueTable::log(std::string_view what, std::string_view detail) const {
  std::fprintf(stderr, "norvik: %s %s: %.*s%s%.*s\n", layout_.logName, path_.c_str(),
               static_cast<int>(what.size()), what.data(), detail.empty() ? "" : ": ",
               static_cast<int>(detail.size()), detail.data());
}

void KeyValueTable::reportFailure(bool& reported, std::string_view what, std::string_view detail) {
  if (!reported) log(what, detail);
  reported = true;
}

namespace {
// Result codes that mean the file can be read but not written (or not written now).
bool cannotWrite(int rc) {
  switch (rc & 0xff) {
    case SQLITE_READONLY:
    case SQLITE_CANTOPEN:
    case SQLITE_FULL:
    case SQLITE_IOERR:
    case SQLITE_PERM:
    case SQLITE_AUTH:
      return true;
    default:
      return false;
  }
}
}  // namespace

// Runs `sql` (a write) only if the write lock is free now: it never waits for another process.
int KeyValueTable::executeWithoutWaiting(const char* sql) {
  ++boundedWaitDepth_;
  auto saved = busyDeadline_;
  busyDeadline_ = std::chrono::steady_clock::now();
  int rc = execute(db_, sql);
  busyDeadline_ = saved;
  --boundedWaitDepth_;
  return rc;
}

// Creates the table and raises the stored version when needed. Only then does opening write, so
// that opening a database that another process holds locked for writing does not wait for it.
int KeyValueTable::setUpSchema(bool hasTable) {
  std::string stored;
  int rc = queryText(db_, "PRAGMA user_version", stored);
  if (rc != SQLITE_OK) return rc;
  bool raise = layout_.userVersion > 0 && std::atoi(stored.c_str()) < layout_.userVersion;
  if (hasTable && !raise) {
    versionRaisePending_ = false;
    return SQLITE_OK;
  }
  // Someone writing now makes a version raise wait for the next commit; a missing table is
  // waited for (within the busy timeout), as nothing can be read or written without it.
  rc = hasTable ? executeWithoutWaiting("BEGIN IMMEDIATE") : execute(db_, "BEGIN IMMEDIATE");
  if (rc != SQLITE_OK) {
    if (hasTable) {
      versionRaisePending_ = true;
      return SQLITE_OK;
    }
    lastError_ = sqlite3_errmsg(db_);
    return rc;
  }
  std::string create = std::string("CREATE TABLE IF NOT EXISTS ") + layout_.table +
                       " (key TEXT PRIMARY KEY NOT NULL, kind INTEGER NOT NULL, value)" +
                       (layout_.withoutRowid ? " WITHOUT ROWID" : "");
  rc = execute(db_, create.c_str());
  if (rc == SQLITE_OK && raise) {
    std::string pragma = "PRAGMA user_version = " + std::to_string(layout_.userVersion);
    rc = execute(db_, pragma.c_str());
  }
  if (rc != SQLITE_OK) lastError_ = sqlite3_errmsg(db_);
  int end = execute(db_, rc == SQLITE_OK ? "COMMIT" : "ROLLBACK");
  if (rc == SQLITE_OK && end != SQLITE_OK) {
    rc = end;
    lastError_ = sqlite3_errmsg(db_);
  }
  if (rc == SQLITE_OK) versionRaisePending_ = false;
  return rc;
}

KeyValueTable::OpenResult KeyValueTable::openConnection() {
  closeConnection();
  lastError_.clear();
  readOnly_ = false;
  noDatabase_ = false;
  // The file is made here, not by SQLite, so that it is 0600 from the start; SQLite gives its
  // log and shared-memory files the same mode.
  bool created = true;
  int fd = ::open(path_.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (fd < 0 && errno == EEXIST) {
    created = false;
    fd = ::open(path_.c_str(), O_RDWR | O_CLOEXEC);
  }
  if (fd < 0) {
    int error = errno;
    lastError_ = std::strerror(error);
    return error == EACCES || error == EROFS || error == EPERM || error == ENOSPC || error == EDQUOT
               ? OpenResult::CannotWrite
               : OpenResult::Failed;
  }
  struct stat st;
  bool ok = fstat(fd, &st) == 0;
  if (ok && (st.st_mode & 07777) != 0600 && st.st_uid == geteuid()) fchmod(fd, 0600);
  ::close(fd);
  if (!ok) {
    lastError_ = std::strerror(errno);
    return OpenResult::Failed;
  }
  device_ = st.st_dev;
  inode_ = st.st_ino;
  if (created) {
    createdDevice_ = st.st_dev;
    createdInode_ = st.st_ino;
  }
  // Opening sets the log mode, which writes the first page: an empty file that this process did
  // not just make was cut short or emptied, and holds nothing that can be read.
  bool ours = st.st_dev == createdDevice_ && st.st_ino == createdInode_;
  if (st.st_size == 0 && !ours && logIsEmpty(path_)) {
    lastError_ = "the file is empty";
    return OpenResult::Corrupt;
  }

  int rc =
      sqlite3_open_v2(path_.c_str(), &db_,
                      SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
  if (rc == SQLITE_OK) rc = sqlite3_busy_handler(db_, &KeyValueTable::waitWhileBusy, this);
  std::string mode;
  if (rc == SQLITE_OK) rc = queryText(db_, "PRAGMA journal_mode = WAL", mode);
  // A file system without shared memory keeps the rollback journal; the table still works.
  if (rc == SQLITE_OK && mode != "wal") log("write-ahead log unavailable", mode);
  if (rc == SQLITE_OK) {
    rc = execute(db_,
                 layout_.fullSync ? "PRAGMA synchronous = FULL" : "PRAGMA synchronous = NORMAL");
  }
  bool hasTable = false;
  if (rc == SQLITE_OK) rc = checkDatabase(db_, layout_.table, hasTable);
  if (rc == SQLITE_OK) rc = setUpSchema(hasTable);
  if (rc == SQLITE_OK) {
    statements_ = new Statements();
    rc = statements_->prepare(db_, layout_.table, false, true);
  }
  if (rc == SQLITE_OK) {
    if (ours) createdInode_ = 0;  // set up: from now on it is an ordinary file
    return OpenResult::Ok;
  }

  bool corrupt = isCorruption(rc);
  if (lastError_.empty()) lastError_ = db_ ? sqlite3_errmsg(db_) : sqlite3_errstr(rc);
  closeConnection();
  // A file this process made and could not set up (a full disk) is not left behind empty.
  if (ours && stat(path_.c_str(), &st) == 0 && st.st_size == 0 && st.st_ino == inode_) {
    ::unlink(path_.c_str());
    createdInode_ = 0;
  }
  if (corrupt) return OpenResult::Corrupt;
  return cannotWrite(rc) ? OpenResult::CannotWrite : OpenResult::Failed;
}

// Opens `uri` read-only and checks it; `hasTable` tells whether the table exists.
KeyValueTable::OpenResult KeyValueTable::openUri(const std::string& uri, bool& hasTable) {
  closeConnection();
  hasTable = false;
  int rc = sqlite3_open_v2(uri.c_str(), &db_,
                           SQLITE_OPEN_READONLY | SQLITE_OPEN_URI | SQLITE_OPEN_NOMUTEX, nullptr);
  if (rc == SQLITE_OK) rc = sqlite3_busy_handler(db_, &KeyValueTable::waitWhileBusy, this);
  if (rc == SQLITE_OK) rc = checkDatabase(db_, layout_.table, hasTable);
  if (rc == SQLITE_OK) {
    statements_ = new Statements();
    rc = statements_->prepare(db_, layout_.table, true, hasTable);
  }
  if (rc == SQLITE_OK) return OpenResult::Ok;
  lastError_ = db_ ? sqlite3_errmsg(db_) : sqlite3_errstr(rc);
  closeConnection();
  return isCorruption(rc) ? OpenResult::Corrupt : OpenResult::Failed;
}

// The database cannot be written: open it to read what it holds. Where nothing can change the
// file (a read-only file system) and its log is empty, it is opened immutable, which needs no
// lock and no shared memory; otherwise read-only, falling back to immutable when the shared
// memory cannot be made and the log is empty (the main file then holds every commit).
KeyValueTable::OpenResult KeyValueTable::openReadOnly() {
  std::string writeError = lastError_;
  closeConnection();
  struct stat st;
  if (stat(path_.c_str(), &st) != 0) {
    // Nothing was ever stored here, and nothing can be until the file can be made.
    readOnly_ = true;
    noDatabase_ = true;
    device_ = 0;
    inode_ = 0;
    lastError_ = writeError;
    return OpenResult::Ok;
  }
  device_ = st.st_dev;
  inode_ = st.st_ino;
  bool emptyLog = logIsEmpty(path_);
  std::string base = "file:" + uriPath(path_);
  std::vector<std::string> uris;
  if (!(emptyLog && onReadOnlyFileSystem(path_))) uris.push_back(base + "?mode=ro");
  if (emptyLog) uris.push_back(base + "?immutable=1");
  OpenResult result = OpenResult::Failed;
  for (const std::string& uri : uris) {
    bool hasTable = false;
    result = openUri(uri, hasTable);
    if (result == OpenResult::Ok) {
      readOnly_ = true;
      noDatabase_ = false;
      lastError_ = writeError;  // why it is read-only: what a write will report
      return result;
    }
  }
  return result;
}

// Called by SQLite while another connection holds the lock: nap for a millisecond or two and try
// again until the deadline of the current call has passed. SQLite's own timeout handler sleeps
// longer and longer (up to 100 ms), which lets a process that writes steadily starve the others.
int KeyValueTable::waitWhileBusy(void* self, int attempt) {
  auto* table = static_cast<KeyValueTable*>(self);
  table->counter_.noteWaiting();
  auto now = std::chrono::steady_clock::now();
  if (table->boundedWaitDepth_ == 0 && attempt == 0) {
    // A statement outside any bounded call: it gets one busy timeout of its own.
    table->busyDeadline_ =
        now + std::chrono::milliseconds(gBusyTimeoutMilliseconds.load(std::memory_order_relaxed));
  }
  if (now >= table->busyDeadline_) return 0;
  // Spread the naps out, so that waiting processes do not wake in step.
  std::this_thread::sleep_for(std::chrono::microseconds(500 + (attempt * 7919) % 1500));
  return 1;
}

void KeyValueTable::closeConnection() {
  delete statements_;
  statements_ = nullptr;
  if (db_) sqlite3_close_v2(db_);
  db_ = nullptr;
  loadedMark_ = ~std::uint64_t{0};
}

bool KeyValueTable::fileReplaced() const {
  struct stat st;
  if (stat(path_.c_str(), &st) != 0) return !noDatabase_;
  return st.st_dev != device_ || st.st_ino != inode_;
}

void KeyValueTable::setAsideDamagedFile() {
  closeConnection();
  // The name is taken atomically: a file set aside earlier, in the same second or not, is never
  // overwritten.
  std::string stamp = path_ + ".corrupt-" + timestampSuffix();
  std::string target = stamp;
  bool kept = false;
  for (int n = 1; n < 10000; ++n) {
    if (!pathExists(target + "-wal") && renameNoReplace(path_, target)) {
      kept = true;
      break;
    }
    if (errno != EEXIST && !pathExists(target + "-wal")) break;
    target = stamp + "-" + std::to_string(n);
  }
  std::string detail = "kept as " + target;
  if (!kept) {
    // Cannot keep it; a damaged file must still not stop the settings from working.
    detail = std::string("removed, it could not be kept (") + std::strerror(errno) + ")";
    ::unlink(path_.c_str());
    target.clear();
  }
  // The log belongs to the damaged file; a fresh database must not replay it.
  std::string wal = path_ + "-wal";
  if (pathExists(wal) && (target.empty() || !renameNoReplace(wal, target + "-wal"))) {
    ::unlink(wal.c_str());
  }
  ::unlink((path_ + "-shm").c_str());
  log("the database was damaged and has been replaced by an empty one", detail);
}

// Opens the database under the file lock, setting a damaged file aside; read-only when it cannot
// be written.
KeyValueTable::Status KeyValueTable::reopen() {
  BoundedWait wait(*this);
  closeConnection();
  lastError_.clear();
  std::string why;
  if (!makeParentDirectories(path_)) {
    why = std::string("cannot create the directory: ") + std::strerror(errno);
    // A directory that cannot be made holds no database: nothing is stored.
    if (errno != EACCES && errno != EROFS && errno != EPERM) {
      lastError_ = why;
      return Status::Failed;
    }
  }
  // A counter mapped read-only is tried again: the container may be writable by now.
  if (counter_.fd() < 0 || !counter_.writable() || counter_.replaced(counterPath_)) {
    if (!counter_.open(counterPath_)) {
      if (why.empty()) why = std::string("cannot open the change counter: ") + std::strerror(errno);
      counter_.close();
      // Without the counter nothing may be written (other processes would not learn of it), but
      // what the database holds can still be read.
      lastError_ = why;
      if (openReadOnly() == OpenResult::Ok) return Status::Ok;
      lastError_ = why;
      return Status::Failed;
    }
  }
  if (!counter_.writable()) {
    lastError_ = "cannot write the change counter: " + std::string(std::strerror(EACCES));
    if (openReadOnly() == OpenResult::Ok) return Status::Ok;
    return Status::Failed;
  }
  FileLock lock(counter_.fd(), busyDeadline_);
  if (!lock.held()) {
    lastError_ = "another process holds the database's file lock";
    return Status::Failed;
  }
  OpenResult result = openConnection();
  if (result == OpenResult::Corrupt) {
    setAsideDamagedFile();
    result = openConnection();
    if (result == OpenResult::Ok) return Status::Recovered;
  }
  if (result == OpenResult::CannotWrite) result = openReadOnly();
  return result == OpenResult::Ok ? Status::Ok : Status::Failed;
}

// The open connection found its file damaged. Unless another process has already replaced the
// file, it is set aside; then the database is opened afresh. A read-only connection leaves the
// file alone: it cannot replace it.
KeyValueTable::Status KeyValueTable::recover() {
  BoundedWait wait(*this);
  if (readOnly_) {
    lastError_ = "the database is damaged";
    closeConnection();
    return Status::Failed;
  }
  bool setAside = false;
  {
    FileLock lock(counter_.fd(), busyDeadline_);
    if (!lock.held()) {
      lastError_ = "another process holds the database's file lock";
      return Status::Failed;
    }
    if (!fileReplaced()) {
      setAsideDamagedFile();
      setAside = true;
    }
  }
  Status status = reopen();
  if (status == Status::Ok && readOnly_) return Status::Failed;
  return status == Status::Ok && setAside ? Status::Recovered : status;
}

KeyValueTable::Status KeyValueTable::connect() {
  if ((db_ || noDatabase_) && !fileReplaced()) return Status::Ok;
  return reopen();
}

bool KeyValueTable::stale() const noexcept {
  return counter_.load() != loadedMark_ || (!db_ && !noDatabase_);
}

std::int64_t KeyValueTable::dataVersion() {
  if (!statements_ || !statements_->dataVersion) return -1;
  StatementUse use(statements_->dataVersion);
  return sqlite3_step(statements_->dataVersion) == SQLITE_ROW
             ? sqlite3_column_int64(statements_->dataVersion, 0)
             : -1;
}

void KeyValueTable::checkForeignCommits() {
  if (db_ && dataVersion() != loadedDataVersion_) loadedMark_ = ~std::uint64_t{0};
}

int KeyValueTable::readRows(platform::Dictionary& out) {
  sqlite3_stmt* stmt = statements_ ? statements_->selectAll : nullptr;
  if (!stmt) return SQLITE_OK;  // a read-only database without the table holds nothing
  StatementUse use(stmt);
  int rc;
  while ((rc = sqlite3_step(stmt)) == SQLITE_ROW) {
    const auto* key = reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0));
    int keySize = sqlite3_column_bytes(stmt, 0);
    if (!key) continue;
    if (auto value = rowValue(stmt, 1, 2)) {
      out.insert_or_assign(std::string(key, static_cast<std::size_t>(keySize)), std::move(*value));
    }
  }
  return rc == SQLITE_DONE ? SQLITE_OK : rc;
}

KeyValueTable::Status KeyValueTable::load(platform::Dictionary& out) {
  BoundedWait wait(*this);
  auto now = std::chrono::steady_clock::now();
  // After a load that failed, reads try again without waiting for anyone: only the first read to
  // meet a busy database waits (within the busy timeout).
  if (lastLoadFailed_) busyDeadline_ = now;
  Status status;
  if (now < retryOpenAfter_) {
    status = Status::Failed;  // failed a moment ago; reads keep what they hold meanwhile
  } else if (readOnly_) {
    // Another process changed the database (or the file can be written again): a read-only,
    // perhaps immutable, connection reads afresh.
    status = reopen();
  } else {
    status = connect();
  }
  if (status == Status::Failed) {
    retryOpenAfter_ = now + std::chrono::milliseconds(100);
    lastLoadFailed_ = true;
    // A file that cannot even be made holds nothing to read; the first write reports it.
    if (pathExists(path_))
      reportFailure(reportedReadFailure_, "cannot read the database", lastError_);
    return status;
  }
  // The counter is read before the rows and the data version before the read transaction: a
  // commit that lands during the load is noticed again by the next check.
  std::uint64_t mark = counter_.load();
  std::int64_t version = dataVersion();
  int rc = readRows(out);
  if (isCorruption(rc)) {
    Status recovered = recover();
    if (recovered == Status::Failed) {
      lastLoadFailed_ = true;
      reportFailure(reportedReadFailure_, "cannot read the database", lastError_);
      return recovered;
    }
    if (recovered == Status::Recovered) status = Status::Recovered;
    out.clear();
    mark = counter_.load();
    version = dataVersion();
    rc = readRows(out);
  }
  if (rc != SQLITE_OK) {
    lastError_ = sqlite3_errmsg(db_);
    retryOpenAfter_ = now + std::chrono::milliseconds(100);
    lastLoadFailed_ = true;
    reportFailure(reportedReadFailure_, "cannot read the database", lastError_);
    return Status::Failed;
  }
  reportedReadFailure_ = false;
  lastLoadFailed_ = false;
  loadedMark_ = mark;
  loadedDataVersion_ = version;
  return status;
}

int KeyValueTable::writeChanges(const KeyValueChanges& changes) {
  // A process that writes steadily would otherwise take the lock again the moment it let it go;
  // when another process has been waiting for it, leave the lock free for its next try.
  if (counter_.anotherProcessWaiting()) std::this_thread::sleep_for(std::chrono::milliseconds(2));
  int rc;
  {
    StatementUse use(statements_->begin);
    rc = sqlite3_step(statements_->begin);
  }
  if (rc != SQLITE_DONE) return rc;
  // Inside the transaction the locks are held already, so this costs no extra file locking.
  if (dataVersion() != loadedDataVersion_) loadedMark_ = ~std::uint64_t{0};
  rc = SQLITE_OK;
  if (versionRaisePending_) {
    std::string pragma = "PRAGMA user_version = " + std::to_string(layout_.userVersion);
    rc = execute(db_, pragma.c_str());
  }
  for (const auto& [key, value] : changes) {
    if (rc != SQLITE_OK) break;
    sqlite3_stmt* stmt = value.isNull() ? statements_->remove : statements_->upsert;
    StatementUse use(stmt);
    rc = sqlite3_bind_text64(stmt, 1, key.data(), key.size(), SQLITE_STATIC, SQLITE_UTF8);
    if (rc == SQLITE_OK && !value.isNull()) rc = bindRowValue(stmt, 2, 3, value);
    if (rc == SQLITE_OK) rc = sqlite3_step(stmt);
    if (rc != SQLITE_DONE) break;
    rc = SQLITE_OK;
  }
  if (rc == SQLITE_OK) {
    StatementUse use(statements_->commit);
    rc = sqlite3_step(statements_->commit);
    if (rc == SQLITE_DONE) {
      versionRaisePending_ = false;
      return SQLITE_OK;
    }
  }
  if (!sqlite3_get_autocommit(db_)) {
    StatementUse use(statements_->rollback);
    sqlite3_step(statements_->rollback);
  }
  return rc;
}

KeyValueTable::Status KeyValueTable::commit(const KeyValueChanges& changes) {
  BoundedWait wait(*this);
  auto fail = [&](std::string_view why) {
    lastError_ = std::string(why);
    std::string what = "cannot save " + std::to_string(changes.size()) +
                       (changes.size() == 1 ? " change" : " changes") +
                       "; kept in memory and tried again at the next save";
    reportFailure(reportedWriteFailure_, what, why);
    return Status::Failed;
  };
  // The owner's synchronize() has just checked that the file is still the one open; a read-only
  // connection tries to become a writing one again.
  Status status = db_ && !readOnly_ ? Status::Ok : reopen();
  if (status == Status::Failed) return fail(lastError_);
  if (readOnly_) return fail(lastError_.empty() ? "the database can only be read" : lastError_);
  int rc = writeChanges(changes);
  if (isCorruption(rc)) {
    Status recovered = recover();
    if (recovered == Status::Failed) return fail(lastError_);
    if (recovered == Status::Recovered) status = Status::Recovered;
    rc = writeChanges(changes);
  }
  if (rc != SQLITE_OK) return fail(sqlite3_errmsg(db_));
  reportedWriteFailure_ = false;
  lastError_.clear();
  retryOpenAfter_ = {};  // the database is reachable: the next load need not wait
  // Other processes reload when they see the counter move. The owner's rows stay current when
  // nobody else committed since they were loaded (neither the counter nor the data version
  // moved; writeChanges made loadedMark_ unmatchable otherwise).
  std::uint64_t before = counter_.bump();
  if (before == loadedMark_) loadedMark_ = before + 1;
  return status;
}

void KeyValueTable::raiseUserVersion(std::int32_t version) {
  if (version <= layout_.userVersion) return;
  layout_.userVersion = version;
  versionRaisePending_ = true;
  if (!db_ || readOnly_) return;  // raised when the database is next opened for writing
  if (executeWithoutWaiting("BEGIN IMMEDIATE") != SQLITE_OK) return;  // with the next commit
  std::string pragma = "PRAGMA user_version = " + std::to_string(version);
  int rc = execute(db_, pragma.c_str());
  int end = execute(db_, rc == SQLITE_OK ? "COMMIT" : "ROLLBACK");
  if (rc == SQLITE_OK && end == SQLITE_OK) versionRaisePending_ = false;
}

}  // namespace norvik::detail
