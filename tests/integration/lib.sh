# Shared by the smoke and lifecycle scripts of the test servers: a scratch directory, named checks
# that count failures, and recorded curl requests. Source it, then call finish last.
#
# Each script may set check_prefix (put before every check's name), request_options (curl options
# for every request: credentials or a cookie jar) and define cleanup (run at exit, before the
# scratch directory goes).

work=$(mktemp -d)
failures=0
check_prefix=
request_options=()
on_exit() {
    if declare -F cleanup >/dev/null; then cleanup; fi
    rm -rf -- "$work"
}
trap on_exit EXIT

check() { # check DESCRIPTION COMMAND...
    local description=$1
    shift
    if "$@"; then
        echo "ok   $check_prefix$description"
    else
        echo "FAIL $check_prefix$description" >&2
        failures=$((failures + 1))
    fi
}
equals() { [[ $1 == "$2" ]] || { echo "     expected [$2], got [$1]" >&2; return 1; }; }
contains() { [[ $1 == *"$2"* ]] || { echo "     [$2] not in: $1" >&2; return 1; }; }
lacks() { [[ $1 != *"$2"* ]] || { echo "     unexpected [$2] in: $1" >&2; return 1; }; }
matches() { grep -Eq -- "$2" <<<"$1" || { echo "     no line matching [$2] in: $1" >&2; return 1; }; }
process_gone() { ! kill -0 "$1" 2>/dev/null || [[ $(ps -o stat= -p "$1") == Z* ]]; }

# value KEY: the KEY line of $state_file
value() { sed -n "s/^$1=//p" "$state_file"; }
# The running server's url, account and scripts directory, from $state_file.
load_state() {
    url=$(value url) user=$(value user) password=$(value password) scripts=$(value scripts)
}

# request NAME METHOD TARGET [curl args...]: answer in $work/NAME.{status,headers,body}
request() {
    local name=$1 method=$2 target=$3
    shift 3
    curl -s -X "$method" "${request_options[@]}" -D "$work/$name.headers" -o "$work/$name.body" \
        -w '%{http_code}' "$@" "$url$target" >"$work/$name.status"
}
status() { cat "$work/$1.status"; }
body() { cat "$work/$1.body"; }
header() { sed -n "s/^$2: *//Ip" "$work/$1.headers" | tr -d '\r'; }

# check_started PRINTED_URL: start printed the URL it recorded in $state_file, a loopback one.
check_started() {
    check "start prints the base URL it records" equals "$1" "$(value url)"
    check "the server listens on loopback" equals "$(value url | sed 's/:[0-9]*$//')" "http://127.0.0.1"
}

# check_stopped SCRIPTS_DIR: stop, recorded in $state_file, leaves nothing behind and may run twice.
check_stopped() {
    local url pid root
    url=$(value url) pid=$(value pid) root=$(value root)
    "$1/stop" "$state_file" >/dev/null
    check "stop ends the server process" process_gone "$pid"
    check "stop removes the scratch root" test ! -e "$root"
    check "stop removes the state file" test ! -e "$state_file"
    check "the port no longer answers" equals "$(curl -s -o /dev/null -w '%{http_code}' --max-time 2 "$url/" || true)" 000
    check "stop is harmless a second time" "$1/stop" "$state_file"
}

finish() {
    if ((failures > 0)); then
        echo "$failures check(s) failed" >&2
        exit 1
    fi
}
