#!/usr/bin/env bash
# Describes the same 24 Gregorian rules with the library and with rrule.js's toText, both by CPU
# time, and prints the ratio. Installs rrule from npm into a temporary directory (node and npm
# needed); builds nothing: give the describe_bench binary (default build/default/bin).
#   bench/describe_vs_rrulejs.sh [path/to/describe_bench]
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
bench=${1:-$here/build/default/bin/describe_bench}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$bench" --print-rules > "$work/rules.txt"
npm install --silent --no-audit --no-fund --prefix "$work" rrule@2 >/dev/null
cat > "$work/totext.js" <<'JS'
// toText of every rule, repeated until about two seconds of CPU have passed; five such runs, the
// median of the CPU nanoseconds per description (user + system, process.cpuUsage).
const fs = require('fs');
const { RRule } = require(process.argv[2] + '/node_modules/rrule');
const rules = fs.readFileSync(process.argv[3], 'utf8').trim().split('\n')
  .map((text) => RRule.fromString(text));
let sink = 0;
for (let i = 0; i < 2000; i++) for (const r of rules) sink += r.toText().length;  // warm-up
const runs = [];
for (let run = 0; run < 5; run++) {
  const start = process.cpuUsage();
  let n = 0, used = 0;
  while (used < 2e6) {
    for (let i = 0; i < 1000; i++) for (const r of rules) sink += r.toText().length;
    n += 1000 * rules.length;
    const u = process.cpuUsage(start);
    used = u.user + u.system;
  }
  runs.push(used * 1000 / n);
}
runs.sort((a, b) => a - b);
console.log(JSON.stringify({ ns_per_rule: runs[2], sample: rules[12].toText(), sink }));
JS
js=$(node "$work/totext.js" "$work" "$work/rules.txt")
ours=$("$bench" --benchmark_filter='^BM_Describe24Rules$' --benchmark_repetitions=5 \
  --benchmark_report_aggregates_only=true --benchmark_format=json 2>/dev/null)
python3 - "$js" "$ours" <<'PY'
import json, sys
js = json.loads(sys.argv[1])
ours = json.loads(sys.argv[2])
median = next(b for b in ours["benchmarks"] if b.get("aggregate_name") == "median")
ns = median["cpu_time"] / 24  # one iteration describes the 24 rules
print(f"rrule.js toText: {js['ns_per_rule']:.0f} ns CPU per rule (\"{js['sample']}\")")
print(f"norvik describe: {ns:.0f} ns CPU per rule")
print(f"ratio: {js['ns_per_rule'] / ns:.2f}x")
PY
