// The settings' storage under stress: several processes at once, a writer killed at random points,
// damaged and replaced files, a container that cannot be written, a full disk and a database held
// locked.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "norvik/platform/user_defaults.h"
#include "norvik/settings/defaults_cache.h"
#include "platform/sqlite_table.h"
#include "platform/user_defaults_store.h"
#include "support/test_support.h"

namespace norvik::platform {
namespace {

namespace fs = std::filesystem;
using norvik::testing::TempDir;

constexpr std::string_view kSuite = kNVAppGroupIdentifier;

// A running norvik_store_helper with its standard output and error on pipes.
struct Helper {
  pid_t pid = -1;
  int out = -1;
  int err = -1;
  std::string outText, errText;

  Helper(const std::vector<std::string>& args, const std::string& container) {
    int outPipe[2], errPipe[2];
    if (pipe(outPipe) != 0 || pipe(errPipe) != 0) return;
    pid = fork();
    if (pid == 0) {
      dup2(outPipe[1], 1);
      dup2(errPipe[1], 2);
      for (int fd : {outPipe[0], outPipe[1], errPipe[0], errPipe[1]}) close(fd);
      setenv("NORVIK_APP_GROUP_DIR", container.c_str(), 1);
      std::vector<char*> argv{const_cast<char*>(NORVIK_STORE_HELPER)};
      for (const auto& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
      argv.push_back(nullptr);
      execv(NORVIK_STORE_HELPER, argv.data());
      _exit(127);
    }
    close(outPipe[1]);
    close(errPipe[1]);
    out = outPipe[0];
    err = errPipe[0];
  }
  ~Helper() {
    if (pid > 0) {
      kill(pid, SIGKILL);
      waitpid(pid, nullptr, 0);
    }
    if (out >= 0) close(out);
    if (err >= 0) close(err);
  }

  // Reads what is available on `fd` into `text` within `timeoutMs`; false at end of file.
  static bool drain(int fd, std::string& text, int timeoutMs) {
    pollfd p{fd, POLLIN, 0};
    if (poll(&p, 1, timeoutMs) <= 0) return true;
    char buffer[4096];
    ssize_t n = read(fd, buffer, sizeof buffer);
    if (n <= 0) return false;
    text.append(buffer, static_cast<std::size_t>(n));
    return true;
  }
  // Waits for the exit status, reading both pipes; -1 when it outlives `seconds`.
  int wait(double seconds) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    bool outOpen = true, errOpen = true;
    while ((outOpen || errOpen) && std::chrono::steady_clock::now() < deadline) {
      if (outOpen) outOpen = drain(out, outText, 5);
      if (errOpen) errOpen = drain(err, errText, 5);
    }
    int status = 0;
    if (outOpen || errOpen || waitpid(pid, &status, 0) != pid) return -1;
    pid = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
};

std::string integrityCheck(const std::string& path) {
  sqlite3* db = nullptr;
  std::string result = "cannot open";
  if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) == SQLITE_OK) {
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db, "PRAGMA integrity_check", -1, &stmt, nullptr) == SQLITE_OK &&
        sqlite3_step(stmt) == SQLITE_ROW) {
      result = reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0));
    }
    sqlite3_finalize(stmt);
  }
  sqlite3_close(db);
  return result;
}

std::vector<std::string> setAsideFiles(const std::string& directory) {
  std::vector<std::string> found;
  for (const auto& entry : fs::directory_iterator(directory)) {
    std::string name = entry.path().filename().string();
    if (name.find(".corrupt-") != std::string::npos && name.find("-wal") == std::string::npos) {
      found.push_back(entry.path().string());
    }
  }
  return found;
}

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

int countLines(const std::string& text, std::string_view containing) {
  int lines = 0;
  for (std::size_t at = text.find(containing); at != std::string::npos;
       at = text.find(containing, at + 1)) {
    ++lines;
  }
  return lines;
}

class StoreDurabilityTest : public ::testing::Test {
 protected:
  StoreDurabilityTest() : environment_(makeEnvironment(temp_)) {}
  ~StoreDurabilityTest() override { detail::setSqliteBusyTimeout(5000); }

  static Environment makeEnvironment(const TempDir& temp) {
    Environment env = norvik::testing::baseEnvironment();
    env.appGroupContainerDirectory = temp.path() + "/group";
    return env;
  }
  std::string container() const { return temp_.path() + "/group"; }
  std::string preferences() const { return container() + "/Preferences"; }
  std::string databasePath() const { return preferences() + "/" + std::string(kSuite) + ".sqlite"; }

  TempDir temp_;
  ScopedEnvironment environment_;
};

TEST_F(StoreDurabilityTest, TwoProcessesOfFourThreadsReadEveryAcknowledgedWriteOfTheOther) {
  fs::create_directories(container());
  Helper a({"exchange", "a", "b", "4", "40"}, container());
  Helper b({"exchange", "b", "a", "4", "40"}, container());
  EXPECT_EQ(a.wait(30), 0) << a.errText;
  EXPECT_EQ(b.wait(30), 0) << b.errText;
  EXPECT_EQ(integrityCheck(databasePath()), "ok");
}

TEST_F(StoreDurabilityTest, AWriterKilledAtRandomPointsLosesNothingItSynchronized) {
  fs::create_directories(container());
  std::mt19937 random(20240310);
  long acknowledgedOverall = 0;
  for (int round = 0; round < 50; ++round) {
    Helper writer({"stream"}, container());
    // Wait for the first acknowledgement, then let it run on for a random while.
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (writer.outText.find('\n') == std::string::npos &&
           std::chrono::steady_clock::now() < deadline) {
      Helper::drain(writer.out, writer.outText, 10);
    }
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 15000));
    kill(writer.pid, SIGKILL);
    while (Helper::drain(writer.out, writer.outText, 100)) {
    }
    EXPECT_EQ(writer.wait(5), 128 + SIGKILL) << writer.errText;
    // The last complete line is the last write acknowledged; a line cut short was not.
    std::size_t end = writer.outText.rfind('\n');
    ASSERT_NE(end, std::string::npos) << "round " << round << ": " << writer.errText;
    std::size_t start = writer.outText.rfind('\n', end - 1);
    long acknowledged =
        std::stol(writer.outText.substr(start == std::string::npos ? 0 : start + 1));

    ASSERT_EQ(integrityCheck(databasePath()), "ok") << "round " << round;
    ASSERT_EQ(integrityCheck(container() + "/Norvik_CustomUserDefaults.sqlite"), "ok");
    // synchronize() also notices a commit whose writer died before it could tell the others.
    UserDefaults defaults(kSuite);
    ASSERT_TRUE(defaults.synchronize());
    SVDatabaseUserDefaults table(kNVAppGroupIdentifier,
                                 SVCustomUserDefaultsCacheManager::kDatabaseName,
                                 SVCustomUserDefaultsCacheManager::kDatabaseVersion);
    for (long n = 1; n <= acknowledged; ++n) {
      std::string key = "k" + std::to_string(n);
      ASSERT_EQ(defaults.integerForKey(key), n) << "round " << round;
      ASSERT_EQ(table.objectForKey(key), Value(static_cast<long long>(n))) << "round " << round;
    }
    acknowledgedOverall += acknowledged;
  }
  EXPECT_GT(acknowledgedOverall, 50);
  EXPECT_TRUE(setAsideFiles(preferences()).empty());
}

// A fresh database replaces the damaged one, which is kept beside it; one line says so.
void expectRecovered(const std::string& log, const std::string& directory,
                     const std::string& damagedBytes) {
  EXPECT_EQ(countLines(log, "damaged"), 1) << log;
  auto kept = setAsideFiles(directory);
  ASSERT_EQ(kept.size(), 1u);
  EXPECT_NE(log.find(kept[0]), std::string::npos) << log;
  EXPECT_EQ(readFile(kept[0]), damagedBytes);
}

TEST_F(StoreDurabilityTest, TruncatedAndRandomFilesAreSetAsideAndReplaced) {
  {
    // A suite of 200 long strings written by another program, then cut in half.
    fs::create_directories(preferences());
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(databasePath().c_str(), &db), SQLITE_OK);
    std::string fill =
        "CREATE TABLE defaults (key TEXT PRIMARY KEY NOT NULL, kind INTEGER NOT NULL, value) "
        "WITHOUT ROWID; BEGIN; WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n "
        "WHERE i < 200) "
        "INSERT INTO defaults SELECT 'k' || i, 4, printf('%.200c', 'x') FROM n; COMMIT; "
        "PRAGMA wal_checkpoint(TRUNCATE);";
    ASSERT_EQ(sqlite3_exec(db, fill.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(db);
  }
  ASSERT_GE(fs::file_size(databasePath()), 3u * 4096u);
  fs::resize_file(databasePath(), fs::file_size(databasePath()) / 2);
  std::string truncated = readFile(databasePath());

  ::testing::internal::CaptureStderr();
  UserDefaults defaults(kSuite);
  defaults.setInteger(7, "after");
  EXPECT_TRUE(defaults.synchronize());
  std::string log = ::testing::internal::GetCapturedStderr();
  expectRecovered(log, preferences(), truncated);
  EXPECT_TRUE(defaults.objectForKey("k1").isNull());
  EXPECT_EQ(integrityCheck(databasePath()), "ok");

  // The settings cache's table recovers the same way from a file of random bytes.
  std::string noise(8192, '\0');
  std::mt19937 random(7);
  for (char& c : noise) c = static_cast<char>(random());
  std::string tablePath = container() + "/Random.sqlite";
  std::ofstream(tablePath, std::ios::binary) << noise;
  ::testing::internal::CaptureStderr();
  SVDatabaseUserDefaults table(kNVAppGroupIdentifier, "Random", 1);
  table.setObject(Value("fresh"), "k");
  EXPECT_EQ(table.objectForKey("k"), Value("fresh"));
  expectRecovered(::testing::internal::GetCapturedStderr(), container(), noise);
}

TEST_F(StoreDurabilityTest, AFileReplacedUnderAnOpenStoreIsRecoveredWithWhatTheProcessHolds) {
  UserDefaults defaults(kSuite);
  defaults.setObject(Value("before"), "held");
  ASSERT_TRUE(defaults.synchronize());

  std::string garbage(5000, '\x42');
  std::string replacement = temp_.file("replacement");
  std::ofstream(replacement, std::ios::binary) << garbage;
  ASSERT_EQ(std::rename(replacement.c_str(), databasePath().c_str()), 0);
  fs::remove(databasePath() + "-wal");
  fs::remove(databasePath() + "-shm");

  ::testing::internal::CaptureStderr();
  defaults.setObject(Value("after"), "new");
  EXPECT_TRUE(defaults.synchronize());
  std::string log = ::testing::internal::GetCapturedStderr();
  expectRecovered(log, preferences(), garbage);

  // The fresh file holds what this process knew, as another process reads it.
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open(databasePath().c_str(), &db), SQLITE_OK);
  sqlite3_stmt* stmt = nullptr;
  ASSERT_EQ(sqlite3_prepare_v2(db, "SELECT count(*) FROM defaults WHERE key IN ('held', 'new')", -1,
                               &stmt, nullptr),
            SQLITE_OK);
  ASSERT_EQ(sqlite3_step(stmt), SQLITE_ROW);
  EXPECT_EQ(sqlite3_column_int(stmt, 0), 2);
  sqlite3_finalize(stmt);
  sqlite3_close(db);
  EXPECT_EQ(defaults.stringForKey("held"), "before");
}

TEST_F(StoreDurabilityTest, ALockedDatabaseFailsClearlyKeepsTheValueAndSavesItLater) {
  detail::setSqliteBusyTimeout(100);
  UserDefaults defaults(kSuite);
  defaults.setInteger(1, "first");
  ASSERT_TRUE(defaults.synchronize());

  sqlite3* holder = nullptr;  // another connection keeps the write lock
  ASSERT_EQ(sqlite3_open(databasePath().c_str(), &holder), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(holder, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);

  ::testing::internal::CaptureStderr();
  defaults.setInteger(2, "second");
  EXPECT_FALSE(defaults.synchronize());
  EXPECT_FALSE(defaults.synchronize());
  std::string log = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(countLines(log, "\n"), 1) << log;
  EXPECT_NE(log.find("kept in memory"), std::string::npos) << log;
  EXPECT_NE(log.find("locked"), std::string::npos) << log;
  EXPECT_EQ(defaults.integerForKey("second"), 2);

  // The settings cache's table keeps its write in memory the same way.
  ::testing::internal::CaptureStderr();
  SVDatabaseUserDefaults table(kNVAppGroupIdentifier, "Locked", 1);
  table.setObject(Value("a"), "k");
  sqlite3* tableHolder = nullptr;
  ASSERT_EQ(sqlite3_open((container() + "/Locked.sqlite").c_str(), &tableHolder), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(tableHolder, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
  table.setObject(Value("b"), "k");
  EXPECT_EQ(table.objectForKey("k"), Value("b"));
  sqlite3_exec(tableHolder, "ROLLBACK", nullptr, nullptr, nullptr);
  sqlite3_close(tableHolder);
  table.setObject(Value("c"), "other");  // the next write saves the one held back too
  EXPECT_EQ(countLines(::testing::internal::GetCapturedStderr(), "kept in memory"), 1);

  sqlite3_exec(holder, "ROLLBACK", nullptr, nullptr, nullptr);
  sqlite3_close(holder);
  EXPECT_TRUE(defaults.synchronize());
  EXPECT_EQ(UserDefaults(kSuite).integerForKey("second"), 2);
  sqlite3* check = nullptr;
  ASSERT_EQ(sqlite3_open((container() + "/Locked.sqlite").c_str(), &check), SQLITE_OK);
  sqlite3_stmt* stmt = nullptr;
  ASSERT_EQ(sqlite3_prepare_v2(check, "SELECT value FROM custom_user_defaults WHERE key = 'k'", -1,
                               &stmt, nullptr),
            SQLITE_OK);
  ASSERT_EQ(sqlite3_step(stmt), SQLITE_ROW);
  EXPECT_STREQ(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0)), "b");
  sqlite3_finalize(stmt);
  sqlite3_close(check);
}

TEST_F(StoreDurabilityTest, AnUnwritableContainerFailsClearlyAndKeepsTheValue) {
  fs::create_directories(container());
  // Reachable, but neither this user nor the helper (which gives up root) may write in it.
  for (fs::path dir = temp_.path(); dir != dir.root_path(); dir = dir.parent_path()) {
    fs::permissions(dir, fs::perms::others_exec | fs::perms::group_exec, fs::perm_options::add);
  }
  fs::permissions(container(), fs::perms(0555));
  Helper helper({"unwritable"}, container());
  int status = helper.wait(20);
  fs::permissions(container(), fs::perms(0700));
  EXPECT_EQ(status, 0) << helper.errText;
  // One line per store when the write fails, one when the process ends with the values unsaved.
  EXPECT_EQ(countLines(helper.errText, "kept in memory"), 2) << helper.errText;
  EXPECT_EQ(countLines(helper.errText, "lost at exit"), 2) << helper.errText;
}

TEST_F(StoreDurabilityTest, AFullDiskFailsClearlyKeepsTheValueAndSavesItWhenThereIsRoom) {
  fs::create_directories(container());
  Helper helper({"disk-full"}, container());
  EXPECT_EQ(helper.wait(20), 0) << helper.errText;
  EXPECT_EQ(countLines(helper.errText, "kept in memory"), 1) << helper.errText;
  EXPECT_EQ(UserDefaults(kSuite).dataForKey("big").value_or(Data()).size(), 1u << 20);
  EXPECT_EQ(integrityCheck(databasePath()), "ok");
}

// A database holding "stored" = "before" in the suite and in the settings cache's table, written
// and closed by a plain SQLite connection, as a process that has exited leaves it: no log, no
// shared memory and no change counter beside it.
void writeClosedDatabases(const std::string& suitePath, const std::string& tablePath) {
  for (const auto& [path, table] : {std::pair{suitePath, std::string("defaults WITHOUT ROWID")},
                                    std::pair{tablePath, std::string("custom_user_defaults")}}) {
    fs::create_directories(fs::path(path).parent_path());
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(path.c_str(), &db), SQLITE_OK);
    std::string name = table.substr(0, table.find(' '));
    std::string sql = "PRAGMA journal_mode = WAL; CREATE TABLE " + name +
                      " (key TEXT PRIMARY KEY NOT NULL, kind INTEGER NOT NULL, value)" +
                      table.substr(name.size()) + "; INSERT INTO " + name +
                      " VALUES ('stored', 4, 'before');";
    ASSERT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(db);
  }
}

TEST_F(StoreDurabilityTest, AReadOnlyContainerAndAFullDiskStillServeTheStoredValues) {
  const std::string tablePath = container() + "/Norvik_CustomUserDefaults.sqlite";
  writeClosedDatabases(databasePath(), tablePath);
  {
    // No room for any file to grow: not even the shared memory of the log can be made.
    Helper helper({"read-stored", "full"}, container());
    EXPECT_EQ(helper.wait(20), 0) << helper.errText;
    EXPECT_EQ(countLines(helper.errText, "kept in memory"), 1) << helper.errText;
    EXPECT_EQ(countLines(helper.errText, "cannot read"), 0) << helper.errText;
  }
  // The full-disk run saved "after" once it had room; the container now becomes read-only for a
  // process that is not root (files 0444 in directories 0555).
  writeClosedDatabases(temp_.path() + "/ro/Preferences/" + std::string(kSuite) + ".sqlite",
                       temp_.path() + "/ro/Norvik_CustomUserDefaults.sqlite");
  for (fs::path dir = temp_.path(); dir != dir.root_path(); dir = dir.parent_path()) {
    fs::permissions(dir, fs::perms::others_exec | fs::perms::group_exec, fs::perm_options::add);
  }
  const std::string readOnly = temp_.path() + "/ro";
  for (const auto& entry : fs::recursive_directory_iterator(readOnly)) {
    fs::permissions(entry.path(), entry.is_directory() ? fs::perms(0555) : fs::perms(0444));
  }
  fs::permissions(readOnly, fs::perms(0555));
  Helper helper({"read-stored", "unwritable"}, readOnly);
  int status = helper.wait(20);
  fs::permissions(readOnly, fs::perms(0700));
  fs::permissions(readOnly + "/Preferences", fs::perms(0700));
  EXPECT_EQ(status, 0) << helper.errText;
  EXPECT_EQ(countLines(helper.errText, "cannot read"), 0) << helper.errText;
}

TEST_F(StoreDurabilityTest, AHeldLockDelaysNoReadAndFailsAWriteWithinTheBusyTimeout) {
  {
    detail::DefaultsStore writer(databasePath(), detail::kUserDefaultsTable);
    writer.set("k", Value("stored"));
    ASSERT_TRUE(writer.synchronize());
  }
  auto elapsed = [](auto since) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
  };
  detail::setSqliteBusyTimeout(2000);
  sqlite3* holder = nullptr;  // another process's writer, holding the write lock
  ASSERT_EQ(sqlite3_open(databasePath().c_str(), &holder), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(holder,
                         "BEGIN EXCLUSIVE; INSERT OR REPLACE INTO defaults VALUES "
                         "('k', 4, 'uncommitted')",
                         nullptr, nullptr, nullptr),
            SQLITE_OK);
  ::testing::internal::CaptureStderr();
  {
    // A store opened while the lock is held, as a new process opens it, reads at once.
    auto start = std::chrono::steady_clock::now();
    detail::DefaultsStore fresh(databasePath(), detail::kUserDefaultsTable);
    EXPECT_EQ(fresh.object("k"), Value("stored"));
    EXPECT_EQ(fresh.reach(), detail::DefaultsStore::Reach::readWrite);
    EXPECT_LT(elapsed(start), 0.5);
    // A save gives up after the busy timeout, however many steps it takes; meanwhile reads in
    // the same process answer from memory at once.
    detail::setSqliteBusyTimeout(600);
    fresh.set("k", Value("mine"));
    start = std::chrono::steady_clock::now();
    bool saved = true;
    double savedAfter = 0;
    std::thread saver([&] {
      saved = fresh.synchronize();
      savedAfter = elapsed(start);
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    auto readStart = std::chrono::steady_clock::now();
    EXPECT_EQ(fresh.object("k"), Value("mine"));
    EXPECT_LT(elapsed(readStart), 0.1);
    saver.join();
    EXPECT_FALSE(saved);
    EXPECT_GE(savedAfter, 0.6);
    EXPECT_LT(savedAfter, 1.3);
    sqlite3_exec(holder, "ROLLBACK", nullptr, nullptr, nullptr);
    EXPECT_TRUE(fresh.synchronize());
  }
  // A holder in exclusive locking mode keeps readers out too: they give up within the timeout
  // and say that the store could not be read.
  ASSERT_EQ(sqlite3_exec(holder,
                         "PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE; "
                         "INSERT OR REPLACE INTO defaults VALUES ('k', 4, 'x')",
                         nullptr, nullptr, nullptr),
            SQLITE_OK);
  auto start = std::chrono::steady_clock::now();
  detail::DefaultsStore shut(databasePath(), detail::kUserDefaultsTable);
  EXPECT_TRUE(shut.object("k").isNull());
  EXPECT_EQ(shut.reach(), detail::DefaultsStore::Reach::unreadable);
  EXPECT_LT(elapsed(start), 1.0);
  std::string log = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(countLines(log, "cannot read the database"), 1) << log;
  sqlite3_exec(holder, "ROLLBACK", nullptr, nullptr, nullptr);
  sqlite3_close(holder);
}

TEST_F(StoreDurabilityTest, EmptyFilesAreSetAsideUnderNamesOfTheirOwnAndVersionsOnlyRise) {
  fs::create_directories(preferences());
  ::testing::internal::CaptureStderr();
  for (int round = 0; round < 2; ++round) {
    fs::remove(databasePath());
    std::ofstream(databasePath()).close();  // zero bytes, no log
    detail::DefaultsStore store(databasePath(), detail::kUserDefaultsTable);
    store.set("k", Value(static_cast<long long>(round)));
    EXPECT_TRUE(store.synchronize());
  }
  std::string log = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(countLines(log, "damaged"), 2) << log;
  // Both set aside within the same second, neither overwritten by the other.
  auto kept = setAsideFiles(preferences());
  ASSERT_EQ(kept.size(), 2u);
  EXPECT_NE(kept[0], kept[1]);
  for (const auto& file : kept) EXPECT_EQ(fs::file_size(file), 0u);

  auto storedVersion = [&](const std::string& path) {
    sqlite3* db = nullptr;
    int version = -1;
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_open(path.c_str(), &db) == SQLITE_OK &&
        sqlite3_prepare_v2(db, "PRAGMA user_version", -1, &stmt, nullptr) == SQLITE_OK &&
        sqlite3_step(stmt) == SQLITE_ROW) {
      version = sqlite3_column_int(stmt, 0);
    }
    sqlite3_finalize(stmt);
    sqlite3_close(db);
    return version;
  };
  const std::string path = container() + "/Versioned.sqlite";
  SVDatabaseUserDefaults first(kNVAppGroupIdentifier, "Versioned", 1);
  first.setObject(Value("v"), "k");
  EXPECT_EQ(storedVersion(path), 1);
  SVDatabaseUserDefaults higher(kNVAppGroupIdentifier, "Versioned", 3);
  EXPECT_EQ(higher.objectForKey("k"), Value("v"));
  EXPECT_EQ(storedVersion(path), 3);
  SVDatabaseUserDefaults lower(kNVAppGroupIdentifier, "Versioned", 2);
  lower.setObject(Value("w"), "k");
  EXPECT_EQ(storedVersion(path), 3);
}

}  // namespace
}  // namespace norvik::platform
