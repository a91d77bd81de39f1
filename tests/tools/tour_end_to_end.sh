#!/usr/bin/env bash
# The library API walks in examples/tour, run against a bundled server: each ends well and shows
# the content it stored coming back.
#
#   tour_end_to_end.sh webdav|funambol|owncloud_4_5_7|owncloud_5_0_6 STATEFILE TOUR
set -euo pipefail

backend=${1:?usage: tour_end_to_end.sh BACKEND STATEFILE TOUR} state_file=${2:?} tour=${3:?}
source "$(dirname "$0")/../integration/lib.sh"
load_state
check_prefix="$backend tour: "
"$scripts/reset" "$state_file"
export QMRSTORE_PASSWORD=$password

status=0
case $backend in
  owncloud_*) output=$("$tour" "$url" "$user" alice 2>&1) || status=$? ;;
  *) output=$("$tour" "$backend" "$url" "$user" 2>&1) || status=$? ;;
esac
check "ends well" equals "$status" 0
check "reads back what it stored" contains "$output" "Remember the milk."
case $backend in
  owncloud_*)
    release=${backend#owncloud_}
    check "names the server's release" contains "$output" "${release//_/.}"
    check "shows the share" matches "$output" "alice.*IsOwner: false SharingPermission: 3"
    check "leaves the root folder empty" contains "$output" "entries left in the root folder: 0" ;;
  *) check "leaves no file behind" contains "$output" "files left: 0" ;;
esac
((failures == 0)) || echo "$output" >&2
finish
