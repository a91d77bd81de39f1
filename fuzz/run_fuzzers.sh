#!/usr/bin/env bash
# Runs every fuzz target for the given number of seconds each, on a scratch copy of its seed corpus
# (the repository's corpus is never changed), after replaying its saved regression inputs. Builds
# nothing: build the preset "fuzz" first.
#
# Usage: fuzz/run_fuzzers.sh <seconds> [directory of the fuzz_* executables, default build/fuzz/fuzz]
# Prints the executions of each target; exits non-zero when any target crashed, leaked or timed out.
# The input that did so is kept under $QMR_FUZZ_ARTIFACTS (default build/fuzz/artifacts).
set -euo pipefail

here=$(cd "$(dirname "$0")" && pwd)
seconds=${1:?usage: fuzz/run_fuzzers.sh <seconds> [binary directory]}
binaries=${2:-$here/../build/fuzz/fuzz}
artifacts=${QMR_FUZZ_ARTIFACTS:-$here/../build/fuzz/artifacts}
# One input may take this long before it counts as a hang.
per_input_timeout=${QMR_FUZZ_TIMEOUT:-10}

case "$seconds" in '' | *[!0-9]* | 0) echo "run_fuzzers: seconds must be a positive whole number" >&2; exit 2 ;; esac
shopt -s nullglob
targets=("$binaries"/fuzz_*)
if [ ${#targets[@]} -eq 0 ]; then
  echo "run_fuzzers: no fuzz_* executables in $binaries (build the preset \"fuzz\" first)" >&2
  exit 2
fi

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir -p "$artifacts"

# A leak or an undefined behaviour ends the run as a crash does.
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}

failed=()
printf '%-30s %12s %10s\n' target executions exec/s
for binary in "${targets[@]}"; do
  [ -x "$binary" ] || continue
  name=$(basename "$binary"); name=${name#fuzz_}
  seeds="$here/corpus/$name"
  if [ ! -d "$seeds" ]; then
    echo "run_fuzzers: $name has no seed corpus in $seeds" >&2
    failed+=("$name (no corpus)")
    continue
  fi
  log="$scratch/$name.log"

  # Inputs that once broke the target must keep passing.
  regressions=("$here/regressions/$name"/*)
  if [ ${#regressions[@]} -gt 0 ] &&
     ! "$binary" -timeout="$per_input_timeout" -rss_limit_mb=2048 "${regressions[@]}" >"$log" 2>&1; then
    echo "run_fuzzers: $name fails a saved regression input" >&2
    tail -n 30 "$log" >&2
    failed+=("$name (regression)")
    continue
  fi

  mkdir -p "$scratch/$name/corpus" "$artifacts/$name"
  cp -R "$seeds"/. "$scratch/$name/corpus/"
  status=0
  "$binary" -max_total_time="$seconds" -timeout="$per_input_timeout" -rss_limit_mb=2048 -print_final_stats=1 \
    -artifact_prefix="$artifacts/$name/" "$scratch/$name/corpus" >"$log" 2>&1 || status=$?
  executions=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
  per_second=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log" | tail -n 1)
  printf '%-30s %12s %10s\n' "$name" "${executions:-0}" "${per_second:-0}"
  if [ "$status" -ne 0 ]; then
    echo "run_fuzzers: $name failed (exit $status); input kept in $artifacts/$name/" >&2
    grep -E '^(==[0-9]+==ERROR|SUMMARY|.*runtime error|fuzz: broken promise)' "$log" | head -n 5 >&2 || true
    tail -n 40 "$log" >&2
    failed+=("$name")
  fi
done

if [ ${#failed[@]} -gt 0 ]; then
  echo "run_fuzzers: failed: ${failed[*]}" >&2
  exit 1
fi
echo "run_fuzzers: every target ran ${seconds} s without a crash, leak or time-out"
