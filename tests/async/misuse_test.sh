#!/bin/bash
# SPDX-License-Identifier: MIT
#
# misuse_test.sh COMPILER [OPTION...]: the compiler refuses calls that are mistakes. Each line of
# the table is a statement, and a text that the compiler's message has to contain; "-" if it
# compiles.

set -euo pipefail
failed=0
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# The headers are compiled once.
cat >"$scratch/headers.h" <<'HEADERS'
#include <hnipc/hnipcreading.h>
#include <hnipc/hnipcrequest.h>
HEADERS
"$@" -x c++-header "$scratch/headers.h" -o "$scratch/headers.h.gch"

while IFS='|' read -r statement message; do
    statement=${statement%"${statement##*[! ]}"}
    message=${message# }
    cat >"$scratch/misuse.cpp" <<PROGRAM
void misuse(HNIPCRequest *request, HNIPCReading *reading)
{
    (void)request;
    (void)reading;
    $statement
}
PROGRAM
    output=$("$@" -include "$scratch/headers.h" -fsyntax-only "$scratch/misuse.cpp" 2>&1) \
        && compiles=yes || compiles=no
    if [ "$message" = - ] && [ "$compiles" = no ]; then
        printf 'does not compile: %s\n%s\n' "$statement" "$output"
        failed=1
    elif [ "$message" != - ] && { [ "$compiles" = yes ] || [[ $output != *"$message"* ]]; }; then
        printf 'expected "%s": %s\n%s\n' "$message" "$statement" "$output"
        failed=1
    fi
done <<'TABLE'
request->setCall(HNIPC_METHOD(forwardFeed), 400);                          | -
request->setCall(HNIPC_METHOD(forwardFeed), short(400));                   | -
request->setCall(HNIPC_METHOD(setSupplyLED), true);                        | -
request->setCall(HNIPC_METHOD(supplyColorName), QLatin1String("S"));       | -
request->setCall(HNIPC_OVERLOAD(sendMCCMessage, bool(int, int, quint64)), 1, 2, 3); | -
request->setCall(HNIPC_METHOD(forwardFeed), 2.9);                          | the parameter is an integer
request->setCall(HNIPC_METHOD(forwardFeed), 2.9f);                         | the parameter is an integer
request->setCall(HNIPC_METHOD(forwardFeed), true);                         | the parameter is an integer
request->setCall(HNIPC_METHOD(forwardFeed), '4');                          | the parameter is an integer
request->setCall(HNIPC_METHOD(forwardFeed), "400");                        | the parameter is an integer
request->setCall(HNIPC_METHOD(setSupplyLED), "off");                       | the parameter is a boolean
request->setCall(HNIPC_METHOD(setSupplyLED), 1);                           | the parameter is a boolean
request->setCall(HNIPC_METHOD(setSupplyLED), nullptr);                     | the parameter is a boolean
request->setCall(HNIPC_METHOD(supplyColorName), 5);                        | the argument cannot be converted
request->setCall(HNIPC_METHOD(forwardFeed), 1, 2);                         | the method takes fewer arguments
request->setCall("forwardFeed", &HNIPC::cycleCutter);                      | no matching
request->setCall(HNIPC_METHOD(sendMCCMessage), 1, 2, 3);                   | no matching
request->setCall(HNIPC_OVERLOAD(sendMCCMessage, bool(int, int)), 1, 2);    | HNIPC
request->setCall(HNIPC_METHOD(openDoor));                                  | openDoor
reading->setCall(HNIPC_METHOD(supplyRibbonColorName), "S", 2.9);           | the parameter is an integer
hnipcCall(HNIPC_METHOD(forwardFeed), 2.9).send();                          | the parameter is an integer
hnipcCall(HNIPC_METHOD(forwardFeed), 400).send();                          | -
TABLE
exit $failed
