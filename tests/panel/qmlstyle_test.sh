#!/bin/bash
# SPDX-License-Identifier: MIT
#
# qmlstyle_test.sh DIRECTORY...: the linters of both Qt majors and the formatter of Qt 6 have
# nothing to say about the QML files there. What is not installed is named and skipped.

set -euo pipefail

failed=
skipped=

tool_is_there() {
    [ -x "$1" ] || { echo "skipped: $1 is not installed (Debian: $2)"; skipped=yes; return 1; }
}

says_nothing() {
    local said code=0
    said=$("$@" 2>&1) || code=$?
    [ $code = 0 ] && [ -z "$said" ] || { echo "$*: exit code $code"; echo "$said"; failed=yes; }
}

formatted() { $format "$1" | diff "$1" -; }

files=()
for directory in "$@"; do
    files+=("$directory"/*.qml)
done
[ -e "${files[0]}" ] || { echo "no QML files in $*"; exit 1; }

for qt in 5 6; do
    package=qtdeclarative5-dev-tools
    [ $qt = 5 ] || package=qt6-declarative-dev-tools
    lint=/usr/lib/qt$qt/bin/qmllint
    if tool_is_there $lint $package; then
        says_nothing $lint "${files[@]}"
    fi
done

format=/usr/lib/qt6/bin/qmlformat
if tool_is_there $format qt6-declarative-dev-tools; then
    for file in "${files[@]}"; do
        says_nothing formatted "$file"
    done
fi

[ -z "$failed" ] || exit 1
[ -z "$skipped" ] || exit 77
