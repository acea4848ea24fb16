#!/usr/bin/env bash
# Builds GuestBook as a project of its own, starts the installed device services with its component and the installed
# host with its module, and calls the one through the other.
# Usage: test-guest-book.sh CMAKE INSTALLED-PLATFORM WORK-FOLDER     (the work folder is emptied first)
# shellcheck source-path=SCRIPTDIR
. "$(dirname -- "${BASH_SOURCE[0]}")/example-test.bash"

# A socket's path must be short.
sockets="$(mktemp -d)"
trap 'endAll; rm -rf -- "$sockets"' EXIT
export GUEST_BOOK_SOCKET="$sockets/guest-book.sock" GUEST_BOOK_LIBRARIES="$work/build" GUEST_BOOK_USER="$UID"

# expect RESPONSE PATTERN
expect()
{
    # shellcheck disable=SC2053
    [[ "$1" == $2 ]] || fail "the response was '$1' instead of '$2'"
}

buildExample GuestBook
start device '^serving$' "$prefix/bin/oxa-device" --config "$examples/GuestBook/oxa-device.xml"
device="$started"
startHost "$examples/GuestBook/oxa-wbm.xml"
logIn

expect "$(ask POST 'GuestBookDp/Sign?guest=Ada')" '{"errorCode":"","resultKind":4,"payload":{"result":true}}'
# The service's exception arrives with its type.
expect "$(ask POST 'GuestBookDp/Sign?guest=')" \
    '{"errorCode":"InvalidInput","resultKind":4,"payload":{"result":false}}'
# The service knows the caller, which the kernel identifies to the other process.
expect "$(ask POST GuestBookDp/GetEntries)" \
    '{"errorCode":"","resultKind":1,"payload":{"entries":\["Ada, by user '"*$UID*, process $host"'"]}}'

# A viewer may neither sign nor read.
viewer="$("$prefix/bin/oxa-wbm" token add viewer --role Viewer --config "$examples/GuestBook/oxa-wbm.xml" --state "$state")"
expect "$(token="$viewer" ask POST 'GuestBookDp/Sign?guest=Eve')" '*"code":"no-permission"*'

endWell "$device"
expect "$(ask POST GuestBookDp/GetEntries --output "$work/problem.json" --write-out '%{http_code}')" 503
endWell "$host"
