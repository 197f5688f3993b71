// Costs of typed settings: plain reads and writes, wrapped reads through the confirmed memory
// copy and through the database row, wrapped writes (database row committed, store buffered), and
// durable writes beside a raw SQLite upsert of the same durability in the same container: FULL
// (the commit survives a power cut) for a setting written and synchronised, NORMAL (it survives
// the death of the process) for the settings cache's row.

#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

#include "bench_support.h"
#include "norvik/platform/environment.h"
#include "norvik/platform/user_defaults.h"
#include "norvik/settings/defaults_cache.h"
#include "norvik/settings/registry.h"

namespace {

using norvik::DefaultsKeys;
using norvik::NVUserDefaultManager;
using norvik::NVUserDefaults;
using norvik::platform::Data;
using norvik::platform::Value;

Value blob(std::string_view text) {
  return Value(Data(text.begin(), text.end()));
}

void BM_PlainRead(benchmark::State& state) {
  NVUserDefaults::shared().set(DefaultsKeys::timetableScale(), 1.5);
  for (auto _ : state) {
    benchmark::DoNotOptimize(NVUserDefaults::shared().get(DefaultsKeys::timetableScale()));
  }
}
BENCHMARK(BM_PlainRead);

// A per-user key first reads the current user (a wrapped read) to make its key.
void BM_PlainPerUserRead(benchmark::State& state) {
  NVUserDefaultManager::shared().setShouldPushDailyReminder(true);
  for (auto _ : state) {
    benchmark::DoNotOptimize(NVUserDefaultManager::shared().shouldPushDailyReminder());
  }
}
BENCHMARK(BM_PlainPerUserRead);

void BM_WrappedReadConfirmedMemory(benchmark::State& state) {
  NVUserDefaultManager::shared().setCurrentInboxID("inbox-for-the-benchmark");
  for (auto _ : state) benchmark::DoNotOptimize(NVUserDefaultManager::shared().currentInboxID());
}
BENCHMARK(BM_WrappedReadConfirmedMemory);

// The store disagrees with the database row, so every read is answered from the row (and queues
// a refresh of the memory copy).
void BM_WrappedReadDatabasePath(benchmark::State& state) {
  NVUserDefaultManager::shared().setCurrentUserToken("row token");
  NVUserDefaults::shared().store().setObject(blob(R"({"content":"store token"})"),
                                             "currentUserToken");
  for (auto _ : state) {
    benchmark::DoNotOptimize(NVUserDefaultManager::shared().currentUserToken());
  }
}
BENCHMARK(BM_WrappedReadDatabasePath);

void BM_PlainWrite(benchmark::State& state) {
  double i = 0;
  for (auto _ : state) NVUserDefaults::shared().set(DefaultsKeys::timelineScale(), ++i);
}
BENCHMARK(BM_PlainWrite);

void BM_WrappedWrite(benchmark::State& state) {
  long i = 0;
  for (auto _ : state) {
    NVUserDefaultManager::shared().setCurrentInboxID("inbox " + std::to_string(++i));
  }
}
BENCHMARK(BM_WrappedWrite)->Unit(benchmark::kMicrosecond);

// A raw SQLite connection on a table of the cache's layout, with one prepared upsert; what a
// hand-written store of settings would do at best.
class RawTable {
 public:
  RawTable(const std::string& name, bool fullSync) {
    std::string path =
        norvik::platform::currentEnvironment()->appGroupContainerDirectory + "/" + name + ".sqlite";
    sqlite3_open(path.c_str(), &db_);
    sqlite3_exec(db_, "PRAGMA journal_mode = WAL", nullptr, nullptr, nullptr);
    sqlite3_exec(db_, fullSync ? "PRAGMA synchronous = FULL" : "PRAGMA synchronous = NORMAL",
                 nullptr, nullptr, nullptr);
    sqlite3_exec(db_,
                 "CREATE TABLE IF NOT EXISTS t (key TEXT PRIMARY KEY NOT NULL, kind INTEGER NOT "
                 "NULL, value)",
                 nullptr, nullptr, nullptr);
    sqlite3_prepare_v2(db_, "INSERT OR REPLACE INTO t (key, kind, value) VALUES (?1, ?2, ?3)", -1,
                       &upsert_, nullptr);
  }
  ~RawTable() {
    sqlite3_finalize(upsert_);
    sqlite3_close(db_);
  }
  bool upsert(std::string_view key, std::string_view bytes) {
    sqlite3_bind_text(upsert_, 1, key.data(), static_cast<int>(key.size()), SQLITE_STATIC);
    sqlite3_bind_int(upsert_, 2, 6);
    sqlite3_bind_blob(upsert_, 3, bytes.data(), static_cast<int>(bytes.size()), SQLITE_STATIC);
    int rc = sqlite3_step(upsert_);
    sqlite3_reset(upsert_);
    return rc == SQLITE_DONE;
  }

 private:
  sqlite3* db_ = nullptr;
  sqlite3_stmt* upsert_ = nullptr;
};

// FULL for the durable setting writes, NORMAL for the cache's row.
void BM_RawSqliteUpsert(benchmark::State& state, bool fullSync) {
  RawTable raw(fullSync ? "raw-full" : "raw-normal", fullSync);
  long i = 0;
  for (auto _ : state) {
    std::string json = R"({"content":"inbox )" + std::to_string(++i) + R"("})";
    if (!raw.upsert("currentInboxID", json)) state.SkipWithError("upsert failed");
  }
}
BENCHMARK_CAPTURE(BM_RawSqliteUpsert, full, true)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(BM_RawSqliteUpsert, normal, false)->Unit(benchmark::kMicrosecond);

// A wrapped setting written and synchronised: the cache's row and the store's copy committed.
void BM_DurableSettingWrite(benchmark::State& state) {
  long i = 0;
  for (auto _ : state) {
    NVUserDefaultManager::shared().setCurrentInboxID("inbox " + std::to_string(++i));
    if (!NVUserDefaults::shared().synchronize()) state.SkipWithError("synchronize failed");
  }
}
BENCHMARK(BM_DurableSettingWrite)->Unit(benchmark::kMicrosecond);

// A plain setting written and synchronised.
void BM_DurablePlainWrite(benchmark::State& state) {
  norvik::platform::UserDefaults store = NVUserDefaults::shared().store();
  long i = 0;
  for (auto _ : state) {
    store.setObject(blob(R"({"content":"inbox )" + std::to_string(++i) + R"("})"), "plain");
    if (!store.synchronize()) state.SkipWithError("synchronize failed");
  }
}
BENCHMARK(BM_DurablePlainWrite)->Unit(benchmark::kMicrosecond);

// The settings cache's row alone, at the same durability as the raw NORMAL upsert.
void BM_CacheRowWrite(benchmark::State& state) {
  auto& table = norvik::SVCustomUserDefaultsCacheManager::shared().inDatabaseCache();
  long i = 0;
  for (auto _ : state) {
    table.setObject(blob(R"({"content":"inbox )" + std::to_string(++i) + R"("})"),
                    "currentInboxID");
  }
}
BENCHMARK(BM_CacheRowWrite)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
  return norvik::bench::runWithPrivateContainer(argc, argv, "norvik-settings-bench");
}
