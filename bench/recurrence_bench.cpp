// Describing and parsing a corpus of varied rules, beside libical's parse of the same texts.
#include <benchmark/benchmark.h>
#include <libical/ical.h>

#include <memory>
#include <string>
#include <vector>

#include "norvik/platform/environment.h"
#include "norvik/recurrence/repeat_description.h"

namespace {

const std::vector<std::string>& corpus() {
  static const std::vector<std::string> rules = {
      "FREQ=DAILY",
      "FREQ=DAILY;INTERVAL=3",
      "FREQ=DAILY;COUNT=10",
      "FREQ=DAILY;UNTIL=20251231T235959Z",
      "FREQ=WEEKLY",
      "FREQ=WEEKLY;INTERVAL=2",
      "FREQ=WEEKLY;BYDAY=MO,TU,WE,TH,FR",
      "FREQ=WEEKLY;INTERVAL=2;BYDAY=MO,TU,WE,TH,FR",
      "FREQ=WEEKLY;BYDAY=SA,SU",
      "FREQ=WEEKLY;INTERVAL=2;BYDAY=SA,SU",
      "FREQ=WEEKLY;BYDAY=SU,MO,TU,WE,TH,FR,SA",
      "FREQ=WEEKLY;BYDAY=MO,WE,FR",
      "FREQ=WEEKLY;INTERVAL=3;BYDAY=TU,TH;WKST=MO",
      "FREQ=MONTHLY",
      "FREQ=MONTHLY;INTERVAL=2",
      "FREQ=MONTHLY;BYMONTHDAY=15",
      "FREQ=MONTHLY;BYMONTHDAY=-1",
      "FREQ=MONTHLY;BYMONTHDAY=1,15,-1",
      "FREQ=MONTHLY;INTERVAL=3;BYMONTHDAY=5,20",
      "FREQ=MONTHLY;BYDAY=2TU",
      "FREQ=MONTHLY;BYDAY=-1FR",
      "FREQ=MONTHLY;BYDAY=MO,TU,WE,TH,FR;BYSETPOS=-1",
      "FREQ=YEARLY",
      "FREQ=YEARLY;INTERVAL=2",
      "FREQ=YEARLY;BYMONTH=3;BYMONTHDAY=5",
      "FREQ=YEARLY;BYMONTH=2;BYMONTHDAY=-1",
      "FREQ=YEARLY;BYMONTH=1;BYDAY=1MO",
      "FREQ=YEARLY;BYMONTH=11;BYDAY=4TH",
      "FREQ=YEARLY;BYYEARDAY=100",
      "FREQ=YEARLY;BYWEEKNO=20;BYDAY=MO",
      "FREQ=HOURLY;BYHOUR=9,17;BYMINUTE=0",
      "RSCALE=HEBREW;FREQ=YEARLY;BYMONTH=5L;BYMONTHDAY=14;SKIP=FORWARD",
      "RSCALE=ISLAMIC-CIVIL;FREQ=MONTHLY;BYMONTHDAY=1",
      "RSCALE=PERSIAN;FREQ=YEARLY;BYMONTH=1;BYMONTHDAY=1",
  };
  return rules;
}

// Rules that the description benchmark also describes: the corpus plus the extension rules.
std::vector<std::shared_ptr<const norvik::SVRecurrenceRule>> parsedCorpus() {
  std::vector<std::shared_ptr<const norvik::SVRecurrenceRule>> rules;
  for (const auto& text : corpus())
    rules.push_back(norvik::SVRecurrenceRule::ruleWithIcalString(text));
  for (const char* text :
       {"FREQ=DAILY;X-NV-EBBINGHAUS=2", "FREQ=DAILY;X-NV-DATES=20240101,20240202",
        "FREQ=DAILY;X-NV-OFFICIAL=WORKDAY",
        "FREQ=MONTHLY;BYDAY=MO,TU,WE,TH,FR;BYMONTHDAY=1,2,3;BYSETPOS=1;X-NV-WORKDAY=FIRST"}) {
    rules.push_back(norvik::SVRecurrenceRule::ruleWithIcalString(text));
  }
  return rules;
}

void BM_ParseRule(benchmark::State& state) {
  const auto& rules = corpus();
  for (auto _ : state) {
    for (const auto& text : rules) {
      auto rule = norvik::SVRecurrenceRule::ruleWithIcalString(text);
      benchmark::DoNotOptimize(rule);
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(rules.size()));
  state.counters["ns_per_rule"] = benchmark::Counter(
      static_cast<double>(state.iterations() * rules.size()),
      benchmark::Counter::kIsRate | benchmark::Counter::kInvert, benchmark::Counter::kIs1000);
}
BENCHMARK(BM_ParseRule);

void BM_LibicalParseRule(benchmark::State& state) {
  const auto& rules = corpus();
  for (auto _ : state) {
    for (const auto& text : rules) {
      struct icalrecurrencetype recur = icalrecurrencetype_from_string(text.c_str());
      benchmark::DoNotOptimize(recur);
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(rules.size()));
  state.counters["ns_per_rule"] = benchmark::Counter(
      static_cast<double>(state.iterations() * rules.size()),
      benchmark::Counter::kIsRate | benchmark::Counter::kInvert, benchmark::Counter::kIs1000);
}
BENCHMARK(BM_LibicalParseRule);

void BM_DescribeRule(benchmark::State& state) {
  const auto rules = parsedCorpus();
  const norvik::platform::Date relative(1709640000.0);
  for (auto _ : state) {
    for (const auto& rule : rules) {
      std::string text = norvik::Repeat::repeatDescriptionWithRRuleByDefaultOrDueDate(
          rule, norvik::SVRecurrenceFromDueDate, true, relative, true);
      benchmark::DoNotOptimize(text);
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(rules.size()));
  state.counters["ns_per_rule"] = benchmark::Counter(
      static_cast<double>(state.iterations() * rules.size()),
      benchmark::Counter::kIsRate | benchmark::Counter::kInvert, benchmark::Counter::kIs1000);
}
BENCHMARK(BM_DescribeRule);

}  // namespace

BENCHMARK_MAIN();
