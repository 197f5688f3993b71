// Bounds of the occurrence engine: the time of the slowest single answer.
//
// BM_PeerCases expands every case of the converted peer suites (tests/recurrence/peer_cases/)
// as the tests do; BM_HostileRules asks a generated set of rules that a naive expansion scans
// for a long time (sub-daily FREQ with a far BYMONTH, BYYEARDAY or BYWEEKNO, days a month lacks,
// huge INTERVALs, BYSETPOS over large sets) for their first 10 occurrences. Each reports the
// worst thread-CPU time of one answer as the counter worst_ms and the number of answers above
// 10 ms as over_10ms (every answer should take under 10 ms), and prints those rules and the
// worst one on stderr. The data files are found under NORVIK_SOURCE_DIR,
// else from the working directory upwards.
#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "recurrence/peer_cases/peer_case_file.h"

namespace {

using norvik::peer::Case;

double threadCpuMilliseconds() {
  timespec t{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) * 1e3 + static_cast<double>(t.tv_nsec) / 1e6;
}

std::vector<Case> peerCases() {
  std::vector<Case> all;
  for (const char* file : {"dateutil_rrule.txt", "libical_icalrecur.txt", "libical_rscale.txt"}) {
    for (auto& c : norvik::peer::readCases(std::string("tests/recurrence/peer_cases/") + file)) {
      all.push_back(std::move(c));
    }
  }
  return all;
}

// Rules that a second-by-second or day-by-day search would take minutes or years over; all
// start on 1997-09-02T09:00, so that January, day 1 and week 1 are months away.
std::vector<Case> hostileRules() {
  std::vector<std::string> rules;
  const char* subDaily[] = {"SECONDLY", "MINUTELY", "HOURLY"};
  const char* farParts[] = {
      "BYMONTH=1",
      "BYMONTH=8",
      "BYMONTH=1,3",
      "BYYEARDAY=1",
      "BYYEARDAY=-300",
      "BYYEARDAY=366",
      "BYYEARDAY=1,200",
      "BYWEEKNO=1",
      "BYWEEKNO=53",
      "BYWEEKNO=-52",
      "BYMONTHDAY=29;BYMONTH=2",
      "BYMONTHDAY=31;BYMONTH=4",
      "BYMONTH=2;BYDAY=-1SU",
      "BYMONTHDAY=-31",
      "BYDAY=53MO",
      "BYMONTH=8;BYMONTHDAY=1;BYHOUR=0",
  };
  const char* intervals[] = {"", ";INTERVAL=7", ";INTERVAL=3600", ";INTERVAL=999999999"};
  for (const char* freq : subDaily) {
    for (const char* part : farParts) {
      for (const char* interval : intervals) {
        rules.push_back(std::string("FREQ=") + freq + interval + ";" + part);
      }
    }
  }
  for (const char* freq :
       {"SECONDLY", "MINUTELY", "HOURLY", "DAILY", "WEEKLY", "MONTHLY", "YEARLY"}) {
    rules.push_back(std::string("FREQ=") + freq + ";INTERVAL=999999999;COUNT=10");
    rules.push_back(std::string("FREQ=") + freq + ";INTERVAL=999999999");
  }
  // BYSETPOS over large sets: every minute or second of a year, month or week.
  std::string hours = ";BYHOUR=";
  for (int h = 0; h < 24; ++h) hours += (h ? "," : "") + std::to_string(h);
  std::string minutes = ";BYMINUTE=";
  for (int m = 0; m < 60; ++m) minutes += (m ? "," : "") + std::to_string(m);
  std::string seconds = ";BYSECOND=";
  for (int s = 0; s < 60; ++s) seconds += (s ? "," : "") + std::to_string(s);
  const char* days = ";BYDAY=MO,TU,WE,TH,FR,SA,SU";
  for (const char* pos : {"1", "-1", "366", "-366", "1,-1,200"}) {
    rules.push_back(std::string("FREQ=YEARLY") + days + hours + minutes + ";BYSETPOS=" + pos);
    rules.push_back(std::string("FREQ=MONTHLY") + days + hours + minutes + seconds +
                    ";BYSETPOS=" + pos);
    rules.push_back(std::string("FREQ=WEEKLY") + days + hours + minutes + seconds +
                    ";BYSETPOS=" + pos);
    rules.push_back(std::string("FREQ=DAILY") + hours + minutes + seconds + ";BYSETPOS=" + pos);
    rules.push_back(std::string("FREQ=YEARLY;BYMONTH=2;BYMONTHDAY=29") + hours + minutes +
                    ";BYSETPOS=" + pos);
  }
  std::vector<Case> out;
  for (auto& rule : rules) {
    Case c;
    c.name = "hostile " + std::to_string(out.size() + 1);
    c.rule = rule;
    c.start = "19970902T090000";
    c.limit = 10;
    out.push_back(std::move(c));
  }
  return out;
}

constexpr double kBoundMs = 10.0;

// Runs every case once per iteration; reports the slowest answer and how many cases took longer
// than the bound, and prints those on stderr.
void runAll(benchmark::State& state, const std::vector<Case>& cases, const char* what) {
  std::vector<double> slowest(cases.size(), 0.0);
  for (auto _ : state) {
    for (std::size_t i = 0; i < cases.size(); ++i) {
      const Case& c = cases[i];
      const double before = threadCpuMilliseconds();
      benchmark::DoNotOptimize(
          norvik::peer::expandDates(c, c.limit ? c.limit : c.expected.size() + 1));
      slowest[i] = std::max(slowest[i], threadCpuMilliseconds() - before);
    }
  }
  std::size_t worst = 0, over = 0;
  for (std::size_t i = 0; i < cases.size(); ++i) {
    if (slowest[i] > slowest[worst]) worst = i;
    if (slowest[i] > kBoundMs) {
      ++over;
      std::fprintf(stderr, "%s: over %.0f ms: %.3f ms: %s RRULE:%s DTSTART:%s\n", what, kBoundMs,
                   slowest[i], cases[i].name.c_str(), cases[i].rule.c_str(),
                   cases[i].start.c_str());
    }
  }
  state.counters["cases"] = static_cast<double>(cases.size());
  state.counters["worst_ms"] = cases.empty() ? 0.0 : slowest[worst];
  state.counters["over_10ms"] = static_cast<double>(over);
  if (!cases.empty()) {
    std::fprintf(stderr, "%s: worst %.3f ms: %s RRULE:%s DTSTART:%s\n", what, slowest[worst],
                 cases[worst].name.c_str(), cases[worst].rule.c_str(), cases[worst].start.c_str());
  }
}

void BM_PeerCases(benchmark::State& state) {
  static const std::vector<Case> cases = peerCases();
  if (cases.empty()) state.SkipWithError("peer case files not found (set NORVIK_SOURCE_DIR)");
  runAll(state, cases, "peer cases");
}
BENCHMARK(BM_PeerCases)->Unit(benchmark::kMillisecond);

void BM_HostileRules(benchmark::State& state) {
  static const std::vector<Case> cases = hostileRules();
  runAll(state, cases, "hostile rules");
}
BENCHMARK(BM_HostileRules)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
