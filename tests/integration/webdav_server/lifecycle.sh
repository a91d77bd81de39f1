#!/usr/bin/env bash
# The start and stop scripts: a private server starts on a free port with an empty
# tree, honours a short lock timeout when asked to (so lock expiry is testable),
# and stop leaves no process and no scratch directory behind, even when run twice.
#
#   lifecycle.sh SCRIPTS_DIR
set -euo pipefail

scripts=${1:?usage: lifecycle.sh SCRIPTS_DIR}
source "$(dirname "$0")/../lib.sh"
state_file=$work/state
cleanup() { "$scripts/stop" "$state_file" >/dev/null 2>&1 || true; }

printed_url=$(QMR_WEBDAV_HONOUR_LOCK_TIMEOUT=1 "$scripts/start" "$state_file")
url=$(value url)
root=$(value root)
auth="$(value user):$(value password)"

check_started "$printed_url"
check "the recorded pid is the running php server" grep -q 'server.php' "/proc/$(value pid)/cmdline"
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

check_stopped "$scripts"
finish
