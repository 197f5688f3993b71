// Describing the 24 Gregorian rules that bench/describe_vs_rrulejs.sh also gives rrule.js's
// toText: through the process-wide language, through a context of each thread's own, and without
// any main bundle. `describe_bench --print-rules` prints the rules, one a line, for that script.
#include <benchmark/benchmark.h>

#include <array>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "norvik/platform/environment.h"
#include "norvik/platform/text_context.h"
#include "norvik/recurrence/repeat_description.h"

namespace {

constexpr std::array<const char*, 24> kRules = {
    "FREQ=DAILY",
    "FREQ=DAILY;INTERVAL=3",
    "FREQ=DAILY;COUNT=10",
    "FREQ=WEEKLY",
    "FREQ=WEEKLY;INTERVAL=2",
    "FREQ=WEEKLY;BYDAY=MO,TU,WE,TH,FR",
    "FREQ=WEEKLY;INTERVAL=2;BYDAY=MO,TU,WE,TH,FR",
    "FREQ=WEEKLY;BYDAY=SA,SU",
    "FREQ=WEEKLY;INTERVAL=2;BYDAY=SA,SU",
    "FREQ=WEEKLY;BYDAY=SU,MO,TU,WE,TH,FR,SA",
    "FREQ=WEEKLY;BYDAY=MO,WE,FR",
    "FREQ=WEEKLY;INTERVAL=3;BYDAY=TU,TH",
    "FREQ=WEEKLY;INTERVAL=2;BYDAY=MO,FR",
    "FREQ=MONTHLY",
    "FREQ=MONTHLY;INTERVAL=2",
    "FREQ=MONTHLY;BYMONTHDAY=15",
    "FREQ=MONTHLY;BYMONTHDAY=-1",
    "FREQ=MONTHLY;BYMONTHDAY=1,15,-1",
    "FREQ=MONTHLY;INTERVAL=3;BYMONTHDAY=5,20",
    "FREQ=MONTHLY;BYDAY=2TU",
    "FREQ=MONTHLY;BYDAY=-1FR",
    "FREQ=YEARLY",
    "FREQ=YEARLY;BYMONTH=3;BYMONTHDAY=5",
    "FREQ=YEARLY;BYMONTH=11;BYDAY=4TH",
};

const std::vector<norvik::SVRecurrenceRulePtr>& rules() {
  static const std::vector<norvik::SVRecurrenceRulePtr> parsed = [] {
    std::vector<norvik::SVRecurrenceRulePtr> out;
    for (const char* text : kRules)
      out.push_back(norvik::SVRecurrenceRule::ruleWithIcalString(text));
    return out;
  }();
  return parsed;
}

// 2024-03-05 12:00 UTC.
const norvik::platform::Date kRelative(1709640000.0);

// One iteration describes the 24 rules: its CPU time / 24 is the cost of one description.
void perRule(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kRules.size()));
}

// The process-wide forms: a snapshot of the current choice, taken once per thread.
void BM_Describe24Rules(benchmark::State& state) {
  const auto& list = rules();
  for (auto _ : state) {
    for (const auto& rule : list) {
      std::string text = norvik::Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(
          rule, std::nullopt, false, kRelative, true);
      benchmark::DoNotOptimize(text);
    }
  }
  perRule(state);
}
BENCHMARK(BM_Describe24Rules);

// Each thread with a context of its own (German): the threads share nothing but the tables.
void BM_Describe24RulesOwnContext(benchmark::State& state) {
  const auto& list = rules();
  const auto context = norvik::platform::TextContext::withLanguage("de");
  for (auto _ : state) {
    for (const auto& rule : list) {
      std::string text = norvik::Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(
          context, rule, std::nullopt, false, kRelative, true);
      benchmark::DoNotOptimize(text);
    }
  }
  perRule(state);
}
BENCHMARK(BM_Describe24RulesOwnContext)->Threads(1)->Threads(2)->Threads(8)->UseRealTime();

// The same rules with no main bundle at all (the texts are the English keys) and with the build's
// main bundle in English: the missing bundle is looked for once, not on every lookup.
void describeWithBundle(benchmark::State& state, const std::string& bundle) {
  const auto previous = norvik::platform::currentEnvironment();
  norvik::platform::modifyEnvironment([&](norvik::platform::Environment& env) {
    env.mainBundlePath = bundle;
    env.preferredLanguages = {"en-US"};
  });
  BM_Describe24Rules(state);
  norvik::platform::setEnvironment(*previous);
}

void BM_Describe24RulesWithoutMainBundle(benchmark::State& state) {
  describeWithBundle(state, "/nonexistent/norvik-main-bundle");
}
BENCHMARK(BM_Describe24RulesWithoutMainBundle);

void BM_Describe24RulesWithMainBundle(benchmark::State& state) {
  describeWithBundle(state, norvik::platform::currentEnvironment()->mainBundlePath);
}
BENCHMARK(BM_Describe24RulesWithMainBundle);

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1 && std::strcmp(argv[1], "--print-rules") == 0) {
    for (const char* rule : kRules) std::cout << rule << "\n";
    return 0;
  }
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
