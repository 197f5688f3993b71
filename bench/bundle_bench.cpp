// Localized-string lookups through a bundle whose tables are already in memory, and the parsing of
// a string table of realistic size.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "bench_support.h"
#include "norvik/platform/bundle.h"
#include "norvik/platform/environment.h"
#include "norvik/platform/strings_table.h"

namespace {

using namespace norvik::platform;
namespace fs = std::filesystem;

constexpr int kKeys = 3000;

std::string tableText() {
  std::string text = "/* Generated table */\n";
  for (int i = 0; i < kKeys; ++i) {
    text += "\"Every " + std::to_string(i) + " days on the last weekday\" = \"Alle " +
            std::to_string(i) + " Tage am letzten Wochentag\"; // note\n";
  }
  return text;
}

// A bundle with German and English tables in a temporary directory, installed as the main bundle
// with German as the preferred language; removed at exit.
class Fixture {
 public:
  Fixture() {
    for (const char* code : {"de", "en"}) {
      fs::create_directories(root_ + "/" + code + ".lproj");
      std::ofstream(root_ + "/" + code + ".lproj/Localizable.strings") << tableText();
    }
    Environment env = *currentEnvironment();
    env.preferredLanguages = {"de-DE", "en-US"};
    env.mainBundlePath = root_;
    setEnvironment(env);
  }

 private:
  norvik::bench::TempDirectory directory_;
  const std::string& root_ = directory_.path();
};

Fixture& fixture() {
  static Fixture instance;
  return instance;
}

void BM_LocalizedStringCached(benchmark::State& state) {
  fixture();
  auto bundle = Bundle::main();
  const std::string key = "Every 1234 days on the last weekday";
  bundle->localizedString(key);  // reads the table
  for (auto _ : state) benchmark::DoNotOptimize(bundle->localizedString(key));
}
BENCHMARK(BM_LocalizedStringCached);

void BM_LocalizedStringMissingKey(benchmark::State& state) {
  fixture();
  auto bundle = Bundle::main();
  bundle->localizedString("warm up");
  for (auto _ : state) benchmark::DoNotOptimize(bundle->localizedString("No such key", "Default"));
}
BENCHMARK(BM_LocalizedStringMissingKey);

void BM_LocalizedStringInLocalization(benchmark::State& state) {
  fixture();
  auto bundle = Bundle::main();
  const std::string key = "Every 42 days on the last weekday";
  for (auto _ : state) benchmark::DoNotOptimize(bundle->localizedString(key, "", "", "en"));
}
BENCHMARK(BM_LocalizedStringInLocalization);

// The way most callers use it: through the main bundle on every call.
void BM_MainBundleLocalizedString(benchmark::State& state) {
  fixture();
  const std::string key = "Every 7 days on the last weekday";
  for (auto _ : state) benchmark::DoNotOptimize(Bundle::main()->localizedString(key));
}
BENCHMARK(BM_MainBundleLocalizedString);

void BM_MainBundleLocalizedStringThreaded(benchmark::State& state) {
  fixture();
  const std::string key = "Every 7 days on the last weekday";
  for (auto _ : state) benchmark::DoNotOptimize(Bundle::main()->localizedString(key));
}
BENCHMARK(BM_MainBundleLocalizedStringThreaded)->Threads(2);

void BM_ParseStringsTable(benchmark::State& state) {
  const std::string text = tableText();
  for (auto _ : state) benchmark::DoNotOptimize(parseStringsTable(text));
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_ParseStringsTable);

}  // namespace

BENCHMARK_MAIN();
