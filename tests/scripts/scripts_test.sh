#!/bin/bash
# SPDX-License-Identifier: MIT
#
# scripts_test.sh SOURCE: scripts/demo and scripts/screenshots refuse an option without its value,
# with a message. scripts/lint refuses unknown checks. All files have the contact of CONTACT. The
# files in tests/mutations name places that exist. scripts/mutate --sample accepts 3 % of mutants for
# which no test fails.

set -euo pipefail
cd "$1"

refused() {
    local message=$1 output code=0
    shift
    output=$("$@" 2>&1) || code=$?
    if [ "$code" -ne 2 ] || [ "$output" != "$message" ]; then
        echo "\"$*\" ended with $code and said \"$output\", not \"$message\"" >&2
        exit 1
    fi
}

for value in "" "''"; do
    refused "--qt needs a value, one of 5, 6" bash -c "scripts/demo --qt $value"
    refused "--build needs a directory" bash -c "scripts/demo --build $value"
    refused "--qt needs a value, one of 5, 6" bash -c "scripts/screenshots directory --qt $value"
    refused "--build needs a directory" bash -c "scripts/screenshots directory --build $value"
done
refused '--qt: "4" is not one of 5, 6' scripts/demo --qt 4
refused '--qt: "7" is not one of 5, 6' scripts/screenshots directory --qt 7
all="format shell man xml qml spelling links licences clazy tidy"
refused "scripts/lint: unknown check links,man; one of $all" scripts/lint links,man
refused "scripts/lint: unknown option --fast; see --help" scripts/lint --fast
refused "scripts/contact: unknown option --set; see --help" scripts/contact --set

scripts/contact --check
scripts/mutate --check
python3 -B -c '
from importlib.machinery import SourceFileLoader
from importlib.util import module_from_spec, spec_from_loader

loader = SourceFileLoader("mutate", "scripts/mutate")
mutate = module_from_spec(spec_from_loader("mutate", loader))
loader.exec_module(mutate)
for tried, missed, expected in (200, 6, True), (200, 7, False), (30, 0, True), (30, 1, False), (0, 0, False):
    assert mutate.is_enough(tried, missed) == expected, (tried, missed)
'
