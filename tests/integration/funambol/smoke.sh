#!/usr/bin/env bash
# The fake Funambol server answers as the Funambol back-end expects: a cookie session from a login
# body split at its first "&password=", 401 with a challenge without it, ids as text, paging,
# dates written as text and read as milliseconds, content under mediaserverurl + url, the quota,
# deletion, reset and the change log with its response time.
#
#   smoke.sh STATEFILE
set -euo pipefail

state_file=${1:?usage: smoke.sh STATEFILE}
source "$(dirname "$0")/../lib.sh"
load_state
jar=$work/cookies
request_options=(-b "$jar" -c "$jar")
json_type='Content-Type: application/json; charset=UTF-8'

"$scripts/reset" "$state_file"
"$scripts/set-quota" "$state_file" 1000

# --- session ------------------------------------------------------------------
request anonymous POST '/sapi/media?action=get-storage-space'
check "no session: 401 with a challenge" equals "$(status anonymous)" 401
check "no session: the challenge header" contains "$(header anonymous WWW-Authenticate)" "realm"
check "no session: the session error" contains "$(body anonymous)" '"code":"SEC-1002"'

request wrong POST '/sapi/login?action=login' --data-binary "login=$user&password=${password}x"
check "wrong password: 401 and the login error" contains "$(status wrong) $(body wrong)" '401 {"error":{"code":"SEC-1001"'
check "wrong password: no cookie" lacks "$(header wrong Set-Cookie)" JSESSIONID

# The password holds "&" and "=": the body is split at the first "&password=" only.
request login POST '/sapi/login?action=login' \
    -H 'Content-Type: application/x-www-form-urlencoded; charset=UTF-8' --data-binary "login=$user&password=$password"
check "login answers 200" equals "$(status login)" 200
check "login sets the session cookie" contains "$(header login Set-Cookie)" JSESSIONID=

# --- create: metadata, then content -------------------------------------------
request meta POST '/sapi/upload/picture?action=save-metadata' -H "$json_type" --data-binary \
    '{"data":{"name":"a.jpg","creationdate":"20130305T140709Z","modificationdate":"20130305T150709+0100","contenttype":"image/jpeg","size":5}}'
id=$(body meta | sed -n 's/^{"id":"\([0-9]*\)"}$/\1/p')
check "save-metadata answers the new id as text" test -n "$id"

request save POST '/sapi/upload/picture?action=save' -H "x-funambol-id: $id" -H 'x-funambol-file-size: 5' \
    -H 'Content-Type: binary/octet-stream' --data-binary 'hello'
check "save stores the content" equals "$(status save)" 200

request save_elsewhere POST '/sapi/upload/video?action=save' -H "x-funambol-id: $id" -H 'x-funambol-file-size: 5' \
    --data-binary 'hello'
check "save into the wrong collection: MED-1005" contains "$(body save_elsewhere)" '"code":"MED-1005"'

request update_unknown POST '/sapi/upload/file?action=save-metadata' -H "$json_type" \
    --data-binary '{"data":{"id":"999999","name":"x"}}'
check "update of an unknown id: MED-1005" contains "$(body update_unknown)" '"code":"MED-1005"'

request too_big POST '/sapi/upload/file?action=save-metadata' -H "$json_type" \
    --data-binary '{"data":{"name":"big.bin","contenttype":"application/octet-stream","size":996}}'
check "a declared size beyond the free space: MED-1007" contains "$(body too_big)" '"code":"MED-1007"'

# --- read ---------------------------------------------------------------------
request list GET '/sapi/media/picture?action=get&offset=0&limit=50&from=0'
check "listing: dates in milliseconds, id as text, url relative" contains "$(body list)" \
    "{\"creationdate\":1362492429000,\"date\":"
check "listing: the client's zone offset applied" contains "$(body list)" '"modificationdate":1362492429000'
check "listing: the entry's other members" contains "$(body list)" \
    "\"id\":\"$id\",\"mediatype\":\"picture\",\"modificationdate\":1362492429000,\"name\":\"a.jpg\",\"size\":5,\"url\":\"/picture/$id\"}"
check "listing: the content server URL" contains "$(body list)" "\"mediaserverurl\":\"$url/content\""
request second_page GET '/sapi/media/picture?action=get&offset=1&limit=50'
check "paging: past the end is empty" equals "$(body second_page)" "{\"data\":{\"mediaserverurl\":\"$url/content\",\"pictures\":[]}}"
request by_id GET "/sapi/media/picture?action=get" -G --data-urlencode "id={\"ids\":[$id,999999]}"
check "by ids: the known one only" contains "$(body by_id)" "\"id\":\"$id\""
request files GET '/sapi/media/file?action=get'
check "other collections are apart" equals "$(body files)" "{\"data\":{\"files\":[],\"mediaserverurl\":\"$url/content\"}}"

content=$(curl -s "$url/content/picture/$id")
check "content at mediaserverurl + url" equals "$content" hello

request space POST '/sapi/media?action=get-storage-space'
check "storage space: quota and free" equals "$(body space)" '{"data":{"free":995,"quota":1000}}'

# --- changes, delete ----------------------------------------------------------
request changes POST '/sapi/profile/changes?action=get&type=all&responsetime=true&from=0'
check "changes: the new picture" contains "$(body changes)" "\"picture\":{\"D\":[],\"N\":[$id],\"U\":[]}"
token=$(body changes | sed -n 's/.*"responsetime":\([0-9]*\).*/\1/p')
check "changes: a response time" test -n "$token"

request delete POST '/sapi/media/picture?action=delete' -H "$json_type" --data-binary "{\"data\":{\"pictures\":[$id,999999]}}"
check "delete ignores unknown ids" equals "$(body delete)" "{\"data\":{\"pictures\":[\"$id\"]}}"
request since POST "/sapi/profile/changes?action=get&type=all&responsetime=true&from=$token"
check "changes since the token: the deletion only" contains "$(body since)" \
    "{\"data\":{\"file\":{\"D\":[],\"N\":[],\"U\":[]},\"picture\":{\"D\":[$id],\"N\":[],\"U\":[]},"

request reset POST '/sapi/media/video?action=reset'
check "reset answers 200" equals "$(status reset)" 200
request wrong_method GET '/sapi/media/video?action=reset'
check "a wrong method: 405" equals "$(status wrong_method)" 405

# --- logout -------------------------------------------------------------------
request logout GET '/sapi/login?action=logout'
check "logout answers 200" equals "$(status logout)" 200
request after POST '/sapi/media?action=get-storage-space'
check "after logout the session is gone" equals "$(status after)" 401

"$scripts/set-quota" "$state_file" 104857600
"$scripts/reset" "$state_file"
finish
