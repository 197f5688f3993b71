#include "platform/sqlite_table.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
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
// happen under it, so that two processes never replace each other's fresh database.
class FileLock {
 public:
  explicit FileLock(int fd) : fd_(fd) {
    while (flock(fd_, LOCK_EX) != 0 && errno == EINTR) {
    }
  }
  ~FileLock() { flock(fd_, LOCK_UN); }
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

 private:
  int fd_;
};

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
  int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (fd < 0) return false;
  struct stat st;
  bool ok = fstat(fd, &st) == 0;
  if (ok && (st.st_mode & 07777) != 0600 && st.st_uid == geteuid()) fchmod(fd, 0600);
  // A new (or truncated) file grows to one zeroed word; a longer one keeps its first word.
  if (ok && st.st_size < static_cast<off_t>(kMappedBytes)) {
    ok = ftruncate(fd, kMappedBytes) == 0;
  }
  void* map =
      ok ? mmap(nullptr, kMappedBytes, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0) : MAP_FAILED;
  if (map == MAP_FAILED) {
    int saved = errno;
    ::close(fd);
    errno = saved;
    return false;
  }
  if (word_) munmap(word_, kMappedBytes);
  if (fd_ >= 0) ::close(fd_);
  fd_ = fd;
  word_ = static_cast<std::uint64_t*>(map);
  return true;
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
  if (!word_) return 0;
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
  if (!word_) return;
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

  int prepare(sqlite3* db, const std::string& table) {
    const std::string selectSql = "SELECT key, kind, value FROM " + table;
    const std::string upsertSql =
        "INSERT OR REPLACE INTO " + table + " (key, kind, value) VALUES (?1, ?2, ?3)";
    const std::string removeSql = "DELETE FROM " + table + " WHERE key = ?1";
    const std::pair<sqlite3_stmt**, const char*> all[] = {
        {&selectAll, selectSql.c_str()},
        {&upsert, upsertSql.c_str()},
        {&remove, removeSql.c_str()},
        {&begin, "BEGIN IMMEDIATE"},
        {&commit, "COMMIT"},
        {&rollback, "ROLLBACK"},
        {&dataVersion, "PRAGMA data_version"},
    };
    for (const auto& [stmt, sql] : all) {
      int rc = sqlite3_prepare_v3(db, sql, -1, SQLITE_PREPARE_PERSISTENT, stmt, nullptr);
      if (rc != SQLITE_OK) return rc;
    }
    return SQLITE_OK;
  }
};

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

KeyValueTable::OpenResult KeyValueTable::openConnection() {
  closeConnection();
  // The file is made here, not by SQLite, so that it is 0600 from the start; SQLite gives its
  // log and shared-memory files the same mode.
  int fd = ::open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  if (fd < 0) {
    lastError_ = std::strerror(errno);
    return OpenResult::Failed;
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

  int rc =
      sqlite3_open_v2(path_.c_str(), &db_,
                      SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX, nullptr);
  if (rc == SQLITE_OK) {
    busyTimeoutMilliseconds_ = gBusyTimeoutMilliseconds.load(std::memory_order_relaxed);
    rc = sqlite3_busy_handler(db_, &KeyValueTable::waitWhileBusy, this);
  }
  std::string mode;
  if (rc == SQLITE_OK) rc = queryText(db_, "PRAGMA journal_mode = WAL", mode);
  // A file system without shared memory keeps the rollback journal; the table still works.
  if (rc == SQLITE_OK && mode != "wal") log("write-ahead log unavailable", mode);
  if (rc == SQLITE_OK) {
    rc = execute(db_,
                 layout_.fullSync ? "PRAGMA synchronous = FULL" : "PRAGMA synchronous = NORMAL");
  }
  std::string check;
  if (rc == SQLITE_OK) rc = queryText(db_, "PRAGMA quick_check", check);
  if (rc == SQLITE_OK && check != "ok") rc = SQLITE_CORRUPT;
  if (rc == SQLITE_OK) rc = execute(db_, "BEGIN IMMEDIATE");
  if (rc == SQLITE_OK) {
    std::string create = std::string("CREATE TABLE IF NOT EXISTS ") + layout_.table +
                         " (key TEXT PRIMARY KEY NOT NULL, kind INTEGER NOT NULL, value)" +
                         (layout_.withoutRowid ? " WITHOUT ROWID" : "");
    rc = execute(db_, create.c_str());
    std::string stored;
    if (rc == SQLITE_OK && layout_.userVersion > 0)
      rc = queryText(db_, "PRAGMA user_version", stored);
    if (rc == SQLITE_OK && layout_.userVersion > 0 &&
        std::atoi(stored.c_str()) < layout_.userVersion) {
      std::string raise = "PRAGMA user_version = " + std::to_string(layout_.userVersion);
      rc = execute(db_, raise.c_str());
    }
    int end = execute(db_, rc == SQLITE_OK ? "COMMIT" : "ROLLBACK");
    if (rc == SQLITE_OK) rc = end;
  }
  if (rc == SQLITE_OK) {
    statements_ = new Statements();
    rc = statements_->prepare(db_, layout_.table);
  }
  if (rc == SQLITE_OK) return OpenResult::Ok;

  bool corrupt = isCorruption(rc);
  lastError_ = db_ ? sqlite3_errmsg(db_) : sqlite3_errstr(rc);
  closeConnection();
  return corrupt ? OpenResult::Corrupt : OpenResult::Failed;
}

// Called by SQLite while another connection holds the lock: nap for a millisecond or two and try
// again until the busy timeout has passed. SQLite's own timeout handler sleeps longer and longer
// (up to 100 ms), which lets a process that writes steadily starve the others.
int KeyValueTable::waitWhileBusy(void* self, int attempt) {
  auto* table = static_cast<KeyValueTable*>(self);
  table->counter_.noteWaiting();
  auto now = std::chrono::steady_clock::now();
  if (attempt == 0) table->busySince_ = now;
  if (now - table->busySince_ >= std::chrono::milliseconds(table->busyTimeoutMilliseconds_)) {
    return 0;
  }
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
  if (stat(path_.c_str(), &st) != 0) return true;
  return st.st_dev != device_ || st.st_ino != inode_;
}

void KeyValueTable::setAsideDamagedFile() {
  closeConnection();
  std::string target = path_ + ".corrupt-" + timestampSuffix();
  for (int n = 1; pathExists(target) || pathExists(target + "-wal"); ++n) {
    target = path_ + ".corrupt-" + timestampSuffix() + "-" + std::to_string(n);
  }
  std::string detail = "kept as " + target;
  if (std::rename(path_.c_str(), target.c_str()) != 0) {
    // Cannot keep it; a damaged file must still not stop the settings from working.
    detail = std::string("removed, it could not be kept (") + std::strerror(errno) + ")";
    ::unlink(path_.c_str());
    target.clear();
  }
  // The log belongs to the damaged file; a fresh database must not replay it.
  std::string wal = path_ + "-wal";
  if (pathExists(wal) &&
      (target.empty() || std::rename(wal.c_str(), (target + "-wal").c_str()) != 0)) {
    ::unlink(wal.c_str());
  }
  ::unlink((path_ + "-shm").c_str());
  log("the database was damaged and has been replaced by an empty one", detail);
}

// Opens the database under the file lock, setting a damaged file aside.
KeyValueTable::Status KeyValueTable::reopen() {
  closeConnection();
  if (!makeParentDirectories(path_)) {
    lastError_ = std::string("cannot create the directory: ") + std::strerror(errno);
    return Status::Failed;
  }
  if (counter_.fd() < 0 || counter_.replaced(counterPath_)) {
    if (!counter_.open(counterPath_)) {
      lastError_ = std::string("cannot open the change counter: ") + std::strerror(errno);
      return Status::Failed;
    }
  }
  FileLock lock(counter_.fd());
  OpenResult result = openConnection();
  if (result == OpenResult::Corrupt) {
    setAsideDamagedFile();
    if (openConnection() == OpenResult::Ok) return Status::Recovered;
    return Status::Failed;
  }
  return result == OpenResult::Ok ? Status::Ok : Status::Failed;
}

// The open connection found its file damaged. Unless another process has already replaced the
// file, it is set aside; then the database is opened afresh.
KeyValueTable::Status KeyValueTable::recover() {
  bool setAside = false;
  {
    FileLock lock(counter_.fd());
    if (!fileReplaced()) {
      setAsideDamagedFile();
      setAside = true;
    }
  }
  Status status = reopen();
  return status == Status::Ok && setAside ? Status::Recovered : status;
}

KeyValueTable::Status KeyValueTable::connect() {
  if (db_ && !fileReplaced()) return Status::Ok;
  return reopen();
}

bool KeyValueTable::stale() const noexcept {
  return counter_.load() != loadedMark_ || !db_;
}

std::int64_t KeyValueTable::dataVersion() {
  if (!statements_) return -1;
  StatementUse use(statements_->dataVersion);
  return sqlite3_step(statements_->dataVersion) == SQLITE_ROW
             ? sqlite3_column_int64(statements_->dataVersion, 0)
             : -1;
}

void KeyValueTable::checkForeignCommits() {
  if (db_ && dataVersion() != loadedDataVersion_) loadedMark_ = ~std::uint64_t{0};
}

int KeyValueTable::readRows(platform::Dictionary& out) {
  sqlite3_stmt* stmt = statements_->selectAll;
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
  Status status = connect();
  if (status == Status::Failed) {
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
    reportFailure(reportedReadFailure_, "cannot read the database", sqlite3_errmsg(db_));
    return Status::Failed;
  }
  reportedReadFailure_ = false;
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
  for (const auto& [key, value] : changes) {
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
    if (rc == SQLITE_DONE) return SQLITE_OK;
  }
  if (!sqlite3_get_autocommit(db_)) {
    StatementUse use(statements_->rollback);
    sqlite3_step(statements_->rollback);
  }
  return rc;
}

KeyValueTable::Status KeyValueTable::commit(const KeyValueChanges& changes) {
  auto fail = [&](std::string_view why) {
    std::string what = "cannot save " + std::to_string(changes.size()) +
                       (changes.size() == 1 ? " change" : " changes") +
                       "; kept in memory and tried again at the next save";
    reportFailure(reportedWriteFailure_, what, why);
    return Status::Failed;
  };
  // The owner's synchronize() has just checked that the file is still the one open.
  Status status = db_ ? Status::Ok : connect();
  if (status == Status::Failed) return fail(lastError_);
  int rc = writeChanges(changes);
  if (isCorruption(rc)) {
    Status recovered = recover();
    if (recovered == Status::Failed) return fail(lastError_);
    if (recovered == Status::Recovered) status = Status::Recovered;
    rc = writeChanges(changes);
  }
  if (rc != SQLITE_OK) return fail(sqlite3_errmsg(db_));
  reportedWriteFailure_ = false;
  // Other processes reload when they see the counter move. The owner's rows stay current when
  // nobody else committed since they were loaded (neither the counter nor the data version
  // moved; writeChanges made loadedMark_ unmatchable otherwise).
  std::uint64_t before = counter_.bump();
  if (before == loadedMark_) loadedMark_ = before + 1;
  return status;
}

}  // namespace norvik::detail
