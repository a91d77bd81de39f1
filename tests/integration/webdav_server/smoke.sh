#!/usr/bin/env bash
# The SabreDAV test server behaves as the WebDAV back-end expects: an empty root,
# PUT 404 until "data" exists, MKCOL 201 then 405, dead properties kept, missing
# properties as a 404 propstat, the quota from quota.json, the exclusive lock
# enforced through "If", and Basic authentication.
#
#   smoke.sh STATEFILE
set -euo pipefail

state_file=${1:?usage: smoke.sh STATEFILE}
source "$(dirname "$0")/../lib.sh"
load_state
request_options=(-u "$user:$password")
ns=http://ns.quillmere.com/datastore/
xml_type='Content-Type: application/xml; charset="utf-8"'
file_id=0123456789abcdef0123456789abcdef
other_id=fedcba9876543210fedcba9876543210

"$scripts/reset" "$state_file"

# --- the collection is created by the client ---------------------------------
request put_before_mkcol PUT "/data/$file_id" -H 'Content-Type: binary/octet-stream' --data-binary 'hello'
check "PUT into a missing collection answers 404" equals "$(status put_before_mkcol)" 404

request mkcol MKCOL /data
check "MKCOL /data creates the collection" equals "$(status mkcol)" 201
request mkcol_again MKCOL /data
check "MKCOL on an existing collection answers 405" equals "$(status mkcol_again)" 405

request put PUT "/data/$file_id" -H 'Content-Type: binary/octet-stream' --data-binary 'hello'
check "PUT of a new file answers 201" equals "$(status put)" 201
request put_other PUT "/data/$other_id" -H 'Content-Type: binary/octet-stream' --data-binary 'hi'
check "PUT of a second file answers 201" equals "$(status put_other)" 201

# --- dead properties ---------------------------------------------------------
request proppatch PROPPATCH "/data/$file_id" -H "$xml_type" --data-binary @- <<EOF
<?xml version="1.0" encoding="utf-8"?><D:propertyupdate xmlns:D="DAV:"><D:set><D:prop xmlns:p="$ns"><p:name>report &amp; notes.txt</p:name><p:clientSideCreationDateInUtc>2013-05-01T10:20:00Z</p:clientSideCreationDateInUtc><p:clientSideModificationDateInUtc> </p:clientSideModificationDateInUtc><p:mimeContentType>text/plain</p:mimeContentType><p:change>new</p:change></D:prop></D:set></D:propertyupdate>
EOF
check "PROPPATCH answers 207" equals "$(status proppatch)" 207
check "PROPPATCH reports every property set" contains "$(body proppatch)" '<d:status>HTTP/1.1 200 OK</d:status>'
check "PROPPATCH reports no failed property" lacks "$(body proppatch)" '424'

request propfind_file PROPFIND "/data/$file_id" -H "$xml_type" --data-binary @- <<EOF
<?xml version="1.0" encoding="utf-8"?><D:propfind xmlns:D="DAV:"><D:prop xmlns:p="$ns"><p:name/><p:clientSideCreationDateInUtc/><p:clientSideModificationDateInUtc/><p:mimeContentType/><p:change/><D:getcontentlength/><p:changeDateInUtc/></D:prop></D:propfind>
EOF
propfind=$(body propfind_file)
check "PROPFIND of a file answers 207" equals "$(status propfind_file)" 207
check "DAV: is written with the prefix d" contains "$propfind" '<d:multistatus xmlns:d="DAV:"'
check "a stored name comes back, escaped" contains "$propfind" ">report &amp; notes.txt</"
check "a stored date comes back" contains "$propfind" ">2013-05-01T10:20:00Z</"
check "a single-space value is kept as is" contains "$propfind" "> </"
check "the change state comes back" contains "$propfind" ">new</"
check "the content length is the PUT body's" contains "$propfind" "<d:getcontentlength>5</d:getcontentlength>"
check "a property never set is reported 404" contains "$propfind" '<d:status>HTTP/1.1 404 Not Found</d:status>'
check "the 404 propstat names the missing property" \
    grep -q 'changeDateInUtc xmlns:[a-z0-9]*="http://ns.quillmere.com/datastore/"/><\/d:prop><d:status>HTTP/1.1 404' "$work/propfind_file.body"

request propfind_all PROPFIND /data -H 'Depth: 1' -H "$xml_type" --data-binary @- <<EOF
<?xml version="1.0" encoding="utf-8"?><D:propfind xmlns:D="DAV:"><D:prop xmlns:p="$ns"><p:name/><D:getlastmodified/><p:change/></D:prop></D:propfind>
EOF
check "Depth 1 PROPFIND lists the collection and both files" \
    equals "$(grep -o '<d:response>' "$work/propfind_all.body" | wc -l)" 3
check "the collection is listed with a trailing slash" contains "$(body propfind_all)" '<d:href>/data/</d:href>'
check "the file listed without properties has a 404 propstat" \
    grep -q "<d:href>/data/$other_id</d:href><d:propstat>.*HTTP/1.1 404 Not Found" "$work/propfind_all.body"

# --- quota -------------------------------------------------------------------
"$scripts/set-quota" "$state_file" 1000 3000
request quota PROPFIND /data -H 'Depth: 0' -H "$xml_type" --data-binary @- <<EOF
<?xml version="1.0" encoding="utf-8"?><D:propfind xmlns:D="DAV:"><D:prop><D:quota-available-bytes/><D:quota-used-bytes/></D:prop></D:propfind>
EOF
check "quota available comes from quota.json" contains "$(body quota)" '<d:quota-available-bytes>3000</d:quota-available-bytes>'
check "quota used comes from quota.json" contains "$(body quota)" '<d:quota-used-bytes>1000</d:quota-used-bytes>'
check "quota answer has no 404 propstat" lacks "$(body quota)" '404'

# --- exclusive lock ----------------------------------------------------------
lock_body='<?xml version="1.0" encoding="utf-8"?><D:lockinfo xmlns:D="DAV:"><D:lockscope><D:exclusive/></D:lockscope><D:locktype><D:write/></D:locktype></D:lockinfo>'
request lock LOCK /data -H 'Depth: infinity' -H 'Timeout: Second-3600' -H "$xml_type" --data-binary "$lock_body"
check "LOCK of the collection answers 200" equals "$(status lock)" 200
token=$(sed -n 's/.*<d:href>\(opaquelocktoken:[^<]*\)<\/d:href>.*/\1/p' "$work/lock.body" | head -n 1)
check "LOCK answer carries the token in locktoken/href" contains "$token" 'opaquelocktoken:'
check "Lock-Token header is the same token in angle brackets" equals "$(header lock Lock-Token)" "<$token>"
check "the stock lock backend grants 1800 seconds whatever was asked" contains "$(body lock)" "<d:timeout>Second-1800</d:timeout>"

request lock_again LOCK /data -H 'Depth: infinity' -H 'Timeout: Infinite' -H "$xml_type" --data-binary "$lock_body"
check "a second exclusive LOCK answers 423" equals "$(status lock_again)" 423

request put_no_if PUT "/data/$file_id" -H 'Content-Type: binary/octet-stream' --data-binary 'changed'
check "PUT without If while locked answers 423" equals "$(status put_no_if)" 423
request proppatch_no_if PROPPATCH "/data/$file_id" -H "$xml_type" --data-binary \
    "<?xml version=\"1.0\" encoding=\"utf-8\"?><D:propertyupdate xmlns:D=\"DAV:\"><D:set><D:prop xmlns:p=\"$ns\"><p:change>updated</p:change></D:prop></D:set></D:propertyupdate>"
check "PROPPATCH without If while locked answers 423" equals "$(status proppatch_no_if)" 423
request put_wrong_if PUT "/data/$file_id" -H 'Content-Type: binary/octet-stream' \
    -H 'If: (<opaquelocktoken:00000000-0000-0000-0000-000000000000>)' --data-binary 'changed'
check "PUT with a wrong token answers 412" equals "$(status put_wrong_if)" 412
request put_if PUT "/data/$file_id" -H 'Content-Type: binary/octet-stream' -H "If: (<$token>)" --data-binary 'changed'
check "PUT with the held token answers 204" equals "$(status put_if)" 204
request get GET "/data/$file_id"
check "GET returns the content written under the lock" equals "$(body get)" changed

request refresh LOCK /data -H 'Timeout: Second-3600' -H "If: (<$token>)"
check "refresh LOCK answers 200" equals "$(status refresh)" 200
check "refresh LOCK answer carries the same token" contains "$(body refresh)" "<d:href>$token</d:href>"

request unlock_wrong UNLOCK /data -H 'Lock-Token: opaquelocktoken:00000000-0000-0000-0000-000000000000'
check "UNLOCK with a wrong token answers 409" equals "$(status unlock_wrong)" 409
request unlock UNLOCK /data -H "Lock-Token: $token"
check "UNLOCK with the held token (no brackets) answers 204" equals "$(status unlock)" 204
request refresh_released LOCK /data -H 'Timeout: Second-3600' -H "If: (<$token>)"
check "refresh after UNLOCK answers 412" equals "$(status refresh_released)" 412
request put_released PUT "/data/$file_id" -H 'Content-Type: binary/octet-stream' -H "If: (<$token>)" --data-binary 'x'
check "PUT with a released token answers 412" equals "$(status put_released)" 412
request put_unlocked PUT "/data/$file_id" -H 'Content-Type: binary/octet-stream' --data-binary 'x'
check "PUT without If after UNLOCK answers 204" equals "$(status put_unlocked)" 204

# --- authentication and hygiene ----------------------------------------------
request denied PROPFIND /data -u "$user:wrong-$password"  # the last -u wins
check "a wrong password answers 401" equals "$(status denied)" 401
check "the 401 carries a Basic challenge" contains "$(header denied WWW-Authenticate)" 'Basic realm='
curl -s -X PROPFIND -o /dev/null -w '%{http_code}' "$url/data" >"$work/anonymous.status"
check "no credentials answers 401" equals "$(status anonymous)" 401

diagnostics=$(cat "$work"/*.body | grep -ciE "(deprecated|warning|notice|fatal error)( |:)" || true)
check "PHP diagnostics never reach a body" equals "$diagnostics" 0

finish
