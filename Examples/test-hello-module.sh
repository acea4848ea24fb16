#!/usr/bin/env bash
# Builds HelloModule and HelloHost as projects of their own, and calls the module in the installed host and in HelloHost.
# The page is served from the build folder and from an installation.
# Usage: test-hello-module.sh CMAKE INSTALLED-PLATFORM WORK-FOLDER     (the work folder is emptied first)
# shellcheck source-path=SCRIPTDIR
. "$(dirname -- "${BASH_SOURCE[0]}")/example-test.bash"

expectShown WritingAModule.md HelloModule/HelloModule.cpp
expectShown WritingAModule.md HelloModule/Hello.xml xml
expectShown WritingAPage.md HelloModule/Page/page.js js
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

readonly expectedPage='{"dataName":"HelloDp","pageName":"hello","parentPageName":"","visibility":"visible","module":"Hello",'\
'"entry":"/modules/Hello/page.js","texts":{"en":"/modules/Hello/en.json","de":"/modules/Hello/de.json"}}'
# expectPage: the host serves the page as it is in the sources.
expectPage()
{
    local file
    response="$(ask GET pages | jq --compact-output '.pages[]')"
    [ "$response" = "$expectedPage" ] || fail "the page is '$response' instead of '$expectedPage'"
    for file in page.js en.json de.json; do
        curl --silent --show-error --fail --max-time 20 "$address/modules/Hello/$file" |
            cmp -- - "$examples/HelloModule/Page/$file" || fail "the file $file of the page is not served"
    done
}
expectPage
endWell "$host"

# Installed under a umask that would keep others from reading.
(umask 077 && "$cmake" --install "$work/build" --prefix "$work/installed")
[ "$(stat --format %a -- "$work/installed/lib/oxa/modules/Hello/page.js")" = 644 ] || fail "the page cannot be read"
sed -i "s#$work/build/oxa/modules#$work/installed/lib/oxa/modules#" "$work/oxa-wbm.xml"
startHost "$work/oxa-wbm.xml"
logIn
expectPage
endWell "$host"

readonly expectedAlone='{"errorCode":"","resultKind":1,"payload":{"greeting":"Hello, host!"}}'
response="$("$work/host/HelloHost" "$work/build/libHelloModule.so")"
[ "$response" = "$expectedAlone" ] || fail "HelloHost printed '$response' instead of '$expectedAlone'"
