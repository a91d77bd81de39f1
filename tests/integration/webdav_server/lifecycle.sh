#!/usr/bin/env bash
# The start and stop scripts: a private server starts on a free port with an empty
# tree, honours a short lock timeout when asked to (so lock expiry is testable),
# and stop leaves no process and no scratch directory behind, even when run twice.
#
#   lifecycle.sh SCRIPTS_DIR
set -euo pipefail

scripts=${1:?usage: lifecycle.sh SCRIPTS_DIR}
work=$(mktemp -d)
state_file=$work/state
cleanup() {
    "$scripts/stop" "$state_file" >/dev/null 2>&1 || true
    rm -rf -- "$work"
}
trap cleanup EXIT
failures=0

check() {
    local description=$1
    shift
    if "$@"; then
        echo "ok   $description"
    else
        echo "FAIL $description" >&2
        failures=$((failures + 1))
    fi
}
equals() { [[ $1 == "$2" ]] || { echo "     expected [$2], got [$1]" >&2; return 1; }; }
process_gone() { ! kill -0 "$1" 2>/dev/null || [[ $(ps -o stat= -p "$1") == Z* ]]; }

printed_url=$(QMR_WEBDAV_HONOUR_LOCK_TIMEOUT=1 "$scripts/start" "$state_file")
value() { sed -n "s/^$1=//p" "$state_file"; }
url=$(value url)
root=$(value root)
pid=$(value pid)
auth="$(value user):$(value password)"

check "start prints the base URL it records" equals "$printed_url" "$url"
check "the server listens on loopback" equals "${url%:*}" "http://127.0.0.1"
check "the recorded pid is the running php server" grep -q 'server.php' "/proc/$pid/cmdline"
check "the served tree starts empty" equals "$(ls -A "$root/tree")" ""
check "the default account is alice" equals "${auth%%:*}" alice

code() { curl -s -o /dev/null -w '%{http_code}' -u "$auth" "$@"; }
check "MKCOL /data answers 201" equals "$(code -X MKCOL "$url/data")" 201

lock_body='<?xml version="1.0" encoding="utf-8"?><D:lockinfo xmlns:D="DAV:"><D:lockscope><D:exclusive/></D:lockscope><D:locktype><D:write/></D:locktype></D:lockinfo>'
lock_answer=$(curl -s -u "$auth" -X LOCK -H 'Depth: infinity' -H 'Timeout: Second-1' \
    -H 'Content-Type: application/xml; charset="utf-8"' --data-binary "$lock_body" "$url/data")
check "the requested timeout is granted" grep -q '<d:timeout>Second-1</d:timeout>' <<<"$lock_answer"
token=$(sed -n 's/.*<d:href>\(opaquelocktoken:[^<]*\)<\/d:href>.*/\1/p' <<<"$lock_answer" | head -n 1)
put() { code -X PUT -H 'Content-Type: binary/octet-stream' --data-binary x "$url/data/0123456789abcdef0123456789abcdef"; }
check "PUT without If under a fresh lock answers 423" equals "$(put)" 423

# The lock lasts one second past its creation second; poll until it lapses.
deadline=$((SECONDS + 10))
status=$(put)
while [[ $status == 423 ]] && ((SECONDS < deadline)); do
    sleep 0.1
    status=$(put)
done
check "the lock expires after its timeout" equals "$status" 201
check "refresh with an expired token answers 412" \
    equals "$(code -X LOCK -H 'Timeout: Second-60' -H "If: (<$token>)" "$url/data")" 412

"$scripts/stop" "$state_file" >/dev/null
check "stop ends the server process" process_gone "$pid"
check "stop removes the scratch root" test ! -e "$root"
check "stop removes the state file" test ! -e "$state_file"
check "the port no longer answers" equals "$(curl -s -o /dev/null -w '%{http_code}' --max-time 2 "$url/" || true)" 000
check "stop is harmless a second time" "$scripts/stop" "$state_file"

if ((failures)); then
    echo "$failures check(s) failed" >&2
    exit 1
fi
