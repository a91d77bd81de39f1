#!/usr/bin/env bash
# The fake ownCloud server answers with the markup the ownCloud back-end relies on, in the layout of
# the release it plays: the status page's "versionstring"; the login form shown again with its "Lost
# your password?" link after a wrong password, a cookie and a redirect after a right one; the request
# token where the release puts it; scan/upgrade; files pages with breadcrumb links and one row per entry
# (attribute order, quoting, percent-encoded names, the modification title's format); the new-folder,
# delete and upload scripts with the release's id quoting; the quota sentence; "Token expired" for a
# wrong token; logged-out answers; German pages for a client that does not ask for English.
#
#   smoke.sh STATEFILE
set -euo pipefail

state_file=${1:?usage: smoke.sh STATEFILE}
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
    scan="${ajax}scan.php&force=false&dir=&requesttoken="
else
    login_path=/index.php files_path=/index.php/apps/files ajax=/index.php/apps/files/ajax/
    personal=/index.php/settings/personal scan="${ajax}upgrade.php?requesttoken="
fi
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
check "delete: success" equals "$(body del)" '{"data":{"dir":"/My Docs","files":["march.txt"]},"status":"success"}'
english del_bad POST "${ajax}delete.php" "${ajax_form[@]}" -H "requesttoken: $token" \
    --data 'dir=/&files=%5B%22a%22b%22%5D'
check "delete: a names text that is not JSON gives files null" contains "$(body del_bad)" '"files":null'

printf 'twelve bytes' >"$work/upload.txt"
english up POST "${ajax}upload.php" -H "requesttoken: $token" -F MAX_FILE_SIZE=2147483648 \
    -F "requesttoken=$token" -F 'dir=/My Docs' -F "files[]=@$work/upload.txt;filename=up.txt.$suffix"
if [[ $release == 4.5.7 ]]; then up_pattern='"id":"[0-9]+","name":"up.txt.'; else up_pattern='"id":[0-9]+,"name":"up.txt.'; fi
check "upload: success, the id quoted as this release does" matches "$(body up)" "\"status\":\"success\".*$up_pattern"
if [[ $release == 4.5.7 ]]; then
    download="${ajax}download.php&files=up.txt.$suffix&dir=%2FMy%20Docs"
else download="${ajax}download.php?files=up.txt.$suffix&dir=%2FMy%20Docs"; fi
english down GET "$download"
check "download: the uploaded content" equals "$(status down) $(body down)" '200 twelve bytes'

# --- quota --------------------------------------------------------------------
english personal GET "$personal"
if [[ $release == 4.5.7 ]]; then closing='<strong></p>'; else closing='</strong></p>'; fi
check "personal page: the quota sentence" contains "$(body personal)" \
    "<p id=\"quotatext\">You have used <strong>23 B</strong> of the available <strong>2 GB$closing"
"$scripts/set-quota" "$state_file" 30
english up_full POST "${ajax}upload.php" -H "requesttoken: $token" -F 'dir=/' -F "files[]=@$work/upload.txt;filename=b"
check "upload beyond the quota: not enough space" contains "$(body up_full)" 'Not enough space available'
"$scripts/set-quota" "$state_file" 2147483648

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

"$scripts/reset" "$state_file"
finish
