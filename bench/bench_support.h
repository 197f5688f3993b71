#pragma once
// Set-up shared by the benchmark programs: a private temporary directory that is removed again,
// so that no benchmark touches the user's own container or bundle.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "norvik/platform/environment.h"

namespace norvik::bench {

// A new directory under NORVIK_BENCH_DIR (a real disk instead of tmpfs, say), else the system's
// temporary directory; removed with everything in it on destruction. Aborts when none can be made.
class TempDirectory {
 public:
  explicit TempDirectory(const std::string& prefix = "norvik-bench") {
    const char* base = getenv("NORVIK_BENCH_DIR");
    std::string pattern =
        (base ? std::string(base) : std::filesystem::temp_directory_path().string()) + "/" +
        prefix + "-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) std::abort();
    path_ = pattern;
  }
  ~TempDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TempDirectory(const TempDirectory&) = delete;
  TempDirectory& operator=(const TempDirectory&) = delete;

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// The body of main() for benchmarks of stored settings: runs the benchmarks of the command line
// with the application-group container in a private temporary directory, never the user's own.
inline int runWithPrivateContainer(int argc, char** argv, const std::string& prefix) {
  const TempDirectory container(prefix);
  platform::modifyEnvironment(
      [&](platform::Environment& env) { env.appGroupContainerDirectory = container.path(); });
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}

}  // namespace norvik::bench
