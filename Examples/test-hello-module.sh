#!/usr/bin/env bash
# Builds HelloModule and HelloHost as projects of their own, and calls the module in the installed host and in HelloHost.
# Usage: test-hello-module.sh CMAKE INSTALLED-PLATFORM WORK-FOLDER     (the work folder is emptied first)
# shellcheck source-path=SCRIPTDIR
. "$(dirname -- "${BASH_SOURCE[0]}")/example-test.bash"

expectShown WritingAModule.md HelloModule/HelloModule.cpp
expectShown WritingAModule.md HelloModule/Hello.xml xml
expectShown WritingAHost.md HelloHost/HelloHost.cpp
buildExample HelloModule
buildExample HelloHost host

cat >"$work/oxa-wbm.xml" <<XML
<?xml version="1.0" encoding="UTF-8"?>
<WbmHostDocument>
    <Users database="\${OXA_STATE}/users.sqlite"/>
    <Modules folder="$work/build/oxa/modules"/>
</WbmHostDocument>
XML

startHost "$work/oxa-wbm.xml"
logIn

readonly expected='{"errorCode":"","resultKind":1,"payload":{"greeting":"Hello, Ada & Grace!"}}'
response="$(ask GET 'HelloDp/SayHello?name=Ada%20%26%20Grace')"
[ "$response" = "$expected" ] || fail "SayHello returned '$response' instead of '$expected'"

endWell "$host"

readonly expectedAlone='{"errorCode":"","resultKind":1,"payload":{"greeting":"Hello, host!"}}'
response="$("$work/host/HelloHost" "$work/build/libHelloModule.so")"
[ "$response" = "$expectedAlone" ] || fail "HelloHost printed '$response' instead of '$expectedAlone'"
