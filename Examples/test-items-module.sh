#!/usr/bin/env bash
# Builds the module "Items" as a project of its own, so against the installed platform only, and calls it in the
# installed host.
# Usage: test-items-module.sh CMAKE INSTALLED-PLATFORM WORK-FOLDER     (the work folder is emptied first)
# shellcheck source-path=SCRIPTDIR
. "$(dirname -- "${BASH_SOURCE[0]}")/example-test.bash"

buildExample ../Items

cat >"$work/oxa-wbm.xml" <<XML
<?xml version="1.0" encoding="UTF-8"?>
<WbmHostDocument>
    <Users database="\${OXA_STATE}/users.sqlite"/>
    <Components>
        <Component name="Linux" library="\${OXA_LIBRARIES}/libOxa.Device.Linux.so"
                   settings="$prefix/share/oxa/descriptions/controller.xml"/>
    </Components>
    <Modules folder="$work/build/oxa/modules"/>
</WbmHostDocument>
XML

startHost "$work/oxa-wbm.xml"
logIn

item="$(ask GET 'DeviceItemsDp/GetItems?prefix=General.SerialNumber' | jq --raw-output \
    '.payload.items[] | "\(.key) \(.origin) \(.quality) \(.value)"')"
readonly expected='General.SerialNumber fixed good SIM-000001'
[ "$item" = "$expected" ] || fail "GetItems shows '$item' instead of '$expected'"

endWell "$host"
