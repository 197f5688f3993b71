// A second process for the store tests: it writes and reads the application group's settings in
// the container named by NORVIK_APP_GROUP_DIR and reports on standard output.
//
//   norvik_store_helper exchange <id> <other-id> <threads> <writes>
//       Each thread writes `writes` distinct keys "p<id>.t<thread>.<n>" and the counter
//       "p<id>.t<thread>" = n, synchronising after each, while reading the other process's
//       counters: they must never go back. Then it announces its last values in the file
//       "done-<id>", waits for "done-<other-id>" and checks that every key the other process
//       acknowledged is there. Exit 0 when nothing was missing.
//   norvik_store_helper stream
//       Writes "k<n>" = n to the suite and to the settings cache's table for n = 1, 2, ...,
//       printing "<n>" after each synchronize() that succeeded, until it is killed.
//   norvik_store_helper unwritable
//       Expects a container it cannot write (it gives up root first): the write must fail, the
//       value must stay readable, and nothing may crash. Exit 0 when that held.
//   norvik_store_helper disk-full
//       Limits the size of the files it writes to 256 KiB and stores 1 MiB: the write must fail
//       and stay readable, and be saved once the limit is lifted. Exit 0 when that held.
//   norvik_store_helper read-stored unwritable|full
//       Opens a store that holds "stored" = "before" in the suite and in the settings cache's
//       table, either giving up root in a container it cannot write or with no room for any file
//       to grow. Both must read "before" and say that the store is read-only; a write must fail
//       and stay readable; with room again it must be saved. Exit 0 when that held.

#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "norvik/platform/environment.h"
#include "norvik/platform/user_defaults.h"
#include "norvik/settings/defaults_cache.h"

namespace {

using norvik::kNVAppGroupIdentifier;
using norvik::platform::UserDefaults;
using norvik::platform::Value;

std::string container() {
  return norvik::platform::currentEnvironment()->appGroupContainerDirectory;
}

int exchange(const std::string& id, const std::string& other, int threads, int writes) {
  std::atomic<int> failures{0};
  std::vector<std::thread> workers;
  for (int t = 0; t < threads; ++t) {
    workers.emplace_back([&, t] {
      UserDefaults defaults(kNVAppGroupIdentifier);
      std::string mine = "p" + id + ".t" + std::to_string(t);
      std::string theirs = "p" + other + ".t" + std::to_string(t);
      std::int64_t seen = 0;
      for (int n = 1; n <= writes; ++n) {
        defaults.setInteger(n, mine + "." + std::to_string(n));
        defaults.setInteger(n, mine);
        if (!defaults.synchronize()) {
          std::fprintf(stderr, "synchronize failed at %s=%d\n", mine.c_str(), n);
          ++failures;
        }
        std::int64_t now = defaults.integerForKey(theirs);
        if (now < seen) {
          std::fprintf(stderr, "%s went back from %lld to %lld\n", theirs.c_str(),
                       static_cast<long long>(seen), static_cast<long long>(now));
          ++failures;
        }
        seen = now;
      }
    });
  }
  for (auto& worker : workers) worker.join();
  std::ofstream(container() + "/done-" + id + ".tmp") << writes << "\n";
  std::rename((container() + "/done-" + id + ".tmp").c_str(),
              (container() + "/done-" + id).c_str());
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  std::string theirDone = container() + "/done-" + other;
  while (access(theirDone.c_str(), F_OK) != 0) {
    if (std::chrono::steady_clock::now() > deadline) return 3;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  UserDefaults defaults(kNVAppGroupIdentifier);
  defaults.synchronize();
  for (int t = 0; t < threads; ++t) {
    std::string theirs = "p" + other + ".t" + std::to_string(t);
    if (defaults.integerForKey(theirs) != writes) ++failures;
    for (int n = 1; n <= writes; ++n) {
      if (defaults.integerForKey(theirs + "." + std::to_string(n)) != n) {
        std::fprintf(stderr, "missing %s.%d\n", theirs.c_str(), n);
        ++failures;
      }
    }
  }
  return failures == 0 ? 0 : 1;
}

int stream() {
  UserDefaults defaults(kNVAppGroupIdentifier);
  norvik::SVDatabaseUserDefaults table(kNVAppGroupIdentifier,
                                       norvik::SVCustomUserDefaultsCacheManager::kDatabaseName,
                                       norvik::SVCustomUserDefaultsCacheManager::kDatabaseVersion);
  for (long n = 1;; ++n) {
    std::string key = "k" + std::to_string(n);
    table.setObject(Value(static_cast<long long>(n)), key);
    defaults.setInteger(n, key);
    if (defaults.synchronize()) {
      std::printf("%ld\n", n);
      std::fflush(stdout);
    }
  }
}

int unwritable() {
  if (geteuid() == 0 && setuid(65534) != 0) return 10;  // root would write anyway
  int failures = 0;
  UserDefaults defaults(kNVAppGroupIdentifier);
  if (!defaults.isValid()) return 11;
  defaults.setObject(Value("kept"), "setting");
  if (defaults.synchronize()) ++failures;
  if (defaults.synchronize()) ++failures;  // tried again, still failing, logged only once
  if (defaults.stringForKey("setting") != "kept") ++failures;
  norvik::SVDatabaseUserDefaults table(kNVAppGroupIdentifier,
                                       norvik::SVCustomUserDefaultsCacheManager::kDatabaseName,
                                       norvik::SVCustomUserDefaultsCacheManager::kDatabaseVersion);
  table.setObject(Value("row"), "setting");
  if (table.objectForKey("setting") != Value("row")) ++failures;
  return failures;
}

int diskFull() {
  signal(SIGXFSZ, SIG_IGN);  // a write past the limit fails with EFBIG instead
  UserDefaults defaults(kNVAppGroupIdentifier);
  defaults.setInteger(1, "small");
  if (!defaults.synchronize()) return 20;
  rlimit room{};
  getrlimit(RLIMIT_FSIZE, &room);
  rlimit full = room;
  full.rlim_cur = 256 * 1024;  // no file may grow past 256 KiB: the disk is full
  if (setrlimit(RLIMIT_FSIZE, &full) != 0) return 21;
  norvik::platform::Data big(1 << 20, 0x5a);
  defaults.setObject(Value(big), "big");
  int failures = 0;
  if (defaults.synchronize()) ++failures;
  if (defaults.dataForKey("big") != big) ++failures;
  setrlimit(RLIMIT_FSIZE, &room);
  if (!defaults.synchronize()) ++failures;  // saved once there is room again
  return failures;
}

int readStored(const std::string& fault) {
  signal(SIGXFSZ, SIG_IGN);
  rlimit room{};
  getrlimit(RLIMIT_FSIZE, &room);
  if (fault == "unwritable") {
    if (geteuid() == 0 && setuid(65534) != 0) return 10;
  } else {
    rlimit full = room;
    full.rlim_cur = 0;  // no file may grow at all
    if (setrlimit(RLIMIT_FSIZE, &full) != 0) return 11;
  }
  using Status = UserDefaults::StoreStatus;
  int failures = 0;
  auto check = [&](bool ok, const char* what) {
    if (!ok) {
      std::fprintf(stderr, "failed: %s\n", what);
      ++failures;
    }
  };
  UserDefaults defaults(kNVAppGroupIdentifier);
  norvik::SVDatabaseUserDefaults table(kNVAppGroupIdentifier,
                                       norvik::SVCustomUserDefaultsCacheManager::kDatabaseName,
                                       norvik::SVCustomUserDefaultsCacheManager::kDatabaseVersion);
  check(defaults.stringForKey("stored") == "before", "the suite's stored value");
  check(defaults.storeStatus() == Status::readOnly, "the suite is read-only");
  check(table.objectForKey("stored") == Value("before"), "the table's stored row");
  check(table.storeStatus() == Status::readOnly, "the table is read-only");
  defaults.setObject(Value("after"), "stored");
  check(!defaults.synchronize(), "the write fails");
  check(defaults.stringForKey("stored") == "after", "the write is kept in memory");
  if (fault == "full") {
    setrlimit(RLIMIT_FSIZE, &room);
    check(defaults.synchronize(), "saved once there is room");
    check(defaults.storeStatus() == Status::readWrite, "writable again");
  }
  return failures;
}

}  // namespace

int main(int argc, char** argv) {
  std::string mode = argc > 1 ? argv[1] : "";
  if (mode == "exchange" && argc == 6) {
    return exchange(argv[2], argv[3], std::atoi(argv[4]), std::atoi(argv[5]));
  }
  if (mode == "stream") return stream();
  if (mode == "unwritable") return unwritable();
  if (mode == "disk-full") return diskFull();
  if (mode == "read-stored" && argc == 3) return readStored(argv[2]);
  std::fprintf(stderr,
               "usage: norvik_store_helper exchange|stream|unwritable|disk-full|read-stored ...\n");
  return 2;
}
