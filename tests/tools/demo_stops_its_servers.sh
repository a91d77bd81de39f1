#!/usr/bin/env bash
# `./run demo` tours the back-ends with qmrstore and stops every server it started: when it ends,
# and when it is stopped halfway.
#
#   demo_stops_its_servers.sh RUN_SCRIPT BUILD_DIR
set -euo pipefail

run_script=${1:?usage: demo_stops_its_servers.sh RUN_SCRIPT BUILD_DIR} build_dir=${2:?}
source "$(dirname "$0")/../integration/lib.sh"
export QMR_DEMO_BUILD_DIR=$build_dir
cd "$work"

# The URLs of the servers a demo reported starting, from its output file.
server_urls() { sed -n 's/^Servers: //p' "$1" | grep -o 'https\?://[^ ,]*' | tr '\n' ' '; }
answers_nothing() { [[ $(curl -s -o /dev/null -w '%{http_code}' --max-time 2 "$1/" || true) == 000 ]]; }

"$run_script" demo >full.out 2>&1 && full_status=0 || full_status=$?
check "the demo runs to its end" equals "$full_status" 0
check "the demo tours the webdav back-end" contains "$(cat full.out)" '$ qmrstore unlock --lock-token'
check "the demo tours the funambol back-end" contains "$(cat full.out)" "######## funambol back-end"
check "the demo tours both ownCloud releases" equals "$(grep -c '^######## owncloud back-end' full.out)" 2
check "the demo shares on ownCloud" contains "$(cat full.out)" "shared /photos with sales"
check "the demo shows refused subcommands" contains "$(cat full.out)" 'does not offer `lock`'
read -r -a urls <<<"$(server_urls full.out)"
check "the demo reports its four servers" equals "${#urls[@]}" 4
for url in "${urls[@]}"; do check "after the demo, $url answers nothing" answers_nothing "$url"; done

# Stopped while it talks to the first server.
mkfifo halfway.fifo
"$run_script" demo >halfway.fifo 2>&1 &
demo=$!
exec 3<halfway.fifo
while IFS= read -r line <&3; do
    echo "$line" >>halfway.out
    [[ $line == '$ qmrstore ls' ]] && break
done
kill -TERM "$demo"
cat <&3 >>halfway.out
exec 3<&-
wait "$demo" && halfway_status=0 || halfway_status=$?
check "the stopped demo says it was stopped" equals "$halfway_status" 130
read -r -a urls <<<"$(server_urls halfway.out)"
check "the stopped demo had started all four servers" equals "${#urls[@]}" 4
for url in "${urls[@]}"; do check "after the stopped demo, $url answers nothing" answers_nothing "$url"; done

finish
