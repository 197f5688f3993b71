#!/usr/bin/env bash
# Builds the libFuzzer targets of tools/fuzz with AddressSanitizer and UndefinedBehaviorSanitizer
# (the "fuzz" preset, clang) and runs each for SECONDS, starting from its committed seed corpus.
#   scripts/fuzz.sh [SECONDS] [TARGET...]    SECONDS defaults to 20; all targets when none is named
# Environment:
#   FUZZ_JOBS=N      run N targets at once (default 1)
#   FUZZ_CORPUS=DIR  keep the grown corpora in DIR/<target> (default build/fuzz/corpus, kept between
#                    runs, so a long run goes on where the last one stopped)
# Logs go to build/fuzz/logs/<target>.log and crashing inputs to build/fuzz/artifacts/<target>/.
# Ends with one summary line per target (seconds, executions, coverage) and "fuzz: N passed, N
# failed"; the exit status is 1 when any target found a crash, leak, hang or broken invariant.
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
cd "$here"
seconds=${1:-20}
shift || true
jobs=${FUZZ_JOBS:-1}
case "$seconds" in '' | *[!0-9]*) echo "fuzz.sh: SECONDS must be a whole number" >&2; exit 2 ;; esac

"$here/scripts/setup.sh" fuzz >&2 </dev/null

build="$here/build/fuzz"
corpora=${FUZZ_CORPUS:-$build/corpus}
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  for dir in "$here"/tools/fuzz/corpus/*/; do targets+=("$(basename "$dir")"); done
fi
mkdir -p "$build/logs"
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

run_one() {
  local target=$1
  local corpus="$corpora/$target" artifacts="$build/artifacts/$target" log="$build/logs/$target.log"
  mkdir -p "$corpus" "$artifacts" "$scratch/$target"
  # The target's own temporary files (a private app-group container) go to the scratch folder.
  TMPDIR="$scratch/$target" \
    ASAN_OPTIONS="detect_leaks=1:abort_on_error=1:allocator_may_return_null=1" \
    UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1" \
    LSAN_OPTIONS="suppressions=$here/tests/lsan.supp" \
    "$build/bin/$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 \
    -max_len=4096 -print_final_stats=1 -artifact_prefix="$artifacts/" \
    "$corpus" "$here/tools/fuzz/corpus/$target" >"$log" 2>&1
}

summary() {
  local target=$1 status=$2 log="$build/logs/$target.log"
  local runs cov ft
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -1)
  cov=$(grep -oE 'cov: [0-9]+' "$log" | tail -1 | cut -d' ' -f2 || true)
  ft=$(grep -oE 'ft: [0-9]+' "$log" | tail -1 | cut -d' ' -f2 || true)
  if [ "$status" -eq 0 ]; then
    printf 'fuzz %-22s ok      %6ss %10s runs  cov %-6s ft %s\n' "$target" "$seconds" "${runs:-?}" \
      "${cov:-?}" "${ft:-?}"
  else
    printf 'fuzz %-22s FAILED  (status %s) see %s\n' "$target" "$status" "$log"
    grep -E '^(==[0-9]+==ERROR|SUMMARY|invariant broken|.*runtime error)' "$log" | head -5 |
      sed 's/^/    /' || true
  fi
}

passed=0
failed=0
declare -A pids
for target in "${targets[@]}"; do
  if [ ! -x "$build/bin/$target" ]; then
    echo "fuzz.sh: no fuzz target $target" >&2
    failed=$((failed + 1))
    continue
  fi
  while [ "$(jobs -rp | wc -l)" -ge "$jobs" ]; do sleep 1; done
  run_one "$target" &
  pids[$target]=$!
done
for target in "${targets[@]}"; do
  [ -n "${pids[$target]:-}" ] || continue
  status=0
  wait "${pids[$target]}" || status=$?
  summary "$target" "$status"
  if [ "$status" -eq 0 ]; then passed=$((passed + 1)); else failed=$((failed + 1)); fi
done
echo "fuzz: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
