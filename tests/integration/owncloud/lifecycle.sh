#!/usr/bin/env bash
# The start and stop scripts: a private server of each release starts on a free loopback port with
# the account and quota it is given, over https with --tls, and stop leaves no process, scratch
# directory or state file behind, even when run twice.
#
#   lifecycle.sh SCRIPTS_DIR SERVER_EXECUTABLE
set -euo pipefail

scripts=${1:?usage: lifecycle.sh SCRIPTS_DIR SERVER_EXECUTABLE}
server=${2:?usage: lifecycle.sh SCRIPTS_DIR SERVER_EXECUTABLE}
source "$(dirname "$0")/../lib.sh"
cleanup() {
    for state_file in "$work"/state-*; do "$scripts/stop" "$state_file" >/dev/null 2>&1 || true; done
}

check "an unknown release is refused" equals "$("$scripts/start" 6.0 "$work/state-x" "$server" 2>/dev/null; echo $?)" 2

for release in 4.5.7 5.0.6; do
    state_file=$work/state-$release
    check_prefix="$release: "
    printed_url=$(QMR_OWNCLOUD_USER=dave QMR_OWNCLOUD_PASSWORD='a b&c=d' QMR_OWNCLOUD_QUOTA=10240 \
        "$scripts/start" "$release" "$state_file" "$server")
    url=$(value url)

    check_started "$printed_url"
    check "the release and account are recorded" equals "$(value release) $(value user) $(value password)" \
        "$release dave a b&c=d"
    check "the status page names the release" contains "$(curl -s "$url/status.php")" \
        "\"versionstring\":\"$release\""

    jar=$work/cookies-$release
    [[ $release == 4.5.7 ]] && login=/ personal=/settings/personal.php || login=/index.php personal=/index.php/settings/personal
    status=$(curl -s -c "$jar" -o /dev/null -w '%{http_code}' --data-urlencode user=dave \
        --data-urlencode 'password=a b&c=d' "$url$login")
    check "the given account logs in" equals "$status" 302
    check "the given quota is reported" contains \
        "$(curl -s -b "$jar" -H 'Accept-Language: en' "$url$personal")" 'of the available <strong>10 kB'

    check_stopped "$scripts"
done

state_file=$work/state-tls
check_prefix="https: "
printed_url=$("$scripts/start" --tls 5.0.6 "$state_file" "$server")
check "start --tls prints the URL it records" equals "$printed_url" "$(value url)"
check "... an https one on loopback" matches "$printed_url" '^https://127\.0\.0\.1:[0-9]+$'
check "the recorded certificate is the one served" contains \
    "$(curl -s --cacert "$(value tls-cert)" "$printed_url/status.php")" '"versionstring":"5.0.6"'
check "reset trusts it too" "$scripts/reset" "$state_file"
check_stopped "$scripts"
finish
