#!/usr/bin/env bash
# The start and stop scripts: a private server of each release starts on a free loopback port with
# the account and quota it is given, and stop leaves no process, scratch directory or state file
# behind, even when run twice.
#
#   lifecycle.sh SCRIPTS_DIR SERVER_EXECUTABLE
set -euo pipefail

scripts=${1:?usage: lifecycle.sh SCRIPTS_DIR SERVER_EXECUTABLE}
server=${2:?usage: lifecycle.sh SCRIPTS_DIR SERVER_EXECUTABLE}
work=$(mktemp -d)
cleanup() {
    for state_file in "$work"/state-*; do "$scripts/stop" "$state_file" >/dev/null 2>&1 || true; done
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
contains() { [[ $1 == *"$2"* ]] || { echo "     [$2] not in: $1" >&2; return 1; }; }
process_gone() { ! kill -0 "$1" 2>/dev/null || [[ $(ps -o stat= -p "$1") == Z* ]]; }

check "an unknown release is refused" equals "$("$scripts/start" 6.0 "$work/state-x" "$server" 2>/dev/null; echo $?)" 2

for release in 4.5.7 5.0.6; do
    state_file=$work/state-$release
    printed_url=$(QMR_OWNCLOUD_USER=dave QMR_OWNCLOUD_PASSWORD='a b&c=d' QMR_OWNCLOUD_QUOTA=10240 \
        "$scripts/start" "$release" "$state_file" "$server")
    value() { sed -n "s/^$1=//p" "$state_file"; }
    url=$(value url) root=$(value root) pid=$(value pid)

    check "$release: start prints the base URL it records" equals "$printed_url" "$url"
    check "$release: the server listens on loopback" equals "${url%:*}" "http://127.0.0.1"
    check "$release: the release and account are recorded" equals "$(value release) $(value user) $(value password)" \
        "$release dave a b&c=d"
    check "$release: the status page names the release" contains "$(curl -s "$url/status.php")" \
        "\"versionstring\":\"$release\""

    jar=$work/cookies-$release
    [[ $release == 4.5.7 ]] && login=/ personal=/settings/personal.php || login=/index.php personal=/index.php/settings/personal
    status=$(curl -s -c "$jar" -o /dev/null -w '%{http_code}' --data-urlencode user=dave \
        --data-urlencode 'password=a b&c=d' "$url$login")
    check "$release: the given account logs in" equals "$status" 302
    check "$release: the given quota is reported" contains \
        "$(curl -s -b "$jar" -H 'Accept-Language: en' "$url$personal")" 'of the available <strong>10 kB'

    "$scripts/stop" "$state_file" >/dev/null
    check "$release: stop ends the server process" process_gone "$pid"
    check "$release: stop removes the scratch root" test ! -e "$root"
    check "$release: stop removes the state file" test ! -e "$state_file"
    check "$release: the port no longer answers" equals \
        "$(curl -s -o /dev/null -w '%{http_code}' --max-time 2 "$url/status.php" || true)" 000
    check "$release: stop is harmless a second time" "$scripts/stop" "$state_file"
done

if ((failures)); then
    echo "$failures check(s) failed" >&2
    exit 1
fi
