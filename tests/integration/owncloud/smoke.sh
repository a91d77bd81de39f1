#!/usr/bin/env bash
# The fake ownCloud server answers with the markup the ownCloud back-end relies on, in the layout of
# the release it plays: the status page's "versionstring"; the login form shown again with its "Lost
# your password?" link after a wrong password, a cookie and a redirect after a right one; the request
# token where the release puts it; scan/upgrade; files pages with breadcrumb links and one row per entry
# (attribute order, quoting, percent-encoded names, the modification title's format); the new-folder,
# delete and upload scripts with the release's id quoting and PHP's JSON; downloads streamed from disk,
# the server's memory staying flat under a large round trip; the release's quota refusal; the 503
# control; the sharing script; the password, e-mail and lost-password scripts; "Token expired" for a
# wrong token; logged-out answers; German pages for a client that does not ask for English; and, given
# the state file of the same release's https server, https with its test certificate.
#
#   smoke.sh STATEFILE [TLS_STATEFILE]
set -euo pipefail

state_file=${1:?usage: smoke.sh STATEFILE [TLS_STATEFILE]}
tls_state_file=${2:-}
source "$(dirname "$0")/../lib.sh"
load_state
release=$(value release)
jar=$work/cookies
request_options=(-b "$jar" -c "$jar")
check_prefix="$release "
english() { request "$@" -H 'Accept-Language: en-US,en;q=0.8'; }
control() { curl -sS --fail -X POST "$@"; }

if [[ $release == 4.5.7 ]]; then
    login_path=/ files_path='/?app=files' ajax='/?app=files&getfile=ajax/' personal=/settings/personal.php
    scan="${ajax}scan.php&force=false&dir=&requesttoken=" index='' lost_password=/core/lostpassword/index.php
else
    login_path=/index.php files_path=/index.php/apps/files ajax=/index.php/apps/files/ajax/
    personal=/index.php/settings/personal scan="${ajax}upgrade.php?requesttoken=" index=/index.php
    lost_password=/index.php/lostpassword/
fi
share="$index/core/ajax/share.php" settings_ajax="$index/settings/ajax"
# download NAME FOLDER: the download script's target for a file
download() {
    if [[ $release == 4.5.7 ]]; then echo "${ajax}download.php&files=$1&dir=$2"; else echo "${ajax}download.php?files=$1&dir=$2"; fi
}
"$scripts/reset" "$state_file"
"$scripts/set-quota" "$state_file" 2147483648

# --- status, login ------------------------------------------------------------
request status GET /status.php
check "status page: the version string" contains "$(body status)" "\"versionstring\":\"$release\""

english form GET "$login_path"
check "the first login form has no lost-password link" lacks "$(body form)" 'Lost your password?'
english wrong POST "$login_path" --data-urlencode "user=$user" --data-urlencode "password=${password}x"
check "wrong password: 200 and the form again" equals "$(status wrong)" 200
check "wrong password: the lost-password link on a line" matches "$(body wrong)" '^.*Lost your password\?.*$'
check "wrong password: no session cookie" lacks "$(header wrong Set-Cookie)" =
request wrong_german POST "$login_path" --data-urlencode "user=$user" --data-urlencode "password=${password}x"
check "no Accept-Language: German pages" contains "$(body wrong_german)" 'Passwort vergessen?'

fields=(--data-urlencode "user=$user" --data-urlencode "password=$password")
[[ $release == 5.0.6 ]] && fields+=(--data-urlencode "password-clone=$password" --data-urlencode timezone-offset=0)
english login POST "$login_path" "${fields[@]}"
check "right password: a redirect to the files app" equals "$(status login) $(header login Location)" \
    "302 $url$files_path"
check "right password: the session cookie" contains "$(header login Set-Cookie)" 'path=/; HttpOnly'

english files GET "$files_path"
if [[ $release == 4.5.7 ]]; then
    token=$(body files | sed -n "s/^.*var oc_requesttoken = '\(.*\)';.*$/\1/p")
    check "the token in a script line" matches "$(body files)" "^\s*var oc_requesttoken = '[A-Za-z0-9]{30}';$"
else
    token=$(body files | sed -n 's/^.*<head data-requesttoken="\(.*\)">.*$/\1/p')
    check "the token on the head element" matches "$(body files)" '^\s*<head data-requesttoken="[A-Za-z0-9]{30}">$'
fi
check "the token is the session's" contains "$(curl -s "$url/test/sessions")" "\"$token\""
check "the first page lacks the lost-password link" lacks "$(body files)" 'Lost your password'

english scan GET "$scan$token"
check "scan/upgrade with the token" equals "$(status scan)" 200
english scan_wrong GET "${scan}nottoken"
check "scan/upgrade with another token: Token expired" contains "$(body scan_wrong)" 'Token expired. Please reload page.'

# --- files pages --------------------------------------------------------------
suffix=0123456789abcdef0123456789abcdef
control "$url/test/mkdir?path=/My%20Docs&mtime=1370268300" >/dev/null
control "$url/test/put?path=/My%20Docs/report%20one.pdf.$suffix&mtime=1370268300" --data-binary 'hello world' >/dev/null
control "$url/test/put?path=/My%20Docs/march.txt&mtime=1362999600" --data-binary 'spring' >/dev/null

english root GET "$files_path"
check "the header row is a <tr> without data-id" matches "$(body root)" '^\s*<tr>$'
english docs GET "$files_path" -G --data-urlencode 'dir=/My Docs'
if [[ $release == 4.5.7 ]]; then
    check "root row: the opening tag on one line, attributes in order" matches "$(body root)" \
        "^\s*<tr data-id=\"[0-9]+\" data-file=\"My%20Docs\" data-type=\"dir\" data-mime=\"httpd/unix-directory\" data-size='17' data-permissions=\"[0-9]+\">$"
    check "breadcrumb: the escaped path" contains "$(body docs)" '?app=files&dir=%2FMy%20Docs">My Docs</a>'
    check "file row: percent-encoded name, size in single quotes" matches "$(body docs)" \
        "^\s*<tr data-id=\"[0-9]+\" data-file=\"report%20one.pdf.$suffix\" data-type=\"file\" data-mime=\"[^\"]+\" data-size='11' data-permissions=\"[0-9]+\">$"
    check "modified: 'June 3, 2013, 14:05'" contains "$(body docs)" '<span class="modified" title="June 3, 2013, 14:05"'
else
    check "root row: the opening tag over several lines, attributes in order" contains "$(tr -d '\t' <"$work/root.body")" \
        "\"
data-file=\"My%20Docs\"
data-type=\"dir\"
data-mime=\"httpd/unix-directory\"
data-size='17'
data-permissions=\""
    check "root row: data-id on the <tr> line" matches "$(body root)" '^\s*<tr data-id="[0-9]+"$'
    check "breadcrumb: the path as it is" contains "$(body docs)" '/index.php/apps/files?dir=/My Docs">My Docs</a>'
    check "file row: percent-encoded name" contains "$(body docs)" "data-file=\"report%20one.pdf.$suffix\""
    check "modified: 'June  3, 2013 14:05'" contains "$(body docs)" '<span class="modified" title="June  3, 2013 14:05"'
fi
request docs_german GET "$files_path" -G --data-urlencode 'dir=/My Docs'
check "German months hold HTML entities in the title" contains "$(body docs_german)" 'title="M&auml;rz 11,'
english missing GET "$files_path" -G --data-urlencode 'dir=/Nowhere'
check "an unknown folder redirects to the files app" equals "$(status missing) $(header missing Location)" \
    "302 $url$files_path"

# --- ajax scripts -------------------------------------------------------------
ajax_form=(-H 'Content-Type: application/x-www-form-urlencoded ;charset=UTF-8')
english nf_no_token POST "${ajax}newfolder.php" "${ajax_form[@]}" --data 'dir=/&foldername=x'
check "new folder without the token: Token expired" equals "$(body nf_no_token)" \
    '{"data":{"message":"Token expired. Please reload page."},"status":"error"}'
english nf POST "${ajax}newfolder.php" "${ajax_form[@]}" -H "requesttoken: $token" \
    --data 'dir=%2FMy%20Docs&foldername=New%20One'
if [[ $release == 4.5.7 ]]; then id_pattern='^\{"data":\{"id":"[0-9]+"\},"status":"success"\}$'; else
    id_pattern='^\{"data":\{"id":[0-9]+\},"status":"success"\}$'; fi
check "new folder: the id quoted as this release does" matches "$(body nf)" "$id_pattern"
english docs_after GET "$files_path" -G --data-urlencode 'dir=/My Docs/New One'
check "the new folder has its page" contains "$(body docs_after)" 'New One</a>'

english del POST "${ajax}delete.php" "${ajax_form[@]}" -H "requesttoken: $token" \
    --data 'dir=%2FMy%20Docs&files=%5B%22march.txt%22%5D'
check "delete: success, PHP's JSON escaping the slash" equals "$(body del)" \
    '{"data":{"dir":"\/My Docs","files":["march.txt"]},"status":"success"}'
english del_bad POST "${ajax}delete.php" "${ajax_form[@]}" -H "requesttoken: $token" \
    --data 'dir=/&files=%5B%22a%22b%22%5D'
check "delete: a names text that is not JSON gives files null" contains "$(body del_bad)" '"files":null'

printf 'twelve bytes' >"$work/upload.txt"
upload() { # upload NAME FILE FILENAME [DIR]: the upload script, as the back-end posts it
    english "$1" POST "${ajax}upload.php" -H "requesttoken: $token" -F MAX_FILE_SIZE=2147483648 \
        -F "requesttoken=$token" -F "dir=${4:-/}" -F "files[]=@$2;filename=$3"
}
upload up "$work/upload.txt" "up.txt.$suffix" '/My Docs'
if [[ $release == 4.5.7 ]]; then q='"'; else q=''; fi
check "upload: PHP's JSON, id and size quoted as this release does" matches "$(body up)" \
    "^\[\{\"status\":\"success\",\"mime\":\"application\\\\/octet-stream\",\"size\":${q}12${q},\"id\":${q}[0-9]+${q},\"name\":\"up.txt.$suffix\"\}\]$"
upload up_again "$work/upload.txt" notes.txt
upload up_twice "$work/upload.txt" notes.txt
check "upload: a taken name gets a number, the type follows the extension" contains "$(body up_twice)" \
    '"mime":"text\/plain","size":'"${q}12${q}"',"id":'
check "upload: ... named as PHP numbers copies" contains "$(body up_twice)" '"name":"notes (2).txt"'
english down GET "$(download "up.txt.$suffix" %2FMy%20Docs)"
check "download: the uploaded content" equals "$(status down) $(body down)" '200 twelve bytes'
check "download: an attachment of the stored name and length" equals \
    "$(header down Content-Disposition) $(header down Content-Length)" "attachment; filename=\"up.txt.$suffix\" 12"

# Large content passes through files, not memory: the peak resident size barely moves.
head -c $((64 << 20)) /dev/urandom >"$work/large.bin"
peak() { sed -n 's/^VmHWM: *\([0-9]*\) kB$/\1/p' "/proc/$(value pid)/status"; }
peak_before=$(peak)
upload up_large "$work/large.bin" large.bin
curl -s "${request_options[@]}" -o "$work/large.down" "$url$(download large.bin /)"
check "a 64 MiB upload is stored whole" contains "$(body up_large)" "\"size\":${q}67108864${q}"
check "... and downloads the same" cmp -s "$work/large.bin" "$work/large.down"
check "... with the server's peak memory up by less than 16 MiB" test $(($(peak) - peak_before)) -lt 16384
rm -f "$work/large.bin" "$work/large.down"

# --- quota --------------------------------------------------------------------
english remove_large POST "${ajax}delete.php" "${ajax_form[@]}" -H "requesttoken: $token" \
    --data 'dir=/&files=%5B%22large.bin%22%2C%22notes.txt%22%2C%22notes%20(2).txt%22%5D'
english personal GET "$personal"
if [[ $release == 4.5.7 ]]; then closing='<strong></p>'; else closing='</strong></p>'; fi
check "personal page: the quota sentence" contains "$(body personal)" \
    "<p id=\"quotatext\">You have used <strong>23 B</strong> of the available <strong>2 GB$closing"
"$scripts/set-quota" "$state_file" 30
upload up_full "$work/upload.txt" b
if [[ $release == 4.5.7 ]]; then
    check "upload beyond the quota: not enough space" equals "$(body up_full)" \
        '{"data":{"message":"Not enough space available"},"status":"error"}'
else
    check "upload beyond the quota: not enough storage" equals "$(body up_full)" \
        '{"data":{"message":"Not enough storage available","uploadMaxFilesize":7,"maxHumanFilesize":"7 B"},"status":"error"}'
fi
"$scripts/set-quota" "$state_file" 2147483648

# --- injected failures --------------------------------------------------------
control "$url/test/fail?status=503&script=upload.php" >/dev/null
english files_503 GET "$files_path"
upload up_503 "$work/upload.txt" c.txt
upload up_after "$work/upload.txt" d.txt
check "fail for a script: other requests pass" equals "$(status files_503)" 200
check "fail for a script: its next request gets the status and no body" equals "$(status up_503) [$(body up_503)]" '503 []'
check "fail for a script: the body was not stored, the request after passes" equals \
    "$(curl -s "${request_options[@]}" -o /dev/null -w '%{http_code}' "$url$(download c.txt /)") $(status up_after)" '404 200'
control "$url/test/fail?status=500&count=2" >/dev/null
english any1 GET /status.php
english any2 GET "$(download d.txt /)"
english any3 GET /status.php
check "fail with a count: that many requests of any kind" equals "$(status any1) $(status any2) $(status any3)" '500 500 200'

# --- sharing ------------------------------------------------------------------
share_form=(-H 'Content-Type: application/x-www-form-urlencoded; charset=UTF-8' -H "requesttoken: $token")
file_id=$(control "$url/test/put?path=/shared.txt" --data-binary 'shared' | sed 's/[^0-9]//g')
folder_id=$(control "$url/test/mkdir?path=/Team" | sed 's/[^0-9]//g')
english with_b GET "$share?fetch=getShareWith&search=B" -H "requesttoken: $token"
if [[ $release == 4.5.7 ]]; then bob=bob brenda=brenda; else bob='Bob Baker' brenda='Brenda Bishop'; fi
check "parties: users, then groups, beginning with the text in any case" equals "$(body with_b)" \
    "{\"data\":[{\"label\":\"$bob\",\"value\":{\"shareType\":0,\"shareWith\":\"bob\"}},{\"label\":\"$brenda\",\"value\":{\"shareType\":0,\"shareWith\":\"brenda\"}},{\"label\":\"backoffice (group)\",\"value\":{\"shareType\":1,\"shareWith\":\"backoffice\"}}],\"status\":\"success\"}"
english with_a GET "$share?fetch=getShareWith&search=a" -H "requesttoken: $token"
check "parties: at most four users and four groups" equals "$(grep -o '"shareType":0' "$work/with_a.body" | wc -l) $(grep -o '"shareType":1' "$work/with_a.body" | wc -l)" '4 2'
get_item() { english "$1" GET "$share?fetch=getItem&itemType=$2&itemSource=$3&checkReshare=true&checkShares=true" -H "requesttoken: $token"; }
get_item none file "$file_id"
check "an item shared with nobody: reshare and shares false" equals "$(body none)" \
    '{"data":{"reshare":false,"shares":false},"status":"success"}'
share_action() { english "$1" POST "$share" "${share_form[@]}" --data "action=$2&itemType=$3&itemSource=$4&shareType=$5&shareWith=$6${7:+&permissions=$7}"; }
share_action share_file share file "$file_id" 0 alice 19
share_action share_twice share file "$file_id" 0 alice 19
share_action share_group share file "$file_id" 1 sales 1
share_action share_nobody share file "$file_id" 0 nobody 1
check "share: success" equals "$(body share_file)" '{"status":"success"}'
check "share: again with the same user refused" equals "$(body share_twice)" \
    "{\"data\":{\"message\":\"Sharing $file_id failed, because this item is already shared with alice\"},\"status\":\"error\"}"
check "share: with a group" equals "$(body share_group)" '{"status":"success"}'
check "share: with an unknown user refused" contains "$(body share_nobody)" 'because the user nobody does not exist'
share_action set_perm setPermissions file "$file_id" 0 alice 3
get_item file_shares file "$file_id"
check "a file's shares: an object keyed by share id, every number a string" matches "$(body file_shares)" \
    "^\{\"data\":\{\"reshare\":false,\"shares\":\{\"[0-9]+\":\{\"id\":\"[0-9]+\",\"item_type\":\"file\",\"item_source\":\"$file_id\",\"item_target\":\"\\\\/shared.txt\",\"parent\":null,\"share_type\":\"0\",\"share_with\":\"alice\",\"uid_owner\":\"$user\",.*\"permissions\":\"3\",.*\"share_type\":\"1\",\"share_with\":\"sales\",.*\\}\\},\"status\":\"success\"\}$"
share_action share_folder share folder "$folder_id" 0 bob 31
get_item folder_shares folder "$folder_id"
check "a folder's shares: a list" matches "$(body folder_shares)" '"shares":\[\{"id":"[0-9]+","item_type":"folder",.*"share_with":"bob",.*"permissions":"31",'
share_action unshare unshare file "$file_id" 0 alice
share_action unshare_again unshare file "$file_id" 0 alice
check "unshare: success, then a bare error" equals "$(body unshare) $(body unshare_again)" '{"status":"success"} {"status":"error"}'
english share_no_token GET "$share?fetch=getShareWith&search=a"
check "sharing without the token: Token expired" contains "$(body share_no_token)" 'Token expired. Please reload page.'
received_id=$(control "$url/test/receive?path=/Team&owner=brenda&permissions=15" | sed 's/[^0-9]//g')
get_item received folder "$folder_id"
check "a received item: the reshare names its owner" matches "$(body received)" \
    "\"reshare\":\{\"id\":\"$received_id\",.*\"share_type\":\"0\",\"share_with\":\"$user\",\"uid_owner\":\"brenda\",.*\"permissions\":\"15\","

# --- account ------------------------------------------------------------------
english empty_email GET "$personal"
if [[ $release == 4.5.7 ]]; then email_break=' '; else email_break=$'\n\t\t\t\t'; fi
check "personal page: an empty e-mail field" contains "$(body empty_email)" \
    "<input type=\"text\" name=\"email\" id=\"email\" value=\"\"${email_break}placeholder=\"Your email address\" />"
english bad_email POST "$settings_ajax/lostpassword.php" "${ajax_form[@]}" -H "requesttoken: $token" --data 'email=carol'
english set_email POST "$settings_ajax/lostpassword.php" "${ajax_form[@]}" -H "requesttoken: $token" \
    --data 'email=carol%40example.com'
check "set e-mail: an invalid address refused" equals "$(body bad_email)" '{"data":{"message":"Invalid email"},"status":"error"}'
check "set e-mail: saved" equals "$(body set_email)" '{"data":{"message":"Email saved"},"status":"success"}'
english with_email GET "$personal"
check "personal page: the e-mail in its field" contains "$(body with_email)" \
    "<input type=\"text\" name=\"email\" id=\"email\" value=\"carol@example.com\"${email_break}placeholder=\"Your email address\" />"

change_password() { # change_password NAME OLD NEW
    english "$1" POST "$settings_ajax/changepassword.php" "${ajax_form[@]}" -H "requesttoken: $token" \
        --data-urlencode "oldpassword=$2" --data-urlencode "password=$3" --data-urlencode "password-clone=$3"
}
change_password wrong_old "${password}x" new-pw
change_password changed "$password" new-pw
check "change password: a wrong old password refused" equals "$(body wrong_old)" \
    '{"data":{"message":"Authentication error"},"status":"error"}'
check "change password: success names the user" equals "$(body changed)" "{\"data\":{\"username\":\"$user\"},\"status\":\"success\"}"
new_login=$(curl -s -o /dev/null -w '%{http_code}' --data-urlencode "user=$user" --data-urlencode password=new-pw "$url$login_path")
check "change password: the new one logs in" equals "$new_login" 302

lost() { english "$1" POST "$lost_password" --data-urlencode "user=$2"; }
english lost_form GET "$lost_password"
lost lost_ok "$user"
lost lost_unknown nobody
control "$url/test/email?address=" >/dev/null
lost lost_no_email "$user"
if [[ $release == 4.5.7 ]]; then sent=Requested refused='Login failed!'; else sent='Reset email send.' refused='Request failed!'; fi
check "lost password: the form" contains "$(body lost_form)" 'name="user" id="user"'
check "lost password: a user with an e-mail address" contains "$(body lost_ok)" "$sent"
check "lost password: an unknown user" equals "$(grep -c "$refused" "$work/lost_unknown.body") $(grep -ci "$sent" "$work/lost_unknown.body")" '1 0'
check "lost password: a user without e-mail" contains "$(body lost_no_email)" "$refused"

# --- expired and ended sessions -----------------------------------------------
control "$url/test/expire-sessions" >/dev/null
english after_expiry GET "$files_path"
check "an expired session still loads pages" equals "$(status after_expiry)" 200
english nf_expired POST "${ajax}newfolder.php" "${ajax_form[@]}" -H "requesttoken: $token" --data 'dir=/&foldername=y'
check "an expired session's token: Token expired" contains "$(body nf_expired)" 'Token expired. Please reload page.'

english logout GET '/index.php?logout=true'
check "logout leads back to the login form" equals "$(status logout) $(header logout Location)" "302 $url$login_path"
english after GET "$files_path"
english nf_out POST "${ajax}newfolder.php" "${ajax_form[@]}" -H "requesttoken: $token" --data 'dir=/&foldername=z'
if [[ $release == 4.5.7 ]]; then
    check "logged out: the files page is the login form" contains "$(status after) $(body after)" '200 <!DOCTYPE html>'
    check "logged out: ajax answers the login page, 200" contains "$(status nf_out) $(body nf_out)" '200 <!DOCTYPE html>'
else
    check "logged out: pages redirect to the login form" contains "$(status after) $(header after Location)" \
        "302 $url/index.php?redirect_url="
    check "logged out: ajax answers an error" contains "$(body nf_out)" '"status":"error"'
fi

# --- https ------------------------------------------------------------------------
if [[ -n $tls_state_file ]]; then
    check_prefix="$release https: "
    tls_url=$(sed -n 's/^url=//p' "$tls_state_file") certificate=$(sed -n 's/^tls-cert=//p' "$tls_state_file")
    check "the base URL is https on loopback" matches "$tls_url" '^https://127\.0\.0\.1:[0-9]+$'
    check "the status page, trusting the test certificate" contains \
        "$(curl -sS --cacert "$certificate" "$tls_url/status.php")" "\"versionstring\":\"$release\""
    check "the certificate names localhost too" equals \
        "$(curl -s -o /dev/null -w '%{http_code}' --cacert "$certificate" "https://localhost:${tls_url##*:}/status.php")" 200
    check "an untrusting client is refused" equals "$(curl -s -o /dev/null "$tls_url/status.php"; echo $?)" 60
    check "the lost-password page" contains "$(curl -sS --cacert "$certificate" -H 'Accept-Language: en' \
        --data-urlencode user=nobody "$tls_url$lost_password")" "$refused"
fi

"$scripts/reset" "$state_file"
finish
