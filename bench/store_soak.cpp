// A soak run of the settings' storage: N processes of M threads write and read the application
// group's store and the settings cache's table for S seconds in a private container, then report
// the writes acknowledged by synchronize(), the reads, the writes lost (must be 0) and how long a
// write took to become visible in another process (from the writer's set to the first read that
// saw it; median and 99th percentile), and the longest read.
//
//   store_soak [processes] [threads] [seconds] [lock seconds]      (defaults 2 4 10 0)
//
// With a lock time, one more process holds the write lock of both databases (an exclusive
// transaction of a plain SQLite connection) for that long in the middle of the run: reads must
// go on, saves fail meanwhile and keep their values, and nothing acknowledged may be lost.
//
// Each thread owns one key of the store and one row of the table, holding "<n> <time>" with n
// counting up; every thread reads every other process's keys after each write. A value that goes
// back, or a final value behind the last acknowledged write, is a lost write.

#include <sqlite3.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "bench_support.h"
#include "norvik/platform/environment.h"
#include "norvik/platform/user_defaults.h"
#include "norvik/settings/defaults_cache.h"

namespace {

using norvik::kNVAppGroupIdentifier;
using norvik::SVCustomUserDefaultsCacheManager;
using norvik::SVDatabaseUserDefaults;
using norvik::platform::UserDefaults;
using norvik::platform::Value;

constexpr int kMaxProcesses = 16;
constexpr int kMaxThreads = 16;
constexpr int kMaxSamples = 1 << 20;

// Shared by every process (an anonymous shared mapping made before the fork).
struct Shared {
  std::atomic<long> acknowledged[kMaxProcesses][kMaxThreads];
  std::atomic<int> finishedWriting;
  std::atomic<long> writes, reads, failedSaves, wentBack, lostAtEnd;
  std::atomic<long> longestReadMicroseconds;
  std::atomic<int> samples;
  std::uint32_t latencyMicroseconds[kMaxSamples];
};

std::int64_t monotonicNanoseconds() {
  timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<std::int64_t>(ts.tv_sec) * 1000000000 + ts.tv_nsec;
}

std::string keyOf(int process, int thread) {
  return "soak.p" + std::to_string(process) + ".t" + std::to_string(thread);
}

// "<n> <time>" as written; n is 0 before the first write.
std::pair<long, std::int64_t> parse(const Value& value) {
  const std::string* text = value.string();
  if (!text) return {0, 0};
  char* end = nullptr;
  long n = std::strtol(text->c_str(), &end, 10);
  return {n, std::strtoll(end, nullptr, 10)};
}

void runProcess(Shared& shared, int self, int processes, int threads, double seconds) {
  auto deadline = monotonicNanoseconds() + static_cast<std::int64_t>(seconds * 1e9);
  std::vector<std::thread> workers;
  for (int t = 0; t < threads; ++t) {
    workers.emplace_back([&, t] {
      UserDefaults defaults(kNVAppGroupIdentifier);
      SVDatabaseUserDefaults& table = SVCustomUserDefaultsCacheManager::shared().inDatabaseCache();
      std::vector<long> seen(static_cast<std::size_t>(processes * threads), 0);
      std::vector<long> seenRow(seen.size(), 0);
      std::string mine = keyOf(self, t);
      for (long n = 1; monotonicNanoseconds() < deadline; ++n) {
        Value value(std::to_string(n) + " " + std::to_string(monotonicNanoseconds()));
        table.setObject(value, mine);
        defaults.setObject(value, mine);
        if (defaults.synchronize()) {
          shared.acknowledged[self][t].store(n);
          ++shared.writes;
        } else {
          ++shared.failedSaves;
        }
        for (int p = 0; p < processes; ++p) {
          if (p == self) continue;
          for (int u = 0; u < threads; ++u) {
            std::int64_t readStart = monotonicNanoseconds();
            auto [other, written] = parse(defaults.objectForKey(keyOf(p, u)));
            long row = parse(table.objectForKey(keyOf(p, u))).first;
            long took = static_cast<long>((monotonicNanoseconds() - readStart) / 1000);
            long longest = shared.longestReadMicroseconds.load();
            while (took > longest &&
                   !shared.longestReadMicroseconds.compare_exchange_weak(longest, took)) {
            }
            shared.reads += 2;
            std::size_t slot = static_cast<std::size_t>(p * threads + u);
            long& last = seen[slot];
            if (other < last || row < seenRow[slot]) ++shared.wentBack;
            seenRow[slot] = std::max(seenRow[slot], row);
            if (other > last) {
              int sample = shared.samples++;
              if (sample < kMaxSamples) {
                shared.latencyMicroseconds[sample] =
                    static_cast<std::uint32_t>((monotonicNanoseconds() - written) / 1000);
              }
              last = other;
            }
          }
        }
      }
    });
  }
  for (auto& worker : workers) worker.join();
  ++shared.finishedWriting;
  while (shared.finishedWriting.load() < processes) usleep(1000);
  UserDefaults defaults(kNVAppGroupIdentifier);
  defaults.synchronize();
  SVDatabaseUserDefaults& table = SVCustomUserDefaultsCacheManager::shared().inDatabaseCache();
  for (int p = 0; p < processes; ++p) {
    for (int u = 0; u < threads; ++u) {
      long acknowledged = shared.acknowledged[p][u].load();
      long stored = parse(defaults.objectForKey(keyOf(p, u))).first;
      long row = parse(table.objectForKey(keyOf(p, u))).first;
      shared.lostAtEnd += std::max(0L, acknowledged - stored) + std::max(0L, acknowledged - row);
      if (stored != acknowledged || row != acknowledged) {
        std::fprintf(stderr, "process %d: %s acknowledged %ld, store %ld, row %ld\n", self,
                     keyOf(p, u).c_str(), acknowledged, stored, row);
      }
    }
  }
}

// Holds the write lock of both databases from `after` seconds for `hold` seconds.
void holdLock(const std::string& container, double after, double hold) {
  usleep(static_cast<useconds_t>(after * 1e6));
  std::vector<sqlite3*> holders;
  for (const std::string& path :
       {container + "/Preferences/" + std::string(kNVAppGroupIdentifier) + ".sqlite",
        container + "/" + std::string(SVCustomUserDefaultsCacheManager::kDatabaseName) +
            ".sqlite"}) {
    sqlite3* db = nullptr;
    sqlite3_open(path.c_str(), &db);
    sqlite3_busy_timeout(db, 10000);
    if (sqlite3_exec(db, "BEGIN EXCLUSIVE", nullptr, nullptr, nullptr) != SQLITE_OK) {
      std::fprintf(stderr, "lock holder: %s\n", sqlite3_errmsg(db));
    }
    holders.push_back(db);
  }
  std::fprintf(stderr, "lock holder: holding for %.1f s\n", hold);
  usleep(static_cast<useconds_t>(hold * 1e6));
  for (sqlite3* db : holders) {
    sqlite3_exec(db, "ROLLBACK", nullptr, nullptr, nullptr);
    sqlite3_close(db);
  }
}

}  // namespace

int main(int argc, char** argv) {
  int processes = argc > 1 ? std::atoi(argv[1]) : 2;
  int threads = argc > 2 ? std::atoi(argv[2]) : 4;
  double seconds = argc > 3 ? std::atof(argv[3]) : 10.0;
  double lockSeconds = argc > 4 ? std::atof(argv[4]) : 0.0;
  if (processes < 1 || processes > kMaxProcesses || threads < 1 || threads > kMaxThreads ||
      !(seconds > 0) || lockSeconds < 0 || lockSeconds >= seconds) {
    std::fprintf(stderr,
                 "usage: store_soak [processes 1-16] [threads 1-16] [seconds] [lock seconds]\n");
    return 2;
  }
  norvik::bench::TempDirectory container("norvik-soak");
  void* memory =
      mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) return 1;
  auto* shared = new (memory) Shared();

  std::vector<pid_t> children;
  for (int p = 0; p < processes; ++p) {
    pid_t pid = fork();
    if (pid == 0) {
      norvik::platform::modifyEnvironment([&](norvik::platform::Environment& env) {
        env.appGroupContainerDirectory = container.path();
      });
      runProcess(*shared, p, processes, threads, seconds);
      std::fflush(nullptr);
      _exit(0);
    }
    children.push_back(pid);
  }
  if (lockSeconds > 0) {
    pid_t pid = fork();
    if (pid == 0) {
      holdLock(container.path(), (seconds - lockSeconds) / 2, lockSeconds);
      _exit(0);
    }
    children.push_back(pid);
  }
  int crashed = 0;
  for (pid_t pid : children) {
    int status = 0;
    waitpid(pid, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) ++crashed;
  }

  int samples = std::min(shared->samples.load(), kMaxSamples);
  std::vector<std::uint32_t> latency(shared->latencyMicroseconds,
                                     shared->latencyMicroseconds + samples);
  std::sort(latency.begin(), latency.end());
  auto percentile = [&](double q) {
    return latency.empty() ? 0.0
                           : latency[static_cast<std::size_t>(q * (latency.size() - 1))] / 1000.0;
  };
  long lost = shared->wentBack.load() + shared->lostAtEnd.load();
  std::printf("processes %d x threads %d for %.1f s\n", processes, threads, seconds);
  std::printf("writes acknowledged  %ld (%.0f/s)\n", shared->writes.load(),
              shared->writes.load() / seconds);
  std::printf("reads                %ld\n", shared->reads.load());
  std::printf("failed saves         %ld\n", shared->failedSaves.load());
  std::printf("lost writes          %ld (seen going back %ld, behind at the end %ld)\n", lost,
              shared->wentBack.load(), shared->lostAtEnd.load());
  std::printf("crashed processes    %d\n", crashed);
  std::printf("visibility latency   median %.2f ms, p99 %.2f ms (%d samples)\n", percentile(0.5),
              percentile(0.99), samples);
  std::printf("longest read         %.2f ms\n", shared->longestReadMicroseconds.load() / 1000.0);
  if (lockSeconds > 0) std::printf("lock held            %.1f s mid-run\n", lockSeconds);
  return lost == 0 && crashed == 0 ? 0 : 1;
}
