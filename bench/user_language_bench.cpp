// Localized lookups through the chosen interface language (found, and falling back to English),
// reading the chosen type from the shared store, and a language predicate.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

#include "bench_support.h"
#include "norvik/environment/language_environment.h"
#include "norvik/environment/user_language.h"
#include "norvik/platform/environment.h"
#include "norvik/platform/localized_string.h"

namespace {

namespace fs = std::filesystem;

// The shipped main bundle (beside the program) and a temporary container with German chosen.
class Fixture {
 public:
  Fixture() {
    norvik::platform::modifyEnvironment([&](norvik::platform::Environment& env) {
      env.appGroupContainerDirectory = root_;
      env.preferredLanguages = {"en-US"};
    });
    norvik::NVUserLanguage::setUserLanguageType(14);
  }

 private:
  norvik::bench::TempDirectory directory_;
  const std::string& root_ = directory_.path();
};

Fixture& fixture() {
  static Fixture f;
  return f;
}

void BM_LookupInChosenLanguage(benchmark::State& state) {
  fixture();
  for (auto _ : state) benchmark::DoNotOptimize(norvik::platform::localizedString("Every day"));
}
BENCHMARK(BM_LookupInChosenLanguage);

void BM_LookupFallingBackToEnglish(benchmark::State& state) {
  fixture();
  for (auto _ : state) {
    benchmark::DoNotOptimize(norvik::platform::localizedString("no such key anywhere"));
  }
}
BENCHMARK(BM_LookupFallingBackToEnglish);

void BM_UserLanguageType(benchmark::State& state) {
  fixture();
  for (auto _ : state) benchmark::DoNotOptimize(norvik::NVUserLanguage::userLanguageType());
}
BENCHMARK(BM_UserLanguageType);

void BM_IsAppChinese(benchmark::State& state) {
  fixture();
  for (auto _ : state) benchmark::DoNotOptimize(norvik::NVLanguageEnvironment::isAppChinese());
}
BENCHMARK(BM_IsAppChinese);

}  // namespace

BENCHMARK_MAIN();
