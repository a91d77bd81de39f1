#!/usr/bin/env bash
# Runs the WebDAV benchmarks once: the data store against rclone and curl on a loopback server,
# then the in-memory parsing figures, closing with a summary of figures, ratios and goals.
# Usage: bench/run_benchmarks.sh <path to qmr_webdav_bench> [Google Benchmark options...]
# Extra options may also come from QMR_BENCH_ARGS (e.g. --benchmark_filter=listing).
set -euo pipefail

binary="${1:?usage: run_benchmarks.sh <path to qmr_webdav_bench> [options]}"
shift
[ -x "$binary" ] || { echo "bench: no benchmark binary at $binary" >&2; exit 1; }

for tool in rclone curl; do
  command -v "$tool" >/dev/null 2>&1 ||
    echo "bench: $tool not found (Debian package $tool); its comparison is left out" >&2
done

# Every client talks to 127.0.0.1: a proxy set in the environment must not catch that traffic.
export NO_PROXY=127.0.0.1 no_proxy=127.0.0.1

# shellcheck disable=SC2086  # QMR_BENCH_ARGS is a list of options on purpose
exec "$binary" "$@" ${QMR_BENCH_ARGS:-}
