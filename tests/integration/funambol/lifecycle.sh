#!/usr/bin/env bash
# The start and stop scripts: a private server starts on a free loopback port with the account and
# quota it is given, and stop leaves no process, scratch directory or state file behind, even when
# run twice.
#
#   lifecycle.sh SCRIPTS_DIR SERVER_EXECUTABLE
set -euo pipefail

scripts=${1:?usage: lifecycle.sh SCRIPTS_DIR SERVER_EXECUTABLE}
server=${2:?usage: lifecycle.sh SCRIPTS_DIR SERVER_EXECUTABLE}
source "$(dirname "$0")/../lib.sh"
state_file=$work/state
cleanup() { "$scripts/stop" "$state_file" >/dev/null 2>&1 || true; }

printed_url=$(QMR_FUNAMBOL_USER=carol QMR_FUNAMBOL_PASSWORD='a&password=b' QMR_FUNAMBOL_QUOTA=4242 \
    "$scripts/start" "$state_file" "$server")
url=$(value url)
check_started "$printed_url"
check "the recorded pid is the running server" grep -q qmr_fake_funambol "/proc/$(value pid)/cmdline"
check "the account is recorded" equals "$(value user) $(value password)" 'carol a&password=b'

# Only the first "&password=" separates name and password.
jar=$work/cookies
login=$(curl -s -c "$jar" -o /dev/null -w '%{http_code}' -X POST --data-binary 'login=carol&password=a&password=b' \
    "$url/sapi/login?action=login")
check "the given account logs in" equals "$login" 200
check "the given quota is reported" equals \
    "$(curl -s -b "$jar" -X POST "$url/sapi/media?action=get-storage-space")" '{"data":{"free":4242,"quota":4242}}'

check_stopped "$scripts"
finish
