#!/usr/bin/env bash
# The start and stop scripts: a private server starts on a free loopback port with the account and
# quota it is given, and stop leaves no process, scratch directory or state file behind, even when
# run twice.
#
#   lifecycle.sh SCRIPTS_DIR SERVER_EXECUTABLE
set -euo pipefail

scripts=${1:?usage: lifecycle.sh SCRIPTS_DIR SERVER_EXECUTABLE}
server=${2:?usage: lifecycle.sh SCRIPTS_DIR SERVER_EXECUTABLE}
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

printed_url=$(QMR_FUNAMBOL_USER=carol QMR_FUNAMBOL_PASSWORD='a&password=b' QMR_FUNAMBOL_QUOTA=4242 \
    "$scripts/start" "$state_file" "$server")
value() { sed -n "s/^$1=//p" "$state_file"; }
url=$(value url)
root=$(value root)
pid=$(value pid)

check "start prints the base URL it records" equals "$printed_url" "$url"
check "the server listens on loopback" equals "${url%:*}" "http://127.0.0.1"
check "the recorded pid is the running server" grep -q qmr_fake_funambol "/proc/$pid/cmdline"
check "the account is recorded" equals "$(value user) $(value password)" 'carol a&password=b'

# Only the first "&password=" separates name and password.
jar=$work/cookies
login=$(curl -s -c "$jar" -o /dev/null -w '%{http_code}' -X POST --data-binary 'login=carol&password=a&password=b' \
    "$url/sapi/login?action=login")
check "the given account logs in" equals "$login" 200
check "the given quota is reported" equals \
    "$(curl -s -b "$jar" -X POST "$url/sapi/media?action=get-storage-space")" '{"data":{"free":4242,"quota":4242}}'

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
