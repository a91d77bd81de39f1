#!/usr/bin/env bash
# Runs the benchmarks once. First the WebDAV ones: the data store against rclone and curl on a
# loopback server, then the in-memory parsing figures, closing with a summary of figures, ratios and
# goals. Then the Funambol listing: wall time and peak memory of a lazy walk over 1,000, 10,000 and
# 50,000 media, closing with its own summary. Last the ownCloud listing of a 10,000-row files page
# per release against PCRE2 finding the rows alone, and its streamed 1 GiB upload and download
# against curl with our peak memory growth, each with its summary.
# Usage: bench/run_benchmarks.sh <path to qmr_webdav_bench> [path to qmr_funambol_bench
#        [path to qmr_owncloud_bench]] [Google Benchmark options...]
# A path left out is looked for next to qmr_webdav_bench.
# Extra options (given to each) may also come from QMR_BENCH_ARGS (e.g. --benchmark_filter=listing).
set -euo pipefail

binary="${1:?usage: run_benchmarks.sh <path to qmr_webdav_bench> [path to qmr_funambol_bench [path to qmr_owncloud_bench]] [options]}"
shift
funambol="$(dirname "$binary")/qmr_funambol_bench"
owncloud="$(dirname "$binary")/qmr_owncloud_bench"
if [ $# -gt 0 ] && [[ "$1" != -* ]]; then
  funambol="$1"
  shift
  if [ $# -gt 0 ] && [[ "$1" != -* ]]; then
    owncloud="$1"
    shift
  fi
fi
for program in "$binary" "$funambol" "$owncloud"; do
  [ -x "$program" ] || { echo "bench: no benchmark binary at $program" >&2; exit 1; }
done

for tool in rclone curl; do
  command -v "$tool" >/dev/null 2>&1 ||
    echo "bench: $tool not found (Debian package $tool); its comparison is left out" >&2
done

# Every client talks to 127.0.0.1: a proxy set in the environment must not catch that traffic.
export NO_PROXY=127.0.0.1 no_proxy=127.0.0.1

# All run even when one fails, so that one broken back-end does not hide the others' figures.
status=0
# shellcheck disable=SC2086  # QMR_BENCH_ARGS is a list of options on purpose
"$binary" "$@" ${QMR_BENCH_ARGS:-} || status=$?
# shellcheck disable=SC2086
"$funambol" "$@" ${QMR_BENCH_ARGS:-} || status=$?
# shellcheck disable=SC2086
"$owncloud" "$@" ${QMR_BENCH_ARGS:-} || status=$?
exit "$status"
