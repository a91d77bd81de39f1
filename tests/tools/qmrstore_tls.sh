#!/usr/bin/env bash
# qmrstore against a server with a certificate of its own: refused as unreachable until --ca-file
# (or QMRSTORE_CA_FILE) names that certificate, whatever the command logs in for or not.
#
#   qmrstore_tls.sh STATEFILE QMRSTORE
set -euo pipefail

state_file=${1:?usage: qmrstore_tls.sh STATEFILE QMRSTORE} qmrstore=${2:?}
source "$(dirname "$0")/../integration/lib.sh"
load_state
check_prefix="qmrstore over https: "
export QMRSTORE_BACKEND=owncloud QMRSTORE_URL=$url QMRSTORE_USER=$user QMRSTORE_PASSWORD=$password
unset QMRSTORE_CA_FILE
certificate=$(value tls-cert)

run() { "$qmrstore" "$@" >"$work/out" 2>"$work/err" </dev/null && status=0 || status=$?; }

run server-version
check "an untrusted certificate ends as the server being unavailable" equals "$status" 13
run ls
check "so does a command that logs in" equals "$status" 13
run server-version --ca-file "$certificate"
check "the trusted certificate lets the version through" equals "$status:$(cat "$work/out")" "0:$(value release)"
QMRSTORE_CA_FILE=$certificate run ls --json
check "QMRSTORE_CA_FILE trusts it too, for the login as well" equals "$status" 0
run ls --ca-file "$work/no-such.pem"
check "a certificate file that does not exist is a usage error" equals "$status" 2
finish
