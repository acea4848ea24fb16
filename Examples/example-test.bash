# shellcheck shell=bash disable=SC2034
# Functions that the tests of the examples share; sourced by them, with their arguments:
# CMAKE INSTALLED-PLATFORM WORK-FOLDER     (the work folder is emptied first)
set -euo pipefail

readonly cmake="$1" prefix="$2" work="$3"
examples="$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)"
readonly examples state="$work/state"
# Running processes, by id.
declare -A processes=()

fail()
{
    echo "FAILED: $1" >&2
    tail -n +1 -- "$work"/*.log >&2 || true
    exit 1
}

endAll()
{
    [ "${#processes[@]}" -eq 0 ] || kill -KILL "${!processes[@]}" 2>/dev/null || true
}
trap endAll EXIT

rm -rf -- "$work"
mkdir -p -- "$work"

# buildExample NAME [FOLDER]: into $work/build, or another folder there.
buildExample()
{
    local folder="$work/${2:-build}"
    "$cmake" -G Ninja -S "$examples/$1" -B "$folder" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=Debug
    "$cmake" --build "$folder"
}

# expectShown DOCUMENT FILE [LANGUAGE]: a block of the document equals the file.
expectShown()
{
    local document file
    document="$(<"$examples/../Docs/$1")"$'\n'
    file="$(<"$examples/$2")"
    [[ "$document" == *$'\n```'"${3:-cpp}"$'\n'"$file"$'\n```\n'* ]] || fail "Docs/$1 does not contain the current Examples/$2"
}

# start NAME PATTERN COMMAND…: returns when the program has written a line that matches, and sets `started` to its
# process id and `match` to the match of the pattern's group.
start()
{
    local name="$1" pattern="$2" line
    shift 2
    rm -f -- "$work/$name.output"
    mkfifo -- "$work/$name.output"
    "$@" >"$work/$name.output" 2>"$work/$name.log" &
    started=$!
    processes[$started]="$name"
    exec 3<"$work/$name.output"
    while read -r -t 60 line <&3; do
        if [[ "$line" =~ $pattern ]]; then
            match="${BASH_REMATCH[1]:-}"
            # Read to the end, or the program could block on a full pipe.
            cat <&3 >/dev/null &
            exec 3<&-
            return
        fi
    done
    fail "$name did not report that it is ready"
}

# startHost CONFIGURATION: sets `host` to the process id and `address` to its URL.
startHost()
{
    start host '^listening on (http://127\.0\.0\.1:[0-9]+)$' \
        "$prefix/bin/oxa-wbm" --config "$1" --state "$state" --port 0
    host="$started"
    address="$match"
}

# post PATH [OPTION…]: sends the JSON document from standard input, prints the token in the response.
post()
{
    curl --silent --show-error --fail --max-time 20 --header 'Content-Type: application/json' --data-binary @- \
        "${@:2}" "$address/api/v1/$1" | jq --raw-output .token
}

# Sets `token`. The first time it changes the first password.
logIn()
{
    local ownPassword="chosen at the first log-in" first=""
    if [ -e "$state/initial-password" ]; then
        first="$(jq --null-input --rawfile password "$state/initial-password" \
            '{user: "admin", password: ($password | rtrimstr("\n"))}' | post session)" || fail "admin cannot log in"
        token="$(jq --null-input --rawfile password "$state/initial-password" --arg newPassword "$ownPassword" \
            '{password: ($password | rtrimstr("\n")), newPassword: $newPassword}' |
            post session/password --header "Authorization: Bearer $first")" || fail "admin cannot change the password"
    else
        token="$(jq --null-input --arg password "$ownPassword" '{user: "admin", password: $password}' | post session)" ||
            fail "admin cannot log in"
    fi
}

# ask METHOD PATH [OPTION…]
ask()
{
    curl --silent --show-error --max-time 20 --request "$1" --header "Authorization: Bearer $token" "${@:3}" \
        "$address/api/v1/$2"
}

# endWell PROCESS
endWell()
{
    local status=0
    kill -TERM "$1"
    wait "$1" || status=$?
    [ "$status" -eq 0 ] || fail "${processes[$1]} ended with status $status"
    unset "processes[$1]"
}
