#!/usr/bin/env bash
# Installs the platform from a build folder, builds HelloModule against it as a project of its own, and asks the
# installed host that has loaded it.
# Usage: test-hello-module.sh CMAKE BUILD-FOLDER WORK-FOLDER     (the work folder is emptied first)
set -euo pipefail

readonly cmake="$1" build="$2" work="$3"
examples="$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)"
readonly prefix="$work/installed" state="$work/state"

fail()
{
    echo "FAILED: $1" >&2
    [ ! -f "$work/host.log" ] || cat "$work/host.log" >&2
    exit 1
}

host=""
stopHost()
{
    [ -z "$host" ] || kill -KILL "$host" 2>/dev/null || true
}
trap stopHost EXIT

rm -rf -- "$work"
mkdir -p -- "$work"

"$cmake" --install "$build" --prefix "$prefix" >"$work/install.log" || fail "the platform cannot be installed"
"$cmake" -G Ninja -S "$examples/HelloModule" -B "$work/build" -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_BUILD_TYPE=Debug
"$cmake" --build "$work/build"

cat >"$work/oxa-wbm.xml" <<XML
<?xml version="1.0" encoding="UTF-8"?>
<WbmHostDocument>
    <Users database="\${OXA_STATE}/users.sqlite"/>
    <Modules>
        <Module name="Hello" library="$work/build/libHelloModule.so">
            <DataProvider name="HelloDp" safe="true"/>
        </Module>
    </Modules>
</WbmHostDocument>
XML

mkfifo -- "$work/output"
"$prefix/bin/oxa-wbm" --config "$work/oxa-wbm.xml" --state "$state" --port 0 >"$work/output" 2>"$work/host.log" &
host=$!

# Read to the end, or the host could block on a full pipe; the address comes first.
exec 3<"$work/output"
address=""
while read -r -t 60 line <&3; do
    if [[ "$line" =~ ^listening\ on\ (http://127\.0\.0\.1:[0-9]+)$ ]]; then
        address="${BASH_REMATCH[1]}"
        break
    fi
done
[ -n "$address" ] || fail "the host did not say where it listens"
cat <&3 >/dev/null &

ask()
{
    curl --silent --show-error --max-time 20 --cookie-jar "$work/cookies" --cookie "$work/cookies" "$@"
}

credentials="$(jq --null-input --rawfile password "$state/initial-password" \
    '{user: "admin", password: ($password | rtrimstr("\n"))}')"
ask --fail --output /dev/null --header 'Content-Type: application/json' --data-binary @- "$address/api/v1/session" \
    <<<"$credentials" || fail "admin cannot log in"

readonly expected='{"errorCode":"","resultKind":1,"payload":{"greeting":"Hello, Ada & Grace!"}}'
answer="$(ask "$address/api/v1/HelloDp/SayHello?name=Ada%20%26%20Grace")"
[ "$answer" = "$expected" ] || fail "SayHello answered '$answer' instead of '$expected'"

kill -TERM "$host"
status=0
wait "$host" || status=$?
host=""
[ "$status" -eq 0 ] || fail "the host ended with status $status"
