#include "norvik/settings/defaults_cache.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "norvik/platform/build_config.h"
#include "norvik/settings/registry.h"
#include "settings/settings_test_support.h"

namespace norvik {
namespace {

using platform::Data;
using platform::Value;

Value blob(std::string_view text) {
  return Value(Data(text.begin(), text.end()));
}

class DefaultsCacheTest : public testing::SettingsTest {};

TEST_F(DefaultsCacheTest, MemoryAndDatabaseCopiesFollowTheirOperations) {
  auto& manager = cache();
  EXPECT_EQ(manager.queueLabel(), "app.norvik.customUserDefaultsCacheQueue");
  manager.set(blob("one"), "k");
  EXPECT_EQ(manager.objectInMemory("k"), blob("one")) << "read after write on one thread";
  EXPECT_EQ(manager.objectInDB("k"), blob("one"));

  manager.clearCache();
  EXPECT_TRUE(manager.objectInMemory("k").isNull());
  EXPECT_EQ(manager.objectInDB("k"), blob("one")) << "clearing forgets memory only";

  manager.updateCacheInMemory(blob("memory only"), "k");
  EXPECT_EQ(manager.objectInMemory("k"), blob("memory only"));
  EXPECT_EQ(manager.objectInDB("k"), blob("one"));

  manager.set(Value(), "k");
  EXPECT_TRUE(manager.objectInMemory("k").isNull());
  EXPECT_TRUE(manager.inDatabaseCache().objectForKey("k").isNull());

  manager.set(Value("text"), "s");
  manager.set(Value(12), "n");
  EXPECT_TRUE(manager.objectInDB("s").isNull()) << "only data blobs come from the database";
  EXPECT_TRUE(manager.objectInDB("n").isNull());
  EXPECT_EQ(manager.inDatabaseCache().objectForKey("s"), Value("text"));
  manager.removeObject("s");
  EXPECT_TRUE(manager.inDatabaseCache().objectForKey("s").isNull());
  EXPECT_TRUE(manager.objectInMemory("s").isNull());
}

TEST_F(DefaultsCacheTest, TheTableKeepsEveryKindOfValueInAPrivateVersionedFile) {
  SVDatabaseUserDefaults table(kNVAppGroupIdentifier, "Kinds", 3);
  platform::Dictionary nested{{"a", Value(platform::Array{Value(1), Value("x")})}};
  const Value samples[] = {
      Value(true),         Value(-5),     Value(2.5),   Value("s"), Value(platform::Date(7.5)),
      Value(Data{0, 255}), Value(nested), Value(Data{})};
  for (std::size_t i = 0; i < std::size(samples); ++i) {
    table.setObject(samples[i], "k" + std::to_string(i));
  }
  // A second handle on the same file reads the committed rows.
  SVDatabaseUserDefaults again(kNVAppGroupIdentifier, "Kinds", 3);
  for (std::size_t i = 0; i < std::size(samples); ++i) {
    Value read = again.objectForKey("k" + std::to_string(i));
    EXPECT_EQ(read, samples[i]) << i;
    EXPECT_EQ(read.type(), samples[i].type()) << i;
  }
  std::string path = table.databasePath();
  EXPECT_EQ(path, container() + "/Kinds.sqlite");
  EXPECT_EQ(std::filesystem::status(path).permissions() & std::filesystem::perms::all,
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr), SQLITE_OK);
  sqlite3_stmt* stmt = nullptr;
  sqlite3_prepare_v2(db, "PRAGMA user_version", -1, &stmt, nullptr);
  ASSERT_EQ(sqlite3_step(stmt), SQLITE_ROW);
  EXPECT_EQ(sqlite3_column_int(stmt, 0), 3);
  sqlite3_finalize(stmt);
  sqlite3_close(db);

  SVDatabaseUserDefaults foreign("group.someone.else", "Kinds", 3);
  foreign.setObject(Value(1), "k");
  EXPECT_TRUE(foreign.objectForKey("k0").isNull());
}

TEST(SettingsCacheConcurrency, ReadersAndWritersOnManyThreads) {
  auto manager = SVCustomUserDefaultsCacheManager::create();
  std::vector<std::thread> threads;
  std::atomic<int> mismatches{0};
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      std::string own = "own" + std::to_string(t);
      for (int i = 0; i < 200; ++i) {
        Value value = blob(std::to_string(i));
        if (i % 2 == 0) {
          manager->set(value, own);
        } else {
          manager->updateCacheInMemory(value, own);
        }
        if (manager->objectInMemory(own) != value) mismatches++;
        manager->updateCacheInMemory(value, "shared");
        (void)manager->objectInMemory("shared");
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(mismatches.load(), 0);
  manager->clearCache();
  EXPECT_TRUE(manager->objectInMemory("own0").isNull());
  EXPECT_EQ(manager->objectInDB("own0"), blob("198"));
  std::weak_ptr<SVCustomUserDefaultsCacheManager> watcher = manager;
  manager.reset();
  EXPECT_TRUE(watcher.expired());
}

// ---- a writer killed in the middle of a stream of writes ----

TEST(DISABLED_SettingsCrashChild, WriteStream) {
  ASSERT_EQ(testing::childRole(), "stream");
  const char* progressPath = std::getenv("NORVIK_TEST_PROGRESS");
  ASSERT_NE(progressPath, nullptr);
  int progress = open(progressPath, O_WRONLY | O_APPEND | O_CREAT, 0600);
  ASSERT_GE(progress, 0);
  auto& manager = NVUserDefaultManager::shared();
  for (int i = 1; i < 1000000; ++i) {
    manager.setCurrentInboxID("inbox " + std::to_string(i));
    NVUserDefaults::shared().set(DefaultsKeys::timetableScale(), static_cast<double>(i));
    if (i % 5 == 0) {
      ASSERT_TRUE(NVUserDefaults::shared().synchronize());
      std::string line = std::to_string(i) + "\n";
      ASSERT_EQ(write(progress, line.data(), line.size()), static_cast<ssize_t>(line.size()));
    }
  }
}

int lastSyncedWrite(const std::string& progressPath) {
  std::ifstream in(progressPath);
  int last = 0;
  std::string line;
  while (std::getline(in, line)) {
    if (!in.eof()) last = std::stoi(line);  // a line without its newline was cut short
  }
  return last;
}

int inboxNumber(const std::string& inbox) {
  return inbox.rfind("inbox ", 0) == 0 ? std::stoi(inbox.substr(6)) : -1;
}

TEST(SettingsCrashTest, AKilledWriterLeavesIntactDatabasesWithEverySynchronisedWrite) {
  testing::TempDir temp;
  std::string group = temp.file("group");
  std::string progress = temp.file("progress");
  pid_t pid = fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    setenv("NORVIK_TEST_CHILD_ROLE", "stream", 1);
    setenv("NORVIK_TEST_APP_GROUP_DIR", group.c_str(), 1);
    setenv("NORVIK_TEST_PROGRESS", progress.c_str(), 1);
    execl(testing::testBinaryPath().c_str(), testing::testBinaryPath().c_str(),
          "--gtest_filter=DISABLED_SettingsCrashChild.WriteStream",
          "--gtest_also_run_disabled_tests", static_cast<char*>(nullptr));
    _exit(127);
  }
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (lastSyncedWrite(progress) < 40 && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(7));  // somewhere inside a write
  kill(pid, SIGKILL);
  int status = 0;
  waitpid(pid, &status, 0);
  ASSERT_TRUE(WIFSIGNALED(status)) << "the writer ended before it was killed";
  int synced = lastSyncedWrite(progress);
  ASSERT_GE(synced, 40);

  int databases = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(group)) {
    if (entry.path().extension() != ".sqlite") continue;
    ++databases;
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open_v2(entry.path().c_str(), &db, SQLITE_OPEN_READWRITE, nullptr),
              SQLITE_OK);
    sqlite3_stmt* stmt = nullptr;
    ASSERT_EQ(sqlite3_prepare_v2(db, "PRAGMA integrity_check", -1, &stmt, nullptr), SQLITE_OK);
    ASSERT_EQ(sqlite3_step(stmt), SQLITE_ROW);
    EXPECT_STREQ(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0)), "ok") << entry.path();
    sqlite3_finalize(stmt);
    sqlite3_close(db);
  }
  EXPECT_EQ(databases, 2);

  platform::Environment env = testing::baseEnvironment();
  env.appGroupContainerDirectory = group;
  platform::ScopedEnvironment scoped(env);
  EXPECT_GE(NVUserDefaults::shared().get(DefaultsKeys::timetableScale()), synced);
  EXPECT_GE(inboxNumber(NVUserDefaultManager::shared().currentInboxID()), synced);
  // The database row is written before the store's copy, so it is never behind it.
  auto row = DefaultsCustomUserDefaultsItemBridge<std::string>::deserialize(
      SVCustomUserDefaultsCacheManager::shared().objectInDB("currentInboxID"));
  ASSERT_TRUE(row);
  EXPECT_GE(inboxNumber(row->content), synced);
}

}  // namespace
}  // namespace norvik
