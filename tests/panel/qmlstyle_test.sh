#!/bin/bash
# SPDX-License-Identifier: MIT
#
# qmlstyle_test.sh QT_MAJOR DIRECTORY MODULES...: the linters of both Qt majors and the formatter of
# Qt 6 have nothing to say about the QML files in the directory. Qt 6's looks at the types of what
# they import, so it reads the modules in MODULES, which are there in a build for Qt 6. What is not
# installed is named and skipped.

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

major=$1
files=("$2"/*.qml)
shift 2
[ -e "${files[0]}" ] || { echo "no QML files there"; exit 1; }

lint=/usr/lib/qt5/bin/qmllint
if tool_is_there $lint qtdeclarative5-dev-tools; then
    says_nothing $lint "${files[@]}"
fi
lint=/usr/lib/qt6/bin/qmllint
if [ "$major" = 6 ] && tool_is_there $lint qt6-declarative-dev-tools; then
    says_nothing $lint "${@/#/-I}" "${files[@]}"
fi

format=/usr/lib/qt6/bin/qmlformat
if tool_is_there $format qt6-declarative-dev-tools; then
    for file in "${files[@]}"; do
        says_nothing formatted "$file"
    done
fi

[ -z "$failed" ] || exit 1
[ -z "$skipped" ] || exit 77
