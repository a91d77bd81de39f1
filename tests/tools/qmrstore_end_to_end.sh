#!/usr/bin/env bash
# qmrstore end to end against a bundled server: every subcommand the back-end offers, with --json
# output read back, the exit statuses of the data store's errors, the password kept out of the
# process arguments, and a subcommand the back-end lacks refused without traffic.
#
#   qmrstore_end_to_end.sh webdav|funambol|owncloud_4_5_7|owncloud_5_0_6 STATEFILE QMRSTORE
set -euo pipefail

backend=${1:?usage: qmrstore_end_to_end.sh webdav|funambol|owncloud_4_5_7|owncloud_5_0_6 STATEFILE QMRSTORE}
state_file=${2:?} qmrstore=${3:?}
source "$(dirname "$0")/../integration/lib.sh"
load_state
check_prefix="$backend: "
"$scripts/reset" "$state_file"
# Both ownCloud releases are the one owncloud back-end of qmrstore.
export QMRSTORE_BACKEND=${backend%%_*} QMRSTORE_URL=$url QMRSTORE_USER=$user QMRSTORE_PASSWORD=$password
unset QMRSTORE_LOCK_TOKEN QMRSTORE_NEW_PASSWORD
cd "$work"

# qmr NAME ARGS...: runs qmrstore; stdout in NAME.out, stderr in NAME.err, exit status in NAME.rc.
qmr() {
    local name=$1
    shift
    "$qmrstore" "$@" >"$name.out" 2>"$name.err" </dev/null && echo 0 >"$name.rc" || echo $? >"$name.rc"
}
out() { cat "$1.out"; }
err() { cat "$1.err"; }
rc() { cat "$1.rc"; }
# json NAME PATH...: the values at the dotted PATHs of NAME's JSON output ("files.0.name"), joined
# by ":"; PATH# counts.
json() {
    php -r '$json = json_decode(file_get_contents($argv[1]), true, 512, JSON_THROW_ON_ERROR);
            echo implode(":", array_map(function ($path) use ($json) {
                $d = $json; $count = str_ends_with($path, "#"); $path = rtrim($path, "#");
                foreach ($path === "" ? [] : explode(".", $path) as $key) $d = $d[$key] ?? null;
                return $count ? count($d ?? []) : (is_bool($d) ? var_export($d, true) : $d);
            }, array_slice($argv, 2)));' "$1.out" "${@:2}"
}
server_requests() { wc -l <"$(value root)/server.log"; }
# requests_since COUNT: the server's log after its first COUNT requests.
requests_since() { tail -n "+$(($1 + 1))" "$(value root)/server.log"; }

printf 'Remember the milk.\n' >notes.txt
head -c 200000 /dev/urandom >photo.jpg
printf 'Milk, bread, coffee.\n' >shopping.txt

# The flat stores: files by id, metadata updates and a change feed.
flat_store_tour() {
    # --- put, ls, stat, get ---------------------------------------------------------------------------
    qmr put_notes put notes.txt --json
    notes=$(json put_notes file.fileId)
    check "put answers the new file's id" test -n "$notes"
    check "put takes the MIME type from the extension" equals "$(json put_notes file.mimeContentType)" text/plain
    qmr put_photo put photo.jpg --created 2013-05-01T10:20:30Z --json
    photo=$(json put_photo file.fileId)
    check "put takes a creation date" equals "$(json put_photo file.clientSideCreationDate)" 2013-05-01T10:20:30Z

    qmr ls ls
    check "ls prints a table with human sizes" matches "$(out ls)" '^ID +NAME +SIZE +MODIFIED'
    check "ls right-aligns the sizes" matches "$(out ls)" "^$notes +notes\.txt +19 B +[0-9-]+ [0-9:]+"
    check "ls sums up" contains "$(out ls)" "2 files, 195 KiB"
    qmr ls_json ls --json
    check "ls --json lists both files" equals "$(json ls_json files#)" 2
    check "ls --json gives exact sizes" equals "$(json ls_json files.1.sizeInBytes)" 200000
    qmr ls_id ls --id "$photo" --json
    check "ls --id lists only that file" equals "$(json ls_id files# files.0.name)" 1:photo.jpg
    qmr ls_since ls --since 2000-01-01 --json
    check "ls --since a past date lists both" equals "$(json ls_since files#)" 2

    qmr stat stat "$notes"
    check "stat shows every field" matches "$(out stat)" '^Size +19 B \(19 bytes\)$'
    qmr get get "$photo" -o photo.back
    check "get -o writes the content" cmp photo.jpg photo.back
    qmr get_stdout get "$notes"
    check "get without -o writes to stdout" equals "$(out get_stdout)" "Remember the milk."

    # --- update, changes, rm -------------------------------------------------------------------------
    qmr first_sync changes --json
    token=$(json first_sync syncToken)
    check "changes prints the new sync token" test -n "$token"
    check "changes lists the new files" equals "$(json first_sync changes#)" 2

    qmr rename update "$notes" --name renamed.txt
    check "update renames" equals "$(rc rename)" 0
    qmr replace update "$notes" --content shopping.txt --json
    check "update replaces the content" equals "$(json replace sizeInBytes)" 21
    qmr get_new get "$notes"
    check "the new content reads back" equals "$(out get_new)" "Milk, bread, coffee."
    qmr ls_renamed ls --id "$notes" --json
    check "the new name and size read back" equals "$(json ls_renamed files.0.name files.0.sizeInBytes)" renamed.txt:21

    qmr rm rm "$photo"
    check "rm deletes by id" equals "$(out rm)" "deleted 1 file"
    qmr second_sync changes "$token" --json
    check "changes since the token: the update and the deletion" equals "$(json second_sync changes#)" 2
    check "changes marks the deleted file" contains "$(out second_sync)" '"change": "deleted"'
    qmr rm_all rm --all
    qmr ls_empty ls
    check "rm --all leaves no file" equals "$(out ls_empty)" "no files"
}

# The ownCloud stores: a folder tree named by paths, sharing and the account.
folder_store_tour() {
    # --- mkdir, put, ls, get, rm ---------------------------------------------------------------------
    qmr mkdir mkdir /photos --json
    check "mkdir answers the folder's id" contains "$(json mkdir folderId)" "<Path>/photos</Path>"
    qmr put_notes put notes.txt --json
    check "put stores a bare name in the root folder" equals "$(json put_notes file.name)" /notes.txt
    qmr put_photo put photo.jpg --name /photos/photo.jpg --json
    photo=$(json put_photo file.fileId)
    qmr put_text put shopping.txt
    check "put prints the server's short id" matches "$(out put_text)" '^created /shopping\.txt as [0-9]+$'

    qmr ls ls
    check "ls lists the root folder with kinds and short ids" matches "$(out ls)" '^folder +[0-9]+ +/photos '
    check "ls counts files and folders apart" matches "$(out ls)" '^2 files, 1 folder, '
    qmr ls_files ls --type file --json
    check "ls --type file leaves the folder out" equals "$(json ls_files files# files.0.name)" 2:/notes.txt
    qmr ls_folders ls --type folder --json
    check "ls --type folder keeps only the folder" equals "$(json ls_folders files# files.0.resourceType)" 1:folder
    qmr ls_folder ls photos --json
    check "ls FOLDER lists a folder named by its path" equals "$(json ls_folder files# files.0.name)" 1:/photos/photo.jpg
    qmr ls_folder_type ls /photos --type folder --json
    check "ls FOLDER --type folder over files lists nothing" equals "$(rc ls_folder_type):$(json ls_folder_type files#)" 0:0

    qmr get get /photos/photo.jpg -o photo.back
    check "get streams a file named by its path" cmp photo.jpg photo.back
    qmr get_by_id get "$photo" -o photo.again
    check "get takes the id that --json printed" cmp photo.jpg photo.again
    qmr get_stdout get notes.txt
    check "get without -o writes to stdout" equals "$(out get_stdout)" "Remember the milk."

    # --- share ---------------------------------------------------------------------------------------
    qmr find share find al --json
    check "share find lists the parties whose names begin with the text" equals \
        "$(json find parties.0.sharingPartyName parties.1.sharingPartyName parties#)" albert:alice:2
    qmr share_file share add /notes.txt alice --permission read,update
    qmr share_folder share add /photos sales --share-type 1 --permission all
    qmr share_set share set /notes.txt alice --permission read,update,share
    qmr show_file share show /notes.txt --json
    check "share add, then set: the file's share carries the new permission" equals \
        "$(json show_file shares# shares.0.sharingPartyName shares.0.sharingPermission)" 1:alice:19
    qmr show_folder share show /photos --json
    check "a folder shared with a group" equals \
        "$(json show_folder shares.0.sharingPartyName shares.0.sharingType shares.0.sharingPermission)" sales:1:31
    qmr unshare share remove /notes.txt alice
    qmr show_unshared share show /notes.txt
    check "share remove ends the share" equals "$(rc unshare):$(out show_unshared)" "0:not shared"

    qmr rm_file rm /photos/photo.jpg
    qmr rm_folder rm /photos
    qmr ls_left ls --json
    check "rm deletes a file and a folder" equals "$(rc rm_file):$(rc rm_folder):$(json ls_left files#)" 0:0:2

    # --- account and server --------------------------------------------------------------------------
    qmr version server-version --json
    check "server-version reports the release" equals "$(json version serverVersion)" "$(value release)"
    qmr email account email "$user@example.com"
    before=$(server_requests)
    qmr settings account settings --json
    check "account email, then settings reads it back" equals "$(rc email):$(json settings emailAddress)" \
        "0:$user@example.com"
    check "an account command logs out too" contains "$(requests_since "$before")" logout
    qmr reset_link account reset-link
    if [[ $backend == owncloud_4_5_7 ]]; then
        check "4.5.7 asks for a reset link over https only" equals "$(rc reset_link):$(err reset_link)" \
            "2:qmrstore: Https required"
    else
        check "account reset-link is accepted" equals "$(rc reset_link)" 0
    fi
    QMRSTORE_NEW_PASSWORD="new $password" qmr change_password account password
    QMRSTORE_NEW_PASSWORD="new $password" qmr old_password ls
    QMRSTORE_PASSWORD="new $password" qmr new_password ls
    check "account password: the old one is refused, the new one logs in" equals \
        "$(rc change_password):$(rc old_password):$(rc new_password)" 0:12:0
    "$scripts/reset" "$state_file"
}

if [[ $backend == owncloud_* ]]; then folder_store_tour; else flat_store_tour; fi

# --- quota ---------------------------------------------------------------------------------------
# 5 KiB: ownCloud shows its quota rounded to a tenth of a kB, which this reads back exactly. The
# WebDAV server is given its used and free bytes, the others their total.
quota_total=5120
quota=($quota_total)
[[ $backend != webdav ]] || quota=(1000 $((quota_total - 1000)))
"$scripts/set-quota" "$state_file" "${quota[@]}"
qmr quota quota --json
check "quota: total is used plus free" equals \
    "$(json quota totalBytes)" "$(($(json quota usedBytes) + $(json quota freeBytes)))"
check "quota: the server's total" equals "$(json quota totalBytes)" $quota_total

# --- exit statuses -------------------------------------------------------------------------------
case $backend in
    owncloud_*) not_found=(get /no-such-file.txt) message="File or folder not found" ;;
    *) not_found=(stat 424242) message="One or more specified fileId is not found" ;;
esac
qmr not_found "${not_found[@]}"
check "104: exit status 14, the message names the unknown id" equals "$(rc not_found):$(err not_found)" \
    "14:error 104: $message (ids: ${not_found[1]})"
QMRSTORE_PASSWORD="wrong$password" qmr refused ls
check "102: exit status 12" equals "$(rc refused)" 12
check "102: the message" contains "$(err refused)" "error 102: Either login name or password is invalid"
qmr no_password_option ls --password "$password"
check "a password on the command line is refused" equals "$(rc no_password_option)" 2

# A subcommand the back-end lacks is refused before any request, even before a login.
before=$(server_requests)
case $backend in
    webdav) lacking=(mkdir /photos) ;;
    funambol) lacking=(lock) ;;
    *) lacking=(changes) ;;
esac
qmr lacking "${lacking[@]}"
check "a subcommand the back-end lacks: exit status 3" equals "$(rc lacking)" 3
check "a subcommand the back-end lacks: says so" contains "$(err lacking)" "back-end does not offer \`${lacking[0]}\`"
check "a subcommand the back-end lacks: no traffic" equals "$(server_requests)" "$before"

if [[ $backend == webdav ]]; then
    qmr lock lock --timeout 60 --json
    lock_token=$(json lock lockToken)
    check "lock prints its token" test -n "$lock_token"
    qmr locked_out put notes.txt
    check "106: a write without the lock token, exit status 16" equals "$(rc locked_out):$(err locked_out)" \
        "16:error 106: Already locked"
    qmr locked_in put notes.txt --lock-token "$lock_token"
    check "a write with the lock token goes through" equals "$(rc locked_in)" 0
    qmr refresh refresh --lock-token "$lock_token" --json
    check "refresh grants a timeout" test "$(json refresh timeoutSeconds)" -gt 0
    qmr unlock unlock --lock-token "$lock_token"
    check "unlock releases" equals "$(rc unlock):$(out unlock)" "0:unlocked"
    qmr unlock_again unlock --lock-token "$lock_token"
    check "106: unlocking a released lock, exit status 16" equals "$(rc unlock_again)" 16
else
    before=$(server_requests)
    qmr full put photo.jpg
    if [[ $backend == owncloud_5_0_6 ]]; then
        # 5.0.6 words its refusal in a way the back-end does not recognise as a full account.
        check "over the quota: 101, exit status 11" equals "$(rc full)" 11
    else
        check "105: over the quota, exit status 15" equals "$(rc full):$(err full)" \
            "15:error 105: Insufficient storage space"
    fi
    check "the session is logged out, also after a failure" contains "$(requests_since "$before")" logout
fi

# --- the password is asked for, never in the arguments ---------------------------------------------
mkfifo password.in prompt.err
env -u QMRSTORE_PASSWORD "$qmrstore" quota --json <password.in >prompted.out 2>prompt.err &
prompted=$!
exec 3>password.in 4<prompt.err
read -r -d : -u 4 prompt_start  # returns once the prompt is being written: qmrstore waits for the password
check "the password is asked for" equals "$prompt_start" "Password for $user at http"
check "the password is not in the process arguments" lacks "$(tr '\0' ' ' </proc/$prompted/cmdline)" "$password"
echo "$password" >&3
exec 3>&-
wait "$prompted" && prompted_rc=0 || prompted_rc=$?
exec 4<&-
check "the typed password logs in" equals "$prompted_rc:$(json prompted totalBytes)" 0:$quota_total

finish
