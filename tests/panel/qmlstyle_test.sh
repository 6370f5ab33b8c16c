#!/bin/bash
# SPDX-License-Identifier: MIT
#
# qmlstyle_test.sh DIRECTORY MODULES...: Qt 6's linter reports nothing about the QML files in the
# directory. It reads the types of the modules in MODULES. scripts/lint runs the checks without
# types.

set -euo pipefail

files=("$1"/*.qml)
shift
[ -e "${files[0]}" ] || { echo "no QML files there"; exit 1; }

code=0
said=$(/usr/lib/qt6/bin/qmllint "${@/#/-I}" "${files[@]}" 2>&1) || code=$?
if [ $code -ne 0 ] || [ -n "$said" ]; then
    echo "qmllint: exit code $code"
    echo "$said"
    exit 1
fi
